#include "rules/path_normalizer.h"

#include "common/path.h"
#include "common/text.h"

namespace kelvaro {
namespace {

std::wstring_view WithoutQuotes(std::wstring_view path) noexcept {
    const bool quoted = path.size() >= 2 && path.front() == L'"' && path.back() == L'"';
    return quoted ? path.substr(1, path.size() - 2) : path;
}

}  // namespace

std::wstring NormalizePath(std::wstring_view path) {
    path = WithoutQuotes(TrimWhitespace(path));
    std::wstring canonical;
    canonical.reserve(path.size());
    if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
        canonical.push_back(L'\\');  // The loop below adds the second one of a network path.
    }
    bool afterSeparator = false;
    for (const wchar_t unit : path) {
        const bool separator = IsSeparator(unit);
        if (!separator || !afterSeparator) {
            canonical.push_back(separator ? L'\\' : ToLowerUnit(unit));
        }
        afterSeparator = separator;
    }
    return canonical;
}

}  // namespace kelvaro
