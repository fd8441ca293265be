#pragma once

#include <windows.h>

#include <objbase.h>

#include <string>

#include "common/result.h"

namespace shell_host {

// Loads a library and frees it at the end of its scope.
class Library {
  public:
    explicit Library(const std::wstring& file) : module_(LoadLibraryW(file.c_str())) {}
    ~Library() {
        if (IsLoaded()) {
            FreeLibrary(module_);
        }
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    bool IsLoaded() const { return module_ != nullptr; }
    HMODULE Handle() const { return module_; }

    // Returns the export `name` as a pointer of type `Function`. Null if there is no such export.
    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

  private:
    HMODULE module_;
};

// Loads the library `file` and calls its export `name` ("DllRegisterServer" or
// "DllUnregisterServer"), as regsvr32 does. Returns the result of the call, or the error that
// prevented it.
inline HRESULT CallRegistration(const std::wstring& file, const char* name) {
    const Library library(file);
    const auto call =
        library.IsLoaded() ? library.Export<HRESULT(STDMETHODCALLTYPE*)()>(name) : nullptr;
    return call == nullptr ? kelvaro::FailureFromWin32(GetLastError()) : call();
}

}  // namespace shell_host
