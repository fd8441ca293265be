#include "internal/shell_link.h"

#include <shlobj.h>

#include <atomic>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/host_file.h"
#include "internal/link_file.h"
#include "internal/resource_count.h"

namespace compat {
namespace {

// A shell link object. Its two interfaces are separate objects, so that the record of calls shows
// through which one a method was called.
class ShellLink final : public IShellLinkW {
  public:
    ShellLink() noexcept : file_(*this) { CountResource(Resource::comObject, 1); }
    ShellLink(const ShellLink&) = delete;
    ShellLink& operator=(const ShellLink&) = delete;

    HRESULT QueryInterface(REFIID riid, void** ppv) noexcept override {
        const Call call("IShellLinkW::QueryInterface", E_NOINTERFACE, "{}", riid);
        *ppv = nullptr;
        return call.Fails() ? static_cast<HRESULT>(call.Error()) : FindInterface(riid, ppv);
    }
    ULONG AddRef() noexcept override {
        const Call call("IShellLinkW::AddRef");
        return ++references_;
    }
    ULONG Release() noexcept override {
        const Call call("IShellLinkW::Release");
        return DropReference();
    }

    HRESULT GetPath(LPWSTR buffer, int capacity, WIN32_FIND_DATAW* found,
                    DWORD flags) noexcept override {
        const Call call("IShellLinkW::GetPath", E_FAIL, "capacity={} flags={}", capacity, flags);
        if (call.Fails()) {
            return static_cast<HRESULT>(call.Error());
        }
        if (buffer == nullptr || capacity <= 0) {
            return E_INVALIDARG;
        }
        if (found != nullptr) {
            *found = {};
        }
        const bool raw = (flags & SLGP_RAWPATH) != 0 && !target_.rawPath.empty();
        const std::wstring& path = raw ? target_.rawPath : target_.path;
        lstrcpynW(buffer, path.c_str(), capacity);
        return path.empty() ? S_FALSE : S_OK;
    }

  private:
    class File final : public IPersistFile {
      public:
        explicit File(ShellLink& link) noexcept : link_(link) {}

        HRESULT QueryInterface(REFIID riid, void** ppv) noexcept override {
            const Call call("IPersistFile::QueryInterface", E_NOINTERFACE, "{}", riid);
            *ppv = nullptr;
            return call.Fails() ? static_cast<HRESULT>(call.Error())
                                : link_.FindInterface(riid, ppv);
        }
        ULONG AddRef() noexcept override {
            const Call call("IPersistFile::AddRef");
            return ++link_.references_;
        }
        ULONG Release() noexcept override {
            const Call call("IPersistFile::Release");
            return link_.DropReference();
        }

        HRESULT Load(LPCOLESTR name, DWORD mode) noexcept override {
            const Call call("IPersistFile::Load", E_ACCESSDENIED, "{} mode={}", name, mode);
            return call.Fails() ? static_cast<HRESULT>(call.Error()) : link_.Load(name);
        }
        HRESULT GetClassID(CLSID* clsid) noexcept override {
            *clsid = CLSID_ShellLink;
            return S_OK;
        }
        HRESULT IsDirty() noexcept override { return S_FALSE; }
        HRESULT Save(LPCOLESTR /*name*/, BOOL /*remember*/) noexcept override { return E_NOTIMPL; }
        HRESULT SaveCompleted(LPCOLESTR /*name*/) noexcept override { return E_NOTIMPL; }
        HRESULT GetCurFile(LPOLESTR* /*name*/) noexcept override { return E_NOTIMPL; }

      private:
        ShellLink& link_;
    };

    ~ShellLink() { CountResource(Resource::comObject, -1); }

    HRESULT FindInterface(REFIID riid, void** ppv) noexcept {
        if (riid == IID_IUnknown || riid == IID_IShellLinkW) {
            *ppv = static_cast<IShellLinkW*>(this);
        } else if (riid == IID_IPersistFile) {
            *ppv = static_cast<IPersistFile*>(&file_);
        } else {
            return E_NOINTERFACE;
        }
        ++references_;
        return S_OK;
    }

    ULONG DropReference() noexcept {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT Load(LPCOLESTR name) {
        const auto [host, error] = ToHostPath(name == nullptr ? L"" : name);
        std::string bytes;
        if (error != ERROR_SUCCESS || !ReadHostFile(host, bytes)) {
            return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        }
        auto target = ReadLinkFile(bytes);
        if (!target) {
            return E_FAIL;
        }
        target_ = std::move(*target);
        return S_OK;
    }

    std::atomic<ULONG> references_ = 1;
    LinkTarget target_;
    File file_;
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
