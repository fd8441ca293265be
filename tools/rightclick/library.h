#pragma once

#include <windows.h>

#include <string>

namespace rightclick {

// A loaded library of the extension's kind, freed at the end.
class Library {
  public:
    explicit Library(const std::wstring& file) : module_(LoadLibraryW(file.c_str())) {}
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    bool IsLoaded() const { return module_ != nullptr; }
    HMODULE Handle() const { return module_; }

    // The export `name` as a function of type `Function`; null when there is none.
    template <class Function>
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

  private:
    HMODULE module_;
};

// Does what the platform's registration tool does: loads `file`, calls its export `name`
// ("DllRegisterServer" or its counterpart) and returns its result, or why it could not be called.
HRESULT CallRegistration(const std::wstring& file, const char* name);

}  // namespace rightclick
