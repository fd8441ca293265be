#include "internal/path_syntax.h"

#include <algorithm>
#include <vector>

namespace compat {
namespace {

bool IsDevicePath(std::wstring_view path) noexcept {
    return path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\");
}

// Returns the length of the root, which ".." cannot remove: "C:\", "\\?\" or "\\server\share\".
// Separators must be backslashes.
size_t RootLength(std::wstring_view path) noexcept {
    if (IsDevicePath(path)) {
        return 4;
    }
    if (!path.starts_with(L"\\\\")) {
        return HasDrive(path) ? std::min<size_t>(3, path.size()) : 0;
    }
    size_t end = 2;
    for (int name = 0; name < 2; ++name) {
        end = std::min(path.find(L'\\', end), path.size());
        end += end < path.size() ? 1 : 0;
    }
    return end;
}

// Returns the names in a path below its root, without "." and "..".
std::vector<std::wstring_view> SplitNames(std::wstring_view path) {
    std::vector<std::wstring_view> names;
    while (!path.empty()) {
        const size_t end = std::min(path.find(L'\\'), path.size());
        const bool last = end == path.size();
        std::wstring_view name = path.substr(0, end);
        path.remove_prefix(last ? end : end + 1);
        if (name == L"..") {
            if (!names.empty()) {
                names.pop_back();
            }
        } else if (!name.empty() && name != L".") {
            name.remove_suffix(!last && name.ends_with(L'.') ? 1 : 0);
            names.push_back(name);
        }
    }
    return names;
}

}  // namespace

bool IsSeparator(wchar_t unit) noexcept {
    return unit == L'\\' || unit == L'/';
}

bool HasDrive(std::wstring_view path) noexcept {
    return path.size() >= 2 && path[1] == L':' &&
           ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z'));
}

std::wstring ResolveDots(std::wstring path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    const size_t root = RootLength(path);
    const std::vector<std::wstring_view> names = SplitNames(std::wstring_view(path).substr(root));
    std::wstring normal = path.substr(0, root);
    for (const std::wstring_view name : names) {
        normal.append(name).push_back(L'\\');
    }
    if (!names.empty() && !path.ends_with(L'\\')) {
        normal.pop_back();
        normal.resize(std::max(normal.find_last_not_of(L". ") + 1, root));
    }
    return normal;
}

}  // namespace compat
