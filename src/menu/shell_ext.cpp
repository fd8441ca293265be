#include "menu/shell_ext.h"

#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <string>

#include "common/boundary.h"
#include "common/com_object.h"
#include "common/owners.h"
#include "common/text.h"
#include "i18n/texts.h"
#include "launch/launch_toggle.h"
#include "log/log.h"
#include "menu/selection.h"
#include "menu/shortcut_target.h"
#include "menu/verb.h"
#include "rules/lock_lookup.h"
#include "server/module.h"

namespace kelvaro {
namespace {

// ANSI hosts get this fixed English help text.
constexpr char kNarrowHelpText[] = "Toggle lock state via Vorandel Kelvaro";

constexpr const wchar_t* Digit(bool value) noexcept {
    return value ? L"1" : L"0";
}

}  // namespace

// Handles one context menu: reads the selection, adds the item, carries out the command. Not in the
// unnamed namespace: a PDB names the thunks that adjust `this` only if they have external linkage.
class KelvaroShellExt final : public IShellExtInit, public IContextMenu {
  public:
    KelvaroShellExt() noexcept { ++g_objectCount; }

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;

    STDMETHODIMP Initialize(LPCITEMIDLIST pidlFolder, IDataObject* pdtobj,
                            HKEY hkeyProgID) noexcept override;

    STDMETHODIMP QueryContextMenu(HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT idCmdLast,
                                  UINT uFlags) noexcept override;
    STDMETHODIMP InvokeCommand(LPCMINVOKECOMMANDINFO pici) noexcept override;
    STDMETHODIMP GetCommandString(UINT_PTR idCmd, UINT uType, UINT* pReserved, LPSTR pszName,
                                  UINT cchMax) noexcept override;

  private:
    ~KelvaroShellExt() { --g_objectCount; }

    HRESULT TakeSelection(IDataObject& dataObject);

    std::atomic<ULONG> refCount = 1;
    std::wstring selectedPath;
    std::wstring targetPath;
    bool locked = false;
};

STDMETHODIMP KelvaroShellExt::QueryInterface(REFIID riid, void** ppv) noexcept {
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (riid == IID_IUnknown || riid == IID_IShellExtInit) {
        *ppv = static_cast<IShellExtInit*>(this);
    } else if (riid == IID_IContextMenu) {
        *ppv = static_cast<IContextMenu*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) KelvaroShellExt::AddRef() noexcept {
    return ++refCount;
}

STDMETHODIMP_(ULONG) KelvaroShellExt::Release() noexcept {
    const ULONG left = --refCount;
    if (left == 0) {
        delete this;
    }
    return left;
}

STDMETHODIMP KelvaroShellExt::Initialize(LPCITEMIDLIST /*pidlFolder*/, IDataObject* pdtobj,
                                         HKEY /*hkeyProgID*/) noexcept {
    // The shell may initialise an object again. Nothing of an earlier selection may remain.
    selectedPath.clear();
    targetPath.clear();
    locked = false;
    if (pdtobj == nullptr) {
        return E_INVALIDARG;
    }
    return GuardBoundary([&] { return TakeSelection(*pdtobj); });
}

HRESULT KelvaroShellExt::TakeSelection(IDataObject& dataObject) {
    if (const std::wstring failure = ReadSelection(dataObject, selectedPath); !failure.empty()) {
        WriteLog(failure);
        return E_INVALIDARG;
    }
    if (KindOfFile(selectedPath) == FileKind::other) {
        WriteLog(L"Initialize ignored non exe/lnk: " + selectedPath);
        return E_INVALIDARG;
    }
    targetPath = ResolveShortcutTarget(selectedPath);
    if (targetPath.empty()) {
        WriteLog(L"Initialize resolve target failed: " + selectedPath);
        return S_OK;
    }
    locked = IsTargetLocked(targetPath);
    WriteLog(Concat({L"Initialize ok selected=", selectedPath, L" target=", targetPath, L" locked=",
                     Digit(locked)}));
    return S_OK;
}

STDMETHODIMP KelvaroShellExt::QueryContextMenu(HMENU hmenu, UINT indexMenu, UINT idCmdFirst,
                                               UINT /*idCmdLast*/, UINT uFlags) noexcept {
    if ((uFlags & CMF_DEFAULTONLY) != 0) {
        return S_OK;
    }
    return GuardBoundary([&] {
        // Both texts exist before the menu changes: after an error the shell gives the identifier
        // to the next handler, so the item must not be in the menu then.
        const std::wstring text = GetMenuText(locked);
        const std::wstring message = Concat({L"QueryContextMenu add item locked=", Digit(locked)});
        InsertMenuW(hmenu, indexMenu, MF_BYPOSITION | MF_STRING, idCmdFirst, text.c_str());
        WriteLog(message);
        return HRESULT{1};  // the number of command identifiers used
    });
}

STDMETHODIMP KelvaroShellExt::InvokeCommand(LPCMINVOKECOMMANDINFO pici) noexcept {
    if (pici == nullptr) {
        return E_INVALIDARG;
    }
    // An error box lets the host handle other messages, and the host may release its last reference
    // meanwhile.
    AddRef();
    const ComPtr<IContextMenu> self(this);
    return GuardBoundary([&] {
        if (!IsToggleRequest(*pici)) {
            WriteLog(L"InvokeCommand ignored unknown verb");
            return E_FAIL;
        }
        if (selectedPath.empty()) {
            WriteLog(L"InvokeCommand selected path empty");
            return E_FAIL;
        }
        WriteLog(L"InvokeCommand start selected=" + selectedPath);
        LaunchToggle(selectedPath, pici->hwnd);
        return S_OK;
    });
}

STDMETHODIMP KelvaroShellExt::GetCommandString(UINT_PTR idCmd, UINT uType, UINT* /*pReserved*/,
                                               LPSTR pszName, UINT cchMax) noexcept {
    if (idCmd != 0 || pszName == nullptr || cchMax == 0) {
        return E_INVALIDARG;
    }
    return GuardBoundary([&] {
        auto* const wideName = reinterpret_cast<LPWSTR>(pszName);
        const int capacity = static_cast<int>(std::min(cchMax, UINT{INT_MAX}));
        switch (uType) {
            case GCS_HELPTEXTA:
                lstrcpynA(pszName, kNarrowHelpText, capacity);
                break;
            case GCS_VERBA:
                lstrcpynA(pszName, kVerb, capacity);
                break;
            case GCS_HELPTEXTW:
                lstrcpynW(wideName, GetHelpText().c_str(), capacity);
                break;
            case GCS_VERBW:
                lstrcpynW(wideName, kWideVerb, capacity);
                break;
            default:
                break;
        }
        return S_OK;
    });
}

HRESULT CreateShellExt(REFIID riid, void** ppv) noexcept {
    return CreateObject<KelvaroShellExt>(riid, ppv);
}

}  // namespace kelvaro
