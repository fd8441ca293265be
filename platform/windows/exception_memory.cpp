// The compiler's runtime library allocates memory for exceptions when the DLL is loaded (73 KB) and
// never frees it. A host can load and unload the DLL many times, so the DLL frees it at the end.
namespace __gnu_cxx {
void __freeres() noexcept;
}

namespace {

[[gnu::destructor]] void FreeExceptionMemory() {
    __gnu_cxx::__freeres();
}

}  // namespace
