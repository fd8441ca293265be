#include <regex>

#include "engines.h"
#include "rules/rule_fields.h"

namespace bench {
namespace {

constexpr char kObject[] = R"(\{[^\{\}]*\})";
constexpr char kType[] = R"re("type"\s*:\s*"([^"]*)")re";
constexpr char kEnabled[] = R"re("enabled"\s*:\s*(true|false))re";
constexpr char kTarget[] = R"re("target"\s*:\s*"([^"]*)")re";

// `pattern` gives the compiled form of one of the patterns.
template <class Pattern>
bool Locks(const std::string& rules, std::wstring_view canonicalPath, Pattern pattern) {
    const auto& object = pattern(kObject);
    for (std::sregex_iterator at(rules.begin(), rules.end(), object), end; at != end; ++at) {
        const std::string text = at->str();
        std::smatch match;
        if (!std::regex_search(text, match, pattern(kType)) ||
            kelvaro::UnescapeJsonString(match[1].str()) != "exe") {
            continue;
        }
        if (std::regex_search(text, match, pattern(kEnabled)) && match[1] == "false") {
            continue;
        }
        if (std::regex_search(text, match, pattern(kTarget)) &&
            IsTarget(kelvaro::UnescapeJsonString(match[1].str()), canonicalPath)) {
            return true;
        }
    }
    return false;
}

const std::regex& CompiledOnce(const char* text) {
    static const std::regex object(kObject);
    static const std::regex type(kType);
    static const std::regex enabled(kEnabled);
    static const std::regex target(kTarget);
    return text == kObject ? object : text == kType ? type : text == kEnabled ? enabled : target;
}

}  // namespace

// Compiles a field's pattern anew for every object, as a simple reader would.
bool StdRegexAsWorded(const std::string& rules, std::wstring_view canonicalPath) {
    std::regex current;
    std::regex object(kObject);
    return Locks(rules, canonicalPath, [&](const char* text) -> const std::regex& {
        if (text == kObject) {
            return object;
        }
        return current = std::regex(text);
    });
}

bool StdRegexCompiledOnce(const std::string& rules, std::wstring_view canonicalPath) {
    return Locks(rules, canonicalPath, CompiledOnce);
}

}  // namespace bench
