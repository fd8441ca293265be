#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// The application's rule file. Every lookup reads it again; nothing writes it.
inline constexpr wchar_t kRuleFilePath[] =
    L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\rules.json";

// Returns whether a rule of the rule file locks the program at `targetPath`. False if the path is
// empty or the file is missing, unreadable or malformed. Throws std::bad_alloc.
bool IsTargetLocked(std::wstring_view targetPath);

// Returns whether one of `rules` (the content of a rule file) locks the program whose normalised
// path is `canonicalPath`. The content need not be JSON. Takes time linear in its size. Throws
// std::bad_alloc.
bool AnyRuleLocks(std::string_view rules, std::wstring_view canonicalPath);

// Returns whether the flat object `objectText` is a rule for that program that is not switched off.
// Throws std::bad_alloc.
bool RuleLocks(std::string_view objectText, std::wstring_view canonicalPath);

// Returns whether the flat object `objectText` is a rule for that program, switched off or not.
// Throws std::bad_alloc.
bool IsRuleFor(std::string_view objectText, std::wstring_view canonicalPath);

}  // namespace kelvaro
