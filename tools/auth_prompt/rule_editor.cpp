#include "auth_prompt/rule_editor.h"

#include "console/console.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"

namespace auth_prompt {
namespace {

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

// Returns the text of a rule object with its switch set to `enabled`.
std::string WithEnabled(std::string_view object, bool enabled) {
    std::string changed(object);
    const std::string word = enabled ? "true" : "false";
    if (const auto old = kelvaro::FindBoolField(object, "enabled")) {
        changed.replace(static_cast<size_t>(old->data() - object.data()), old->size(), word);
    } else {
        changed.insert(1, " \"enabled\": " + word + ",");
    }
    return changed;
}

// Returns `rules` with the rules for `canonicalPath` switched: all that lock are switched off, or
// the first one is switched on. std::nullopt if there is no rule to switch.
std::optional<std::string> SwitchRules(std::string_view rules, std::wstring_view canonicalPath) {
    const bool locked = kelvaro::AnyRuleLocks(rules, canonicalPath);
    std::string changed;
    size_t copied = 0;
    bool switched = false;
    kelvaro::RulePieces pieces(rules);
    while (const auto piece = pieces.Next()) {
        const bool chosen =
            piece->IsFlatObject() && (locked ? kelvaro::RuleLocks(piece->text, canonicalPath)
                                             : kelvaro::IsRuleFor(piece->text, canonicalPath));
        if (chosen && (locked || !switched)) {
            const auto begin = static_cast<size_t>(piece->text.data() - rules.data());
            changed.append(rules, copied, begin - copied).append(WithEnabled(piece->text, !locked));
            copied = begin + piece->text.size();
            switched = true;
        }
    }
    changed.append(rules, copied);
    return switched ? std::optional(changed) : std::nullopt;
}

}  // namespace

std::optional<std::string> ToggleRule(std::string_view rules, std::wstring_view target) {
    if (auto switched = SwitchRules(rules, kelvaro::NormalizePath(target))) {
        return switched;
    }
    if (rules.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        return "{\n  \"rules\": [\n    " + NewRule(target) + "\n  ]\n}\n";
    }
    std::string changed(rules);
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
