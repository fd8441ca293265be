#pragma once

#include <functional>

// Runs `work` on a thread of its own whose stack is as small as the system makes it, 64 KiB, and
// waits for it. (Under a sanitizer, whose frames are larger, 256 KiB.)
void RunOnSmallStack(const std::function<void()>& work);
