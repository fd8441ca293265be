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

bool Locks(const std::string& object, std::wstring_view canonicalPath) {
    if (StringField(object, "type", "") != "exe" || !BoolField(object, "enabled", true)) {
        return false;
    }
    const std::string target = StringField(object, "target", "");
    const std::wstring canonical =
        kelvaro::NormalizePath(kelvaro::WideFromBytes(CP_UTF8, 0, target));
    return !canonical.empty() && canonical == canonicalPath;
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

bool AnyRuleLocks(const std::string& rules, std::wstring_view canonicalPath) {
    static const std::regex object(kObjectPattern);
    for (std::sregex_iterator at(rules.begin(), rules.end(), object), end; at != end; ++at) {
        if (Locks(at->str(), canonicalPath)) {
            return true;
        }
    }
    return false;
}

}  // namespace oracle
