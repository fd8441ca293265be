#include <rapidjson/document.h>

#include "engines.h"

namespace bench {

bool RapidjsonDocument(const std::string& rules, std::wstring_view canonicalPath) {
    rapidjson::Document document;
    document.Parse(rules.data(), rules.size());
    for (const auto& rule : document["rules"].GetArray()) {
        if (rule["type"] != "exe" || !rule["enabled"].GetBool()) {
            continue;
        }
        const auto& target = rule["target"];
        if (IsTarget({target.GetString(), target.GetStringLength()}, canonicalPath)) {
            return true;
        }
    }
    return false;
}

}  // namespace bench
