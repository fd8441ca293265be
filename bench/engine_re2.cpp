#include <re2/re2.h>

#include "engines.h"
#include "rules/rule_fields.h"

namespace bench {
namespace {

RE2::Options Bytes() {
    RE2::Options options;
    options.set_encoding(RE2::Options::EncodingLatin1);
    return options;
}

std::string_view View(const re2::StringPiece& piece) {
    return {piece.data(), piece.size()};
}

}  // namespace

bool Re2Compiled(const std::string& rules, std::wstring_view canonicalPath) {
    static const RE2 object(R"((\{[^\{\}]*\}))", Bytes());
    static const RE2 type(R"re("type"\s*:\s*"([^"]*)")re", Bytes());
    static const RE2 enabled(R"re("enabled"\s*:\s*(true|false))re", Bytes());
    static const RE2 target(R"re("target"\s*:\s*"([^"]*)")re", Bytes());
    re2::StringPiece rest(rules);
    re2::StringPiece text;
    re2::StringPiece value;
    while (RE2::FindAndConsume(&rest, object, &text)) {
        if (!RE2::PartialMatch(text, type, &value) ||
            kelvaro::UnescapeJsonString(View(value)) != "exe") {
            continue;
        }
        if (RE2::PartialMatch(text, enabled, &value) && value == "false") {
            continue;
        }
        if (RE2::PartialMatch(text, target, &value) &&
            IsTarget(kelvaro::UnescapeJsonString(View(value)), canonicalPath)) {
            return true;
        }
    }
    return false;
}

}  // namespace bench
