// Shortcuts read through a link object that answers in unusual ways.

#include <windows.h>

#include <shlobj.h>

#include "common/owners.h"
#include "internal/shell_link.h"
#include "menu/shortcut_target.h"
#include "support/fixture.h"

namespace {

struct Answer {
    HRESULT result;
    bool hasPointer;  // whether the call stores a pointer
};

// Which calls of the link object answer with what, instead of what the real one answers.
struct Answers {
    std::optional<Answer> create;
    std::optional<Answer> query;
    HRESULT getPath;
};
Answers g_answers = {};

// Nothing is at this address.
void* const kInvalid = reinterpret_cast<void*>(uintptr_t{0x10});

HRESULT Give(const Answer& answer, void** ppv) {
    *ppv = answer.hasPointer ? kInvalid : nullptr;
    return answer.result;
}

// Forwards to the real link object.
class LinkObject final : public IShellLinkW {
  public:
    HRESULT QueryInterface(REFIID riid, void** ppv) noexcept override {
        return g_answers.query ? Give(*g_answers.query, ppv) : link_->QueryInterface(riid, ppv);
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
        return g_answers.getPath;
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
    if (g_answers.create) {
        return Give(*g_answers.create, ppv);
    }
    *ppv = static_cast<IShellLinkW*>(new LinkObject);
    return S_OK;
}

namespace kelvaro {
namespace {

TEST_F(DriveTest, ShortcutTargetDependsOnSuccessAndPointer) {
    constexpr std::nullopt_t kReal = std::nullopt;
    const struct {
        const char* what;
        Answers answers;
        const wchar_t* target;
    } cases[] = {
        {"everything succeeds", {kReal, kReal, S_OK}, kTool},
        {"GetPath returns another success code", {kReal, kReal, S_FALSE}, kTool},
        {"GetPath fails with a path", {kReal, kReal, E_FAIL}, L""},
        {"CoCreateInstance succeeds with null", {Answer{S_OK, false}, kReal, S_OK}, L""},
        {"CoCreateInstance fails with a pointer", {Answer{E_FAIL, true}, kReal, S_OK}, L""},
        {"QueryInterface succeeds with null", {kReal, Answer{S_OK, false}, S_OK}, L""},
        {"QueryInterface fails with a pointer", {kReal, Answer{E_NOINTERFACE, true}, S_OK}, L""},
    };
    CopyShortcut();
    for (const auto& [what, answers, target] : cases) {
        g_answers = answers;
        EXPECT_EQ(Utf8(ResolveShortcutTarget(kShortcut)), Utf8(target)) << what;
    }
}

}  // namespace
}  // namespace kelvaro
