#include <simdjson.h>

#include "engines.h"

namespace bench {

bool SimdjsonOnDemand(const std::string& rules, std::wstring_view canonicalPath) {
    static simdjson::ondemand::parser parser;
    const simdjson::padded_string_view padded(rules.data(), rules.size(), rules.capacity());
    simdjson::ondemand::document document = parser.iterate(padded);
    for (simdjson::ondemand::object rule : document["rules"]) {
        std::string_view type;
        std::string_view target;
        bool enabled = true;
        for (auto field : rule) {
            const std::string_view key = field.unescaped_key();
            if (key == "type") {
                type = field.value().get_string();
            } else if (key == "enabled") {
                enabled = field.value().get_bool();
            } else if (key == "target") {
                target = field.value().get_string();
            }
        }
        if (type == "exe" && enabled && IsTarget(target, canonicalPath)) {
            return true;
        }
    }
    return false;
}

}  // namespace bench
