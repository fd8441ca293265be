#include <windows.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "internal/call.h"
#include "internal/encoding.h"
#include "internal/global_memory.h"
#include "testing/watch.h"

namespace {

// Returns the names in a drop list. Leaves out a name whose end is outside of `block`.
template <class Unit>
std::vector<std::wstring> ReadNames(std::string_view block, size_t offset) {
    std::vector<std::wstring> names;
    std::wstring name;
    for (; offset + sizeof(Unit) <= block.size(); offset += sizeof(Unit)) {
        Unit unit = {};
        std::memcpy(&unit, block.data() + offset, sizeof unit);
        if (unit != 0) {
            name.push_back(sizeof(Unit) == 1
                               ? compat::FromWindows1252(static_cast<unsigned char>(unit))
                               : static_cast<wchar_t>(unit));
            continue;
        }
        if (name.empty()) {
            break;
        }
        names.push_back(std::move(name));
        name.clear();
    }
    return names;
}

std::vector<std::wstring> ReadDropList(std::string_view block) {
    DROPFILES header = {};
    if (block.size() < sizeof header) {
        return {};
    }
    std::memcpy(&header, block.data(), sizeof header);
    return header.fWide ? ReadNames<wchar_t>(block, header.pFiles)
                        : ReadNames<char>(block, header.pFiles);
}

// Matches without recursion: on a mismatch the last asterisk absorbs one more unit.
bool MatchesWildcards(std::wstring_view name, std::wstring_view pattern) noexcept {
    size_t at = 0;
    size_t star = std::wstring_view::npos;
    size_t starAt = 0;
    size_t in = 0;
    while (in < name.size()) {
        if (at < pattern.size() && pattern[at] == L'*') {
            star = at++;
            starAt = in;
        } else if (at < pattern.size() && (pattern[at] == L'?' || pattern[at] == name[in])) {
            ++at;
            ++in;
        } else if (star != std::wstring_view::npos) {
            at = star + 1;
            in = ++starAt;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', at) == std::wstring_view::npos;
}

}  // namespace

UINT DragQueryFileW(HDROP drop, UINT index, LPWSTR buffer, UINT capacity) noexcept {
    const compat::Call call("DragQueryFileW", ERROR_INVALID_HANDLE);
    if (call.Fails()) {
        return 0;
    }
    const auto names = ReadDropList(compat::GlobalContent(drop));
    constexpr UINT kCount = 0xFFFFFFFF;
    if (index == kCount) {
        return static_cast<UINT>(names.size());
    }
    if (index >= names.size()) {
        return 0;
    }
    const auto length = static_cast<UINT>(names[index].size());
    if (buffer == nullptr) {
        return length;
    }
    lstrcpynW(buffer, names[index].c_str(), static_cast<int>(capacity));
    return capacity == 0 ? 0 : std::min(length, capacity - 1);
}

BOOL PathMatchSpecW(LPCWSTR path, LPCWSTR pattern) noexcept {
    const compat::Call call("PathMatchSpecW", ERROR_NOT_ENOUGH_MEMORY);
    if (call.Fails()) {
        return FALSE;
    }
    const std::wstring name = compat::FoldName(path);
    std::wstring patterns = compat::FoldName(pattern);
    for (size_t at = 0; at <= patterns.size();) {
        const size_t end = std::min(patterns.find(L';', at), patterns.size());
        const size_t begin = std::min(patterns.find_first_not_of(L' ', at), end);
        if (MatchesWildcards(name, std::wstring_view(patterns).substr(begin, end - begin))) {
            return TRUE;
        }
        at = end + 1;
    }
    return FALSE;
}

void SHChangeNotify(LONG event, UINT flags, LPCVOID first, LPCVOID second) noexcept {
    compat::Watch<&SHChangeNotify>::Pass(event, flags, first, second);
}

void ReleaseStgMedium(STGMEDIUM* medium) noexcept {
    const STGMEDIUM released = *medium;
    *medium = {};
    if (released.pUnkForRelease != nullptr) {
        released.pUnkForRelease->Release();
    } else if (released.tymed == TYMED_HGLOBAL) {
        GlobalFree(released.hGlobal);
    }
}
