#pragma once

#include <functional>

// Runs `work` on a thread with a stack of 64 KiB, 256 KiB in instrumented builds, and waits for it.
void RunOnSmallStack(const std::function<void()>& work);
