#include "shell_host/drop_list.h"

#include <shlobj.h>

#include <cstring>
#include <new>

#include "shell_host/data_object.h"

namespace shell_host {
namespace {

class DropListObject final : public DataObject {
  public:
    explicit DropListObject(std::vector<std::wstring> files) : files_(std::move(files)) {}

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) noexcept override {
        *medium = {};
        const HRESULT offered = QueryGetData(format);
        if (offered != S_OK) {
            return offered;
        }
        medium->tymed = TYMED_HGLOBAL;
        try {
            medium->hGlobal = MakeDropList(files_);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return medium->hGlobal == nullptr ? E_OUTOFMEMORY : S_OK;
    }
    STDMETHODIMP QueryGetData(FORMATETC* format) noexcept override {
        const bool offered = format->cfFormat == CF_HDROP && format->dwAspect == DVASPECT_CONTENT &&
                             (format->tymed & TYMED_HGLOBAL) != 0;
        return offered ? S_OK : DV_E_FORMATETC;
    }

  private:
    std::vector<std::wstring> files_;
};

}  // namespace

HGLOBAL MakeDropList(const std::vector<std::wstring>& files) {
    std::wstring names;
    for (const std::wstring& file : files) {
        names += file;
        names.push_back(L'\0');
    }
    names.push_back(L'\0');
    const size_t size = names.size() * sizeof(wchar_t);
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof(DROPFILES) + size);
    auto* const block = static_cast<char*>(GlobalLock(memory));
    if (block == nullptr) {
        GlobalFree(memory);
        return nullptr;
    }
    DROPFILES header = {};
    header.pFiles = sizeof header;
    header.fWide = TRUE;
    std::memcpy(block, &header, sizeof header);
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): `names` includes the terminators
    std::memcpy(block + sizeof header, names.data(), size);
    GlobalUnlock(memory);
    return memory;
}

IDataObject* MakeDropListObject(std::vector<std::wstring> files) {
    return new DropListObject(std::move(files));
}

}  // namespace shell_host
