#include "internal/shell_link.h"

#include <shlobj.h>

#include <atomic>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/link_file.h"
#include "internal/linux_file.h"
#include "internal/resource_count.h"

namespace compat {
namespace {

class ShellLink final : public IShellLinkW, public IPersistFile {
  public:
    ShellLink() noexcept { CountResource(Resource::comObject, 1); }
    ShellLink(const ShellLink&) = delete;
    ShellLink& operator=(const ShellLink&) = delete;

    HRESULT QueryInterface(REFIID riid, void** ppv) noexcept override {
        const Call call("IShellLinkW::QueryInterface", E_NOINTERFACE);
        *ppv = nullptr;
        if (call.Fails()) {
            if (FAILED(call.Result())) {
                *ppv = reinterpret_cast<void*>(uintptr_t{1});  // must not be released
            }
            return call.Result();
        }
        if (riid == IID_IUnknown || riid == IID_IShellLinkW) {
            *ppv = static_cast<IShellLinkW*>(this);
        } else if (riid == IID_IPersistFile) {
            *ppv = static_cast<IPersistFile*>(this);
        } else {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG AddRef() noexcept override { return ++references_; }
    ULONG Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT GetPath(LPWSTR buffer, int capacity, WIN32_FIND_DATAW* found,
                    DWORD flags) noexcept override {
        const Call call("IShellLinkW::GetPath", E_FAIL);
        if (buffer == nullptr || capacity <= 0 || flags != SLGP_RAWPATH) {
            return E_INVALIDARG;  // other forms of the path match no rule
        }
        if (found != nullptr) {
            *found = {};
        }
        const std::wstring& path = target_.rawPath.empty() ? target_.path : target_.rawPath;
        lstrcpynW(buffer, path.c_str(), capacity);
        if (call.Fails()) {
            return call.Result();  // what a failing call leaves in the buffer does not count
        }
        return path.empty() ? S_FALSE : S_OK;
    }

    HRESULT Load(LPCOLESTR name, DWORD mode) noexcept override {
        const Call call("IPersistFile::Load", E_ACCESSDENIED);
        if (call.Fails()) {
            return call.Result();
        }
        if (mode != STGM_READ) {
            return E_INVALIDARG;  // the library never needs to write or to exclude others
        }
        const auto [linuxPath, error] = ToLinuxPath(name);
        std::string bytes;
        if (error != ERROR_SUCCESS || !ReadLinuxFile(linuxPath, bytes)) {
            return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        }
        auto target = ReadLinkFile(bytes);
        if (!target) {
            return E_FAIL;
        }
        target_ = std::move(*target);
        return S_OK;
    }
    HRESULT GetClassID(CLSID* /*clsid*/) noexcept override { return E_NOTIMPL; }
    HRESULT IsDirty() noexcept override { return E_NOTIMPL; }

  private:
    ~ShellLink() { CountResource(Resource::comObject, -1); }

    std::atomic<ULONG> references_ = 1;
    LinkTarget target_;
};

}  // namespace

HRESULT CreateShellLink(REFIID riid, void** ppv) noexcept {
    auto* const link = new (std::nothrow) ShellLink;
    if (link == nullptr) {
        return E_OUTOFMEMORY;
    }
    const HRESULT result = link->QueryInterface(riid, ppv);
    link->Release();
    return result;
}

}  // namespace compat
