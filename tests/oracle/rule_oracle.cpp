#include "oracle/rule_oracle.h"

#include <windows.h>

#include <map>
#include <regex>

#include "common/code_page.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace oracle {
namespace {

bool Search(const std::string& text, const std::string& key, const std::string& value,
            std::smatch& match) {
    static std::map<std::string, std::regex> compiled;
    const std::string pattern = "\"" + key + value;
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
    return Search(objectText, key, R"re("\s*:\s*"([^"]*)")re", match)
               ? kelvaro::UnescapeJsonString(match[1].str())
               : defaultValue;
}

bool BoolField(const std::string& objectText, const std::string& key, bool defaultValue) {
    std::smatch match;
    return Search(objectText, key, R"re("\s*:\s*(true|false))re", match) ? match[1] == "true"
                                                                         : defaultValue;
}

bool AnyRuleLocks(const std::string& rules, std::wstring_view canonicalPath) {
    static const std::regex object(R"(\{[^\{\}]*\})");
    for (std::sregex_iterator at(rules.begin(), rules.end(), object), end; at != end; ++at) {
        if (Locks(at->str(), canonicalPath)) {
            return true;
        }
    }
    return false;
}

}  // namespace oracle
