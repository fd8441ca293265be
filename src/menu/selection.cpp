#include "menu/selection.h"

#include <windows.h>

#include <shellapi.h>

#include "common/owners.h"
#include "common/text.h"

namespace kelvaro {
namespace {

std::wstring ReadDropList(HGLOBAL memory, std::wstring& path) {
    const ScopedGlobalLock lock(memory);
    if (!lock) {
        return L"Initialize GlobalLock failed";
    }
    auto* const drop = reinterpret_cast<HDROP>(memory);
    constexpr UINT kCountFiles = 0xFFFFFFFF;
    const UINT count = DragQueryFileW(drop, kCountFiles, nullptr, 0);
    if (count != 1) {
        std::wstring message = L"Initialize ignored selection count=";
        AppendNumber(message, count);
        return message;
    }
    wchar_t name[MAX_PATH] = {};
    if (DragQueryFileW(drop, 0, name, MAX_PATH) == 0) {
        return L"Initialize DragQueryFileW failed";
    }
    path = name;
    return {};
}

}  // namespace

std::wstring ReadSelection(IDataObject& dataObject, std::wstring& path) {
    FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    STGMEDIUM received = {};
    if (FAILED(dataObject.GetData(&format, &received))) {
        return L"Initialize GetData failed";
    }
    const ScopedMedium medium(&received);
    return ReadDropList(received.hGlobal, path);
}

}  // namespace kelvaro
