#include "common/path.h"

namespace kelvaro {
namespace {

constexpr std::wstring_view kSeparators = L"\\/";

bool IsDrive(std::wstring_view path) noexcept {
    const wchar_t letter = path.empty() ? L'\0' : path[0];
    const bool isLetter = (letter >= L'a' && letter <= L'z') || (letter >= L'A' && letter <= L'Z');
    return isLetter && path.size() >= 2 && path[1] == L':';
}

// Returns the length of the root name: "C:" of a drive, "\\server" of a network path, "\\?" of a
// device path. 0 for any other path.
size_t RootNameLength(std::wstring_view path) noexcept {
    if (IsDrive(path)) {
        return 2;
    }
    const bool network =
        path.size() >= 3 && IsSeparator(path[0]) && IsSeparator(path[1]) && !IsSeparator(path[2]);
    if (!network) {
        return 0;
    }
    const size_t end = path.find_first_of(kSeparators, 2);
    return end == std::wstring_view::npos ? path.size() : end;
}

}  // namespace

std::wstring JoinPath(std::wstring_view directory, std::wstring_view name) {
    const bool open = directory.empty() || IsSeparator(directory.back()) ||
                      (directory.size() == 2 && IsDrive(directory));
    std::wstring joined;
    joined.reserve(directory.size() + 1 + name.size());
    joined.append(directory);
    if (!open) {
        joined.push_back(L'\\');
    }
    joined.append(name);
    return joined;
}

std::wstring_view ParentPath(std::wstring_view path) noexcept {
    size_t relative = RootNameLength(path);
    while (relative < path.size() && IsSeparator(path[relative])) {
        ++relative;
    }
    size_t end = path.size();
    while (end > relative && !IsSeparator(path[end - 1])) {
        --end;
    }
    while (end > relative && IsSeparator(path[end - 1])) {
        --end;
    }
    return path.substr(0, end);
}

}  // namespace kelvaro
