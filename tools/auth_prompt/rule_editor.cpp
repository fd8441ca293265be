#include "auth_prompt/rule_editor.h"

#include "console/console.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"

namespace auth_prompt {
namespace {

using kelvaro::ExtractBoolField;
using kelvaro::FindBoolField;
using kelvaro::IsRuleFor;

constexpr std::string_view kEnabled = "enabled";

std::string NewRule(std::wstring_view target) {
    std::string rule = R"({ "type": "exe", "enabled": true, "target": ")";
    for (const char byte : console::Utf8(target)) {
        if (byte == '\\') {
            rule.push_back('\\');
        }
        rule.push_back(byte);
    }
    return rule + R"(" })";
}

// Sets the switch of the rule object at `begin` in `rules`, `length` bytes between its braces.
// Returns how many bytes the rules grew by.
ptrdiff_t SetEnabled(std::string& rules, size_t begin, size_t length, bool enabled) {
    const std::string_view object = std::string_view(rules).substr(begin, length);
    const size_t before = rules.size();
    const std::string word = enabled ? "true" : "false";
    if (const auto old = FindBoolField(object, kEnabled)) {
        rules.replace(static_cast<size_t>(old->data() - rules.data()), old->size(), word);
    } else {
        rules.insert(begin, " \"enabled\": " + word + ",");
    }
    return static_cast<ptrdiff_t>(rules.size()) - static_cast<ptrdiff_t>(before);
}

// Switches the rules for `canonicalPath` from one state to the other: all that lock, or the first
// that does not. Returns whether there was one.
bool SwitchRules(std::string& rules, std::wstring_view canonicalPath, bool locked) {
    bool switched = false;
    size_t begin = rules.find('{');
    while (begin != std::string::npos) {
        ++begin;
        size_t end = rules.find_first_of("{}", begin);
        if (end == std::string::npos) {
            break;
        }
        const std::string_view object = std::string_view(rules).substr(begin, end - begin);
        if (rules[end] == '}' && IsRuleFor(object, canonicalPath) &&
            ExtractBoolField(object, kEnabled, true) == locked) {
            end += static_cast<size_t>(SetEnabled(rules, begin, end - begin, !locked));
            switched = true;
            if (!locked) {
                break;
            }
        }
        begin = rules.find('{', end);
    }
    return switched;
}

}  // namespace

std::optional<std::string> ToggleRule(std::string_view rules, std::wstring_view target) {
    std::string changed(rules);
    const std::wstring canonicalPath = kelvaro::NormalizePath(target);
    if (SwitchRules(changed, canonicalPath, kelvaro::AnyRuleLocks(rules, canonicalPath))) {
        return changed;
    }
    if (rules.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        return "{\n  \"rules\": [\n    " + NewRule(target) + "\n  ]\n}\n";
    }
    const size_t listEnd = changed.rfind(']');
    const size_t last = listEnd == 0 || listEnd == std::string::npos
                            ? std::string::npos
                            : changed.find_last_not_of(" \t\r\n", listEnd - 1);
    if (last == std::string::npos) {
        return std::nullopt;
    }
    changed.insert(last + 1, (changed[last] == '[' ? "\n    " : ",\n    ") + NewRule(target));
    return changed;
}

}  // namespace auth_prompt
