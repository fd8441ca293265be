#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvaro {

// The application's rule file. Every lookup reads it again. The library never writes it.
inline constexpr wchar_t kRuleFilePath[] =
    L"C:\\ProgramData\\Vorandel\\Kelvaro\\config\\rules.json";

// Returns whether a rule of the rule file locks the program at `targetPath`. False if the path is
// empty, or the file is missing or cannot be opened. Throws std::bad_alloc.
bool IsTargetLocked(std::wstring_view targetPath);

// Returns the first of `rules` (the content of a rule file) that locks the program whose normalised
// path is `canonicalPath`, as a view into `rules`; std::nullopt if none does. The content need not
// be JSON. Takes time linear in its size. Throws std::bad_alloc.
std::optional<std::string_view> FindLockingRule(std::string_view rules,
                                                std::wstring_view canonicalPath);

// Returns whether there is such a rule. Throws std::bad_alloc.
inline bool AnyRuleLocks(std::string_view rules, std::wstring_view canonicalPath) {
    return FindLockingRule(rules, canonicalPath).has_value();
}

// Returns whether the flat object `objectText` is a rule for that program, switched off or not.
// Throws std::bad_alloc.
bool IsRuleFor(std::string_view objectText, std::wstring_view canonicalPath);

// Returns the normalised target of the flat object `objectText`. Empty if it has none. Throws
// std::bad_alloc.
std::wstring CanonicalTarget(std::string_view objectText);

}  // namespace kelvaro
