#pragma once

#include <string>
#include <string_view>

// The rule lookup by the patterns that define it, on the standard library's engine: slow, limited
// to short files, and what our own scanner has to agree with.
namespace oracle {

std::string StringField(const std::string& objectText, const std::string& key,
                        const std::string& defaultValue);
bool BoolField(const std::string& objectText, const std::string& key, bool defaultValue);
bool AnyRuleLocks(const std::string& rules, std::wstring_view canonicalPath);

}  // namespace oracle
