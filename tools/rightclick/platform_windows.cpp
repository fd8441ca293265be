#include <shlobj.h>

#include <algorithm>
#include <memory>

#include "common/owners.h"
#include "rightclick/platform.h"
#include "rightclick/selection.h"
#include "shell_host/drop_list.h"

namespace rightclick {
namespace {

struct ItemFreer {
    void operator()(LPITEMIDLIST item) const noexcept { CoTaskMemFree(item); }
};

// The shell's item identifier list of a file.
using Item = std::unique_ptr<ITEMIDLIST, ItemFreer>;

// Returns the data object for `items` from their folder; null on failure. All items must be in one
// folder, as in a selection.
IDataObject* DataObjectFromFolder(const std::vector<Item>& items) {
    kelvaro::ComPtr<IShellFolder> folder;
    std::vector<LPCITEMIDLIST> children;
    for (const Item& item : items) {
        kelvaro::ComPtr<IShellFolder> parent;
        LPCITEMIDLIST child = nullptr;
        if (FAILED(SHBindToParent(item.get(), IID_IShellFolder,
                                  children.empty() ? folder.Put() : parent.Put(), &child))) {
            return nullptr;
        }
        children.push_back(child);
    }
    void* object = nullptr;
    if (children.empty() ||
        FAILED(folder->GetUIObjectOf(nullptr, static_cast<UINT>(children.size()), children.data(),
                                     IID_IDataObject, nullptr, &object))) {
        return nullptr;
    }
    return static_cast<IDataObject*>(object);
}

bool ShareFolder(const std::vector<std::wstring>& files) {
    const auto folder = [](const std::wstring& file) { return file.substr(0, file.rfind(L'\\')); };
    return std::all_of(files.begin(), files.end(), [&](const std::wstring& file) {
        return folder(file) == folder(files.front());
    });
}

}  // namespace

std::wstring LowerCase(std::wstring_view text) {
    std::wstring lowered(text);
    CharLowerBuffW(lowered.data(), static_cast<DWORD>(lowered.size()));
    return lowered;
}

std::wstring ExpandVariables(const std::wstring& text) {
    constexpr DWORD kMost = 32768;  // the most that the system returns
    std::wstring expanded(kMost, L'\0');
    const DWORD written = ExpandEnvironmentStringsW(text.c_str(), expanded.data(), kMost);
    expanded.resize(written > 0 && written <= kMost ? written - 1 : 0);
    return expanded;
}

bool HasScreen() {
    const HWND probe = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                                       nullptr, nullptr);
    return probe != nullptr && DestroyWindow(probe);
}

std::optional<UINT> ShowMenu(HMENU menu, HWND& owner) {
    // Below the identifiers that the handler may use.
    constexpr UINT kOpen = 1;
    constexpr UINT kProperties = 2;
    InsertMenuW(menu, 0, MF_BYPOSITION | MF_STRING, kOpen, L"Open");
    InsertMenuW(menu, static_cast<UINT>(-1), MF_BYPOSITION | MF_SEPARATOR, 0, nullptr);
    InsertMenuW(menu, static_cast<UINT>(-1), MF_BYPOSITION | MF_STRING, kProperties, L"Properties");
    SetMenuDefaultItem(menu, kOpen, FALSE);
    POINT pointer = {};
    GetCursorPos(&pointer);
    owner = CreateWindowExW(WS_EX_TOOLWINDOW, L"STATIC", L"rightclick", WS_POPUP | WS_VISIBLE,
                            pointer.x, pointer.y, 1, 1, nullptr, nullptr, nullptr, nullptr);
    // If its owner is in the background, a menu does not close on a click outside it.
    SetForegroundWindow(owner);
    const BOOL chosen =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_NONOTIFY, pointer.x, pointer.y, 0, owner, nullptr);
    return chosen == 0 ? std::nullopt : std::optional(static_cast<UINT>(chosen));
}

Selection MakeSelection(const std::vector<std::wstring>& files) {
    std::vector<Item> items;
    bool known = ShareFolder(files);
    for (const std::wstring& file : files) {
        LPITEMIDLIST item = nullptr;
        known = known && SUCCEEDED(SHParseDisplayName(file.c_str(), nullptr, &item, 0, nullptr));
        items.emplace_back(item);
    }
    IDataObject* const object = known ? DataObjectFromFolder(items) : nullptr;
    return object != nullptr ? Selection{object, true}
                             : Selection{shell_host::MakeDropListObject(files), false};
}

}  // namespace rightclick
