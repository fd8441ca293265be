// Shortcuts read through a link object that returns unusual results.

#include <windows.h>

#include <shlobj.h>

#include <new>
#include <optional>

#include "common/owners.h"
#include "internal/shell_link.h"
#include "menu/shortcut_target.h"
#include "support/fixture.h"

namespace {

// The outcome of a call that returns an interface.
struct Outcome {
    HRESULT result;
    bool storesPointer;
};

// The outcomes of the calls. std::nullopt stands for the one of the real link object.
struct Outcomes {
    std::optional<Outcome> create;
    std::optional<Outcome> query;
    HRESULT getPath;
};
Outcomes g_outcomes = {};

// No object is at this address.
void* const kInvalid = reinterpret_cast<void*>(uintptr_t{0x10});

HRESULT Return(const Outcome& outcome, void** ppv) {
    *ppv = outcome.storesPointer ? kInvalid : nullptr;
    return outcome.result;
}

// Forwards to the real link object.
class LinkObject final : public IShellLinkW {
  public:
    HRESULT QueryInterface(REFIID riid, void** ppv) noexcept override {
        return g_outcomes.query ? Return(*g_outcomes.query, ppv) : link_->QueryInterface(riid, ppv);
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
        link_->GetPath(buffer, capacity, found, flags);
        return g_outcomes.getPath;
    }

    LinkObject() { compat::CreateShellLink(IID_IShellLinkW, link_.Put()); }
    LinkObject(const LinkObject&) = delete;
    LinkObject& operator=(const LinkObject&) = delete;

  private:
    ~LinkObject() = default;

    ULONG references_ = 1;
    kelvaro::ComPtr<IShellLinkW> link_;
};

}  // namespace

// Replaces the compatibility layer's function in this program.
HRESULT CoCreateInstance(REFCLSID /*clsid*/, IUnknown* /*outer*/, DWORD /*context*/,
                         REFIID /*riid*/, LPVOID* ppv) noexcept {
    if (g_outcomes.create) {
        return Return(*g_outcomes.create, ppv);
    }
    *ppv = static_cast<IShellLinkW*>(new (std::nothrow) LinkObject);
    return S_OK;
}

namespace kelvaro {
namespace {

TEST_F(DriveTest, ShortcutTargetDependsOnSuccessAndPointer) {
    constexpr std::nullopt_t kReal = std::nullopt;
    const struct {
        const char* what;
        Outcomes outcomes;
        const wchar_t* target;
    } cases[] = {
        {"everything succeeds", {kReal, kReal, S_OK}, kTool},
        {"GetPath returns another success code", {kReal, kReal, S_FALSE}, kTool},
        {"GetPath fails with a path", {kReal, kReal, E_FAIL}, L""},
        {"CoCreateInstance succeeds with null", {Outcome{S_OK, false}, kReal, S_OK}, L""},
        {"CoCreateInstance fails with a pointer", {Outcome{E_FAIL, true}, kReal, S_OK}, L""},
        {"QueryInterface succeeds with null", {kReal, Outcome{S_OK, false}, S_OK}, L""},
        {"QueryInterface fails with a pointer", {kReal, Outcome{E_NOINTERFACE, true}, S_OK}, L""},
    };
    CopyShortcut();
    for (const auto& [what, outcomes, target] : cases) {
        g_outcomes = outcomes;
        EXPECT_EQ(Utf8(ResolveShortcutTarget(kShortcut)), Utf8(target)) << what;
    }
}

}  // namespace
}  // namespace kelvaro
