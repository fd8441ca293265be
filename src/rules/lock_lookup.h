#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// The application's rule file, read afresh for every question and never written.
inline constexpr wchar_t kRuleFilePath[] =
    L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\rules.json";

// Whether a rule of the rule file locks the program at `targetPath` now. False for an empty path
// and for a file that is missing, unreadable or malformed. Throws std::bad_alloc.
bool IsTargetLocked(std::wstring_view targetPath);

// Whether one of `rules` (the bytes of a rule file) locks the program whose normalised path is
// `canonicalPath`: an object without a brace inside, of type "exe", not switched off, whose
// normalised target is the same. The bytes need not be JSON; time grows with their number alone.
bool AnyRuleLocks(std::string_view rules, std::wstring_view canonicalPath);

// Whether the object `objectText` (without a brace inside) is a rule of type "exe" for that
// program, switched off or not.
bool IsRuleFor(std::string_view objectText, std::wstring_view canonicalPath);

}  // namespace kelvaro
