#include <cstdlib>
#include <exception>

// The compiler's run-time library ends a process with a report of the exception's type, and brings
// the demangler for it: half of the library's size. Nothing here throws past a boundary, so plain
// termination is enough. The name is the one that library leaves to be defined elsewhere.
namespace __cxxabiv1 {
std::terminate_handler __terminate_handler = std::abort;  // NOLINT(bugprone-reserved-identifier)
}
