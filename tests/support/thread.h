#pragma once

#include <cstddef>
#include <functional>

// Runs `work` on a thread of its own, with a stack of `stack` bytes, and waits for it.
void RunOnThread(const std::function<void()>& work, size_t stack = size_t{1} << 20);
