// Throws exceptions without memory of the host and without thread-local storage. These definitions
// replace those of the compiler's runtime library, which allocate a reserve when the DLL is loaded
// and never free it, keep the state of each thread in thread-local storage, and end the process if
// there is no memory.

#include <windows.h>

#include <cxxabi.h>
#include <unwind.h>

#include <atomic>
#include <cstddef>
#include <cstring>

#include "windows/fail_fast.h"

namespace __cxxabiv1 {

// The layout is part of the C++ ABI.
struct __cxa_eh_globals {
    void* caughtExceptions;
    unsigned int uncaughtExceptions;
};

}  // namespace __cxxabiv1

namespace {

// Static places that threads take and give back. The thread environment block identifies a thread:
// no two living threads have the same. If a thread ends while it holds a State, the next thread
// with the same block uses that State, which does no harm.

// What the runtime library keeps for a thread. Held from the first throw until no handler is left.
struct State {
    std::atomic<void*> thread;  // null if nobody holds it
    abi::__cxa_eh_globals globals;
};

// The runtime library writes 160 bytes in front of an exception object, of which _Unwind_Exception
// are the last 64.
constexpr std::size_t kHeaderSize = 96 + sizeof(_Unwind_Exception);

// Memory for an exception object.
struct Exception {
    std::atomic<void*> thread;  // null if nobody holds it
    alignas(16) std::byte header[kHeaderSize];
    std::byte object[32];
};

// Enough for a host that runs out of memory on many threads at once. Further threads wait.
constexpr int kPlaces = 64;
constinit State g_states[kPlaces] = {};
constinit Exception g_exceptions[kPlaces] = {};

// How often threads have given a place back.
constinit std::atomic<unsigned> g_givenBack = 0;

// How often, at intervals of 10 to 16 ms, a thread looks for a place if no other gives one back.
constexpr int kAttempts = 500;

// Takes a free place for the calling thread and returns it. Waits if there is none. Ends the
// process if no thread gives a place back for five to eight seconds: a place is held for less than
// a millisecond, so the threads that hold them are suspended or were terminated, and without an
// exception no error can be returned.
template <class Place>
Place& Take(Place (&places)[kPlaces]) {
    unsigned givenBack = g_givenBack;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        for (Place& place : places) {
            void* nobody = nullptr;
            if (place.thread.compare_exchange_strong(nobody, NtCurrentTeb())) {
                return place;
            }
        }
        Sleep(10);
        if (const unsigned now = g_givenBack; now != givenBack) {
            givenBack = now;
            attempt = 0;
        }
    }
    FailFast(FAST_FAIL_FATAL_APP_EXIT);
}

template <class Place>
void GiveBack(Place& place) {
    place.thread = nullptr;
    ++g_givenBack;
}

// Returns the state that the calling thread holds, or null.
State* FindState() {
    for (State& state : g_states) {
        if (state.thread == NtCurrentTeb()) {
            return &state;
        }
    }
    return nullptr;
}

}  // namespace

namespace __cxxabiv1 {

extern "C" {

__cxa_eh_globals* __cxa_get_globals() noexcept {
    State* state = FindState();
    if (state == nullptr) {
        state = &Take(g_states);
        state->globals = {};
    }
    return &state->globals;
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

void* __cxa_allocate_exception(std::size_t size) noexcept {
    if (size > sizeof Exception::object) {
        FailFast(FAST_FAIL_FATAL_APP_EXIT);
    }
    Exception& exception = Take(g_exceptions);
    std::memset(exception.header, 0, sizeof exception.header);
    return exception.object;
}

void __cxa_free_exception(void* object) noexcept {
    auto* const start = static_cast<std::byte*>(object) - offsetof(Exception, object);
    GiveBack(*reinterpret_cast<Exception*>(start));
}

// The linker resolves the first name to the runtime library's function, and calls of that function
// to the second. Every handler ends here, also one for an exception that another module threw and
// frees.
void __real___cxa_end_catch();

void __wrap___cxa_end_catch() {
    __real___cxa_end_catch();
    State* const state = FindState();
    // If another exception is on its way, its handler takes a state again. The runtime library
    // needs nothing of the former one: nobody asks for the number of uncaught exceptions.
    if (state != nullptr && state->globals.caughtExceptions == nullptr) {
        GiveBack(*state);
    }
}

}  // extern "C"

}  // namespace __cxxabiv1
