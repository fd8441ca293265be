#include "allocations.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

// Plain counters suffice: the benchmarks run in one thread.
namespace {

size_t g_count = 0;
ptrdiff_t g_held = 0;
ptrdiff_t g_peak = 0;

}  // namespace

void* operator new(size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    ++g_count;
    g_held += static_cast<ptrdiff_t>(malloc_usable_size(memory));
    g_peak = std::max(g_peak, g_held);
    return memory;
}

void operator delete(void* memory) noexcept {
    g_held -= static_cast<ptrdiff_t>(malloc_usable_size(memory));
    std::free(memory);
}

void operator delete(void* memory, size_t /*size*/) noexcept {
    operator delete(memory);
}

namespace bench {

void ResetAllocations() {
    g_count = 0;
    g_held = 0;
    g_peak = 0;
}

Allocations CountAllocations() {
    return {g_count, static_cast<size_t>(g_peak)};
}

}  // namespace bench
