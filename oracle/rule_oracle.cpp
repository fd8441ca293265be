#include "oracle/rule_oracle.h"

#include <windows.h>

#include <map>
#include <regex>

#include "common/code_page.h"
#include "oracle/rule_patterns.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace oracle {
namespace {

bool Search(const std::string& text, const std::string& pattern, std::smatch& match) {
    static std::map<std::string, std::regex> compiled;
    return std::regex_search(text, match, compiled.try_emplace(pattern, pattern).first->second);
}

// Returns the normalised path that `object` locks. Empty if it locks none.
std::wstring LockedPath(const std::string& object) {
    if (StringField(object, "type", "") != "exe" || !BoolField(object, "enabled", true)) {
        return {};
    }
    return kelvaro::NormalizePath(
        kelvaro::WideFromBytes(CP_UTF8, 0, StringField(object, "target", "")));
}

}  // namespace

std::string StringField(const std::string& objectText, const std::string& key,
                        const std::string& defaultValue) {
    std::smatch match;
    return Search(objectText, StringFieldPattern(key), match)
               ? kelvaro::UnescapeJsonString(match[1].str())
               : defaultValue;
}

bool BoolField(const std::string& objectText, const std::string& key, bool defaultValue) {
    std::smatch match;
    return Search(objectText, BoolFieldPattern(key), match) ? match[1] == "true" : defaultValue;
}

std::vector<std::wstring> LockedPaths(const std::string& rules) {
    static const std::regex object(kObjectPattern);
    std::vector<std::wstring> paths;
    for (std::sregex_iterator at(rules.begin(), rules.end(), object), end; at != end; ++at) {
        if (std::wstring path = LockedPath(at->str()); !path.empty()) {
            paths.push_back(std::move(path));
        }
    }
    return paths;
}

}  // namespace oracle
