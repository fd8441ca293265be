#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// Returns `text` with letters and accents composed (Unicode normalisation form C). Returns `text`
// itself if it is not valid UTF-16.
std::wstring Compose(std::wstring_view text);

// Returns `text` without differences of letter case, for comparisons, in any script.
std::wstring FoldCase(std::wstring_view text);

}  // namespace rightclick
