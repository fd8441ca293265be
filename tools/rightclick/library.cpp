#include "rightclick/library.h"

#include <objbase.h>

#include "common/result.h"

namespace rightclick {

HRESULT CallRegistration(const std::wstring& file, const char* name) {
    const Library library(file);
    if (!library.IsLoaded()) {
        return kelvaro::FailureFromWin32(GetLastError());
    }
    const auto call = library.Export<HRESULT(STDMETHODCALLTYPE*)()>(name);
    return call == nullptr ? kelvaro::FailureFromWin32(GetLastError()) : call();
}

}  // namespace rightclick
