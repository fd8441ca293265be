#include <shlobj.h>

#include "common/owners.h"
#include "rightclick/drop_list.h"
#include "rightclick/selection.h"

namespace rightclick {
namespace {

// The shell's item identifier lists of some files. Frees them at the end of its scope.
class ItemLists {
  public:
    ItemLists() = default;
    ItemLists(const ItemLists&) = delete;
    ItemLists& operator=(const ItemLists&) = delete;
    ~ItemLists() {
        for (LPITEMIDLIST const item : items_) {
            CoTaskMemFree(item);
        }
    }

    bool Add(const std::wstring& file) {
        LPITEMIDLIST item = nullptr;
        if (FAILED(SHParseDisplayName(file.c_str(), nullptr, &item, 0, nullptr))) {
            return false;
        }
        items_.push_back(item);
        return true;
    }
    const std::vector<LPITEMIDLIST>& Items() const { return items_; }

  private:
    std::vector<LPITEMIDLIST> items_;
};

// Returns the data object for `items` from their folder; null on failure. All items must be in one
// folder, as in a selection.
IDataObject* DataObjectFromFolder(const std::vector<LPITEMIDLIST>& items) {
    kelvaro::ComPtr<IShellFolder> folder;
    std::vector<LPCITEMIDLIST> children;
    for (LPITEMIDLIST const item : items) {
        kelvaro::ComPtr<IShellFolder> parent;
        LPCITEMIDLIST child = nullptr;
        if (FAILED(SHBindToParent(item, IID_IShellFolder,
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
    for (const std::wstring& file : files) {
        if (folder(file) != folder(files.front())) {
            return false;
        }
    }
    return true;
}

}  // namespace

Selection MakeSelection(const std::vector<std::wstring>& files) {
    ItemLists items;
    bool known = ShareFolder(files);
    for (const std::wstring& file : files) {
        known = known && items.Add(file);
    }
    IDataObject* const object = known ? DataObjectFromFolder(items.Items()) : nullptr;
    return object != nullptr ? Selection{object, true}
                             : Selection{MakeDropListObject(files), false};
}

}  // namespace rightclick
