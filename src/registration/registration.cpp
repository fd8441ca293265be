#include "registration/registration.h"

#include <objbase.h>
#include <shlobj.h>

#include "common/boundary.h"
#include "common/module_path.h"
#include "common/owners.h"
#include "common/result.h"
#include "common/text.h"
#include "registration/keys.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "server/module.h"

namespace kelvaro {
namespace {

// Returns the class identifier in the form that the registry uses. Empty if it cannot be formatted.
std::wstring ClsidText() {
    ScopedComText text;
    if (FAILED(StringFromCLSID(kShellExtClsid, text.Put())) || !text) {
        return {};
    }
    return text.Get();
}

void NotifyShell() noexcept {
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}

HRESULT RegisterServer() {
    const ModulePath module = ReadModulePath(g_moduleHandle);
    if (module.path.empty()) {
        return FailureFromWin32(module.error);
    }
    const std::wstring clsid = ClsidText();
    if (clsid.empty()) {
        return E_FAIL;
    }
    HRESULT result = RegisterUnderRoot(HKEY_CURRENT_USER, kClasses, clsid, module.path);
    if (FAILED(result)) {
        result = RegisterUnderRoot(HKEY_CLASSES_ROOT, {}, clsid, module.path);
    }
    if (FAILED(result)) {
        return result;
    }
    NotifyShell();
    return S_OK;
}

HRESULT UnregisterServer() {
    const std::wstring clsid = ClsidText();
    if (clsid.empty()) {
        return E_FAIL;
    }
    // Registration may have written to either root. All paths are built before the first deletion:
    // if memory runs out, nothing is deleted.
    const struct Tree {
        HKEY root;
        std::wstring path;
    } trees[] = {
        {HKEY_CURRENT_USER, Concat({kClasses, kProgramClass, kHandlerKey})},
        {HKEY_CURRENT_USER, Concat({kClasses, kShortcutClass, kHandlerKey})},
        {HKEY_CURRENT_USER, Concat({kClasses, kClassKey, clsid})},
        {HKEY_CLASSES_ROOT, Concat({kProgramClass, kHandlerKey})},
        {HKEY_CLASSES_ROOT, Concat({kShortcutClass, kHandlerKey})},
        {HKEY_CLASSES_ROOT, Concat({kClassKey, clsid})},
    };
    for (const Tree& tree : trees) {
        RegDeleteTreeW(tree.root, tree.path.c_str());
    }
    NotifyShell();
    return S_OK;
}

}  // namespace

HRESULT WriteRegistryString(HKEY root, const std::wstring& keyPath, const std::wstring& valueName,
                            const std::wstring& data) noexcept {
    ScopedKey key;
    LSTATUS status = RegCreateKeyExW(root, keyPath.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_WRITE, nullptr, key.Put(), nullptr);
    if (status != ERROR_SUCCESS) {
        return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
    }
    const auto size = static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t));
    status = RegSetValueExW(key.Get(), valueName.empty() ? nullptr : valueName.c_str(), 0, REG_SZ,
                            reinterpret_cast<const BYTE*>(data.c_str()), size);
    return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

HRESULT RegisterUnderRoot(HKEY root, std::wstring_view prefix, const std::wstring& clsid,
                          const std::wstring& modulePath) {
    const std::wstring classKey = Concat({prefix, kClassKey, clsid});
    const std::wstring serverKey = Concat({classKey, kServerKey});
    const struct Entry {
        std::wstring keyPath;
        std::wstring valueName;
        std::wstring data;
    } entries[] = {
        {classKey, {}, L"Vorandel Kelvaro Shell Extension"},
        {serverKey, {}, modulePath},
        {serverKey, L"ThreadingModel", L"Apartment"},
        {Concat({prefix, kProgramClass, kHandlerKey}), {}, clsid},
        {Concat({prefix, kShortcutClass, kHandlerKey}), {}, clsid},
    };
    for (const Entry& entry : entries) {
        const HRESULT result =
            WriteRegistryString(root, entry.keyPath, entry.valueName, entry.data);
        if (FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

}  // namespace kelvaro

STDAPI DllRegisterServer() {
    return kelvaro::GuardBoundary(kelvaro::RegisterServer);
}

STDAPI DllUnregisterServer() {
    return kelvaro::GuardBoundary(kelvaro::UnregisterServer);
}
