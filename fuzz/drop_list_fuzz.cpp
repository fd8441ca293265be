// Checks that no content of a drop list makes DragQueryFileW read outside the list's memory, and
// that the number of files it reports agrees with the names it returns.

#include <windows.h>

#include <shellapi.h>

#include <cstring>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const HGLOBAL memory = GlobalAlloc(GHND, size);
    if (size > 0) {
        std::memcpy(GlobalLock(memory), data, size);
        GlobalUnlock(memory);
    }
    auto* const drop = reinterpret_cast<HDROP>(memory);
    const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
    fuzz::Require(count <= size);
    for (UINT index = 0; index <= count && index < 3; ++index) {
        wchar_t name[MAX_PATH] = {};
        const UINT copied = DragQueryFileW(drop, index, name, MAX_PATH);
        fuzz::Require(copied < MAX_PATH && name[copied] == L'\0');
        fuzz::Require((copied > 0) == (index < count));
    }
    GlobalFree(memory);
    return 0;
}
