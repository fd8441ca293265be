// Throws exceptions without the help of the host. These definitions replace those of the compiler's
// runtime library, which allocate a reserve when the DLL is loaded and never free it, keep the
// state of each thread in emulated thread-local storage, which is allocated when a thread first
// throws, and end the process if there is no memory for that.

#include "windows/exceptions.h"

#include <cxxabi.h>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

namespace __cxxabiv1 {

// The layout is part of the C++ ABI.
struct __cxa_eh_globals {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};

}  // namespace __cxxabiv1

namespace {

// Windows allocates it with the thread or when it loads the DLL, and frees it.
constinit thread_local abi::__cxa_eh_globals t_state = {};

// A place for an exception object while the host has no memory. The library throws only
// std::bad_alloc then.
struct alignas(16) Place {
    std::byte header[kExceptionHeaderRoom];
    std::byte object[16];
};
static_assert(sizeof(std::bad_alloc) <= sizeof(Place::object));

// The number of exceptions that can be in flight without memory.
constexpr int kPlaces = 64;
constinit Place g_places[kPlaces] = {};
constinit std::atomic<std::uint64_t> g_occupied = 0;  // a bit for each place

// Returns null if `size` is too large or all places are occupied.
void* Occupy(std::size_t size) {
    std::uint64_t occupied = g_occupied;
    while (size <= sizeof(Place::object) && occupied != UINT64_MAX) {
        const int place = std::countr_one(occupied);
        if (g_occupied.compare_exchange_weak(occupied, occupied | std::uint64_t{1} << place)) {
            return &g_places[place];
        }
    }
    return nullptr;
}

void Free(void* memory) {
    // Pointers into different objects can only be compared as numbers.
    const auto offset =
        reinterpret_cast<std::uintptr_t>(memory) - reinterpret_cast<std::uintptr_t>(g_places);
    if (offset < sizeof g_places) {
        g_occupied &= ~(std::uint64_t{1} << offset / sizeof(Place));
    } else {
        std::free(memory);
    }
}

}  // namespace

namespace __cxxabiv1 {

extern "C" {

__cxa_eh_globals* __cxa_get_globals() noexcept {
    return &t_state;
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return &t_state;
}

void* __cxa_allocate_exception(std::size_t size) noexcept {
    void* memory = std::malloc(kExceptionHeaderRoom + size);
    if (memory == nullptr) {
        memory = Occupy(size);
    }
    if (memory == nullptr) {
        std::terminate();
    }
    std::memset(memory, 0, kExceptionHeaderRoom);
    return static_cast<std::byte*>(memory) + kExceptionHeaderRoom;
}

void __cxa_free_exception(void* object) noexcept {
    Free(static_cast<std::byte*>(object) - kExceptionHeaderRoom);
}

}  // extern "C"

}  // namespace __cxxabiv1
