#include <cstdlib>

// Replaces the terminate handler of the compiler's runtime library, which prints the type of the
// exception and needs the demangler for that: half of the DLL's size. No exception leaves an entry
// point, so aborting is enough.
namespace __gnu_cxx {
[[noreturn]] void __verbose_terminate_handler() {
    std::abort();
}
}  // namespace __gnu_cxx
