#include "auth_prompt/rule_editor.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

#include "common/code_page.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"

namespace auth_prompt {
namespace {

// Keeps the order of keys.
using Json = nlohmann::ordered_json;

// Json::dump recurses. No real rule file is nested as deeply.
constexpr int kDeepestNesting = 1000;

// A rule of the document, with its text. The extension reads rules as text, so the text decides
// whether a rule matches.
struct Rule {
    Json* object;
    std::string text;
};

// Returns the flat objects of `document` in the order of the file.
std::vector<Rule> FindFlatObjects(Json& document) {
    std::vector<Rule> found;
    std::vector<Json*> pending = {&document};
    while (!pending.empty()) {
        Json& value = *pending.back();
        pending.pop_back();
        if (value.is_object()) {
            std::string text = value.dump();
            if (text.find_first_of("{}", 1) == text.size() - 1) {
                found.push_back({&value, std::move(text)});
                continue;
            }
        }
        const auto first = static_cast<ptrdiff_t>(pending.size());
        for (Json& child : value) {
            if (child.is_structured()) {
                pending.push_back(&child);
            }
        }
        std::reverse(pending.begin() + first, pending.end());
    }
    return found;
}

// Returns the list of rules of `document`: itself, its member "rules" or its first list. Null if
// there is none.
Json* FindList(Json& document) {
    if (document.is_array()) {
        return &document;
    }
    if (!document.is_object()) {
        return nullptr;
    }
    if (const auto rules = document.find("rules"); rules != document.end() && rules->is_array()) {
        return &*rules;
    }
    for (Json& member : document) {
        if (member.is_array()) {
            return &member;
        }
    }
    return nullptr;
}

// Switches all rules for the path off, or the first one on. Returns false if there is none.
bool SwitchRules(Json& document, std::wstring_view canonicalPath, bool enabled) {
    bool found = false;
    for (const Rule& rule : FindFlatObjects(document)) {
        if (kelvaro::IsRuleFor(rule.text, canonicalPath)) {
            (*rule.object)["enabled"] = enabled;
            found = true;
            if (enabled) {
                break;
            }
        }
    }
    return found;
}

bool Append(Json& document, std::wstring_view target) {
    Json* const list = FindList(document);
    if (list != nullptr) {
        list->push_back(
            {{"type", "exe"}, {"enabled", true}, {"target", kelvaro::Utf8FromWide(target)}});
    }
    return list != nullptr;
}

bool IsBlank(std::string_view rules) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    rules.remove_prefix(rules.starts_with(kMark) ? kMark.size() : 0);
    return rules.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

ToggleResult ToggleRule(std::string_view rules, std::wstring_view target) {
    Json document = {{"rules", Json::array()}};
    if (!IsBlank(rules)) {
        try {
            document = Json::parse(rules, [](int depth, Json::parse_event_t, const Json&) {
                return depth <= kDeepestNesting ? true
                                                : throw std::length_error("nested too deeply");
            });
        } catch (const Json::exception& error) {
            return {{}, std::string("the rule file is not valid JSON: ") + error.what()};
        } catch (const std::length_error&) {
            return {{}, "the rule file is nested too deeply"};
        }
    }
    const std::wstring canonicalPath = kelvaro::NormalizePath(target);
    const bool locked = kelvaro::AnyRuleLocks(rules, canonicalPath);
    if (!SwitchRules(document, canonicalPath, !locked) && !Append(document, target)) {
        return {{}, "the rule file has no list of rules"};
    }
    std::string changed = document.dump(2) + "\n";
    // For example a path with a brace in it, which no rule can lock.
    if (kelvaro::AnyRuleLocks(changed, canonicalPath) == locked) {
        return {{}, "the lock of " + kelvaro::Utf8FromWide(target) + " cannot be changed"};
    }
    return {std::move(changed), {}};
}

}  // namespace auth_prompt
