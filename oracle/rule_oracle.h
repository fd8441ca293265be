#pragma once

#include <string>
#include <string_view>
#include <vector>

// The rule lookup with std::regex, the reference for the library's own scanner. Slow, and for files
// of a few kilobytes only: std::regex recurses once per byte.
namespace oracle {

// Returns the decoded string value of `key`, or `defaultValue` if the object has none.
std::string StringField(const std::string& objectText, const std::string& key,
                        const std::string& defaultValue);

// Returns the Boolean value of `key`, or `defaultValue` if the object has none.
bool BoolField(const std::string& objectText, const std::string& key, bool defaultValue);

// Returns the normalised paths of the programs that `rules` lock.
std::vector<std::wstring> LockedPaths(const std::string& rules);

}  // namespace oracle
