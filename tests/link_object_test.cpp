// Shortcuts read through a link object that returns unusual results.

#include <windows.h>

#include <shlobj.h>

#include <optional>

#include "common/owners.h"
#include "internal/shell_link.h"
#include "menu/shortcut_target.h"
#include "support/fixture.h"

namespace {

// What the calls return. std::nullopt stands for what the real link object does.
struct Results {
    std::optional<HRESULT> create, query;
    HRESULT getPath;
};
Results g_results = {};

// Stores null with a success and an address without an object with a failure.
HRESULT Return(HRESULT result, void** ppv) {
    *ppv = SUCCEEDED(result) ? nullptr : reinterpret_cast<void*>(uintptr_t{0x10});
    return result;
}

// Forwards to the real link object.
class LinkObject final : public IShellLinkW {
  public:
    HRESULT QueryInterface(REFIID riid, void** ppv) noexcept override {
        return g_results.query ? Return(*g_results.query, ppv) : link_->QueryInterface(riid, ppv);
    }
    ULONG AddRef() noexcept override { return ++references; }
    ULONG Release() noexcept override { return --references; }
    HRESULT GetPath(LPWSTR buffer, int capacity, WIN32_FIND_DATAW* found,
                    DWORD flags) noexcept override {
        EXPECT_EQ(flags, DWORD{SLGP_RAWPATH}) << "a short name matches no rule";
        link_->GetPath(buffer, capacity, found, flags);
        return g_results.getPath;
    }

    LinkObject() { compat::CreateShellLink(IID_IShellLinkW, link_.Put()); }

    ULONG references = 0;

  private:
    kelvaro::ComPtr<IShellLinkW> link_;
};
LinkObject* g_link = nullptr;

}  // namespace

// Replaces the compatibility layer's function in this program.
HRESULT CoCreateInstance(REFCLSID /*clsid*/, IUnknown* /*outer*/, DWORD /*context*/,
                         REFIID /*riid*/, LPVOID* ppv) noexcept {
    if (g_results.create) {
        return Return(*g_results.create, ppv);
    }
    g_link->AddRef();
    *ppv = static_cast<IShellLinkW*>(g_link);
    return S_OK;
}

namespace kelvaro {
namespace {

using ShortcutTarget = DriveTest;

TEST_F(ShortcutTarget, DependsOnSuccessAndPointer) {
    const struct {
        const char* what;
        Results results;
        const wchar_t* target;
    } cases[] = {
        {"GetPath returns another success code", {{}, {}, S_FALSE}, kTool},
        {"GetPath fails with a path", {{}, {}, E_FAIL}, L""},
        {"CoCreateInstance succeeds with null", {S_OK, {}, S_OK}, L""},
        {"CoCreateInstance fails with a pointer", {E_FAIL, {}, S_OK}, L""},
        {"QueryInterface succeeds with null", {{}, S_OK, S_OK}, L""},
        {"QueryInterface fails with a pointer", {{}, E_NOINTERFACE, S_OK}, L""},
    };
    CopyShortcut();
    for (const auto& [what, results, target] : cases) {
        LinkObject link;
        g_link = &link;
        g_results = results;
        EXPECT_EQ(Utf8(ResolveShortcutTarget(kShortcut)), Utf8(target)) << what;
        EXPECT_EQ(link.references, 0U) << what;
    }
}

}  // namespace
}  // namespace kelvaro
