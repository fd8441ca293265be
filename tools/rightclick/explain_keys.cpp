#include "rightclick/explain_keys.h"

#include <algorithm>
#include <optional>

#include "rules/rule_fields.h"

namespace rightclick {
namespace {

constexpr std::string_view kType = "type";
constexpr std::string_view kEnabled = "enabled";

bool IsStrict(const LooseField& field, std::string_view key) {
    return field.key == key && field.keyQuote == "\"" && !field.inList;
}

// Returns whether `rule` has another field after `first`, the value of `key` that counts, with the
// value that its author means.
bool IsRepeated(const Rule& rule, std::string_view key, std::string_view first,
                std::string_view value, std::string_view quote) {
    return std::any_of(rule.fields.begin(), rule.fields.end(), [&](const LooseField& field) {
        return IsStrict(field, key) && field.raw.data() > first.data() && field.quote == quote &&
               field.raw.starts_with(value);
    });
}

// Returns whether the value of `field` reads like one of `words`.
bool IsOneOf(const LooseField& field, std::initializer_list<std::string_view> words) {
    const size_t end =
        field.quote.empty() ? field.raw.find_first_of(" \t\r\n/#") : field.raw.size();
    const std::string word = LowerCase(field.raw.substr(0, end));
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool LooksSwitchedOff(const LooseField& field) {
    const std::string key = LowerCase(field.key);
    if (key == "disabled") {
        return IsOneOf(field, {"true", "1", "yes", "on"});
    }
    return (key == kEnabled || key == "active" || key == "locked") &&
           IsOneOf(field, {"false", "0", "no", "off"});
}

std::string AsWritten(const LooseField& field) {
    const std::string quote(field.quote);
    const std::string value = quote + Shown(field.raw) + quote;
    return field.inList ? "[" + value + "]" : value;
}

// Explains a field that looks as if it switched the rule off.
std::string ExplainSwitch(const LooseField& field, bool switchedOn) {
    const std::string write = switchedOn ? ": write \"enabled\": false instead of \"enabled\": true"
                                         : ": write \"enabled\": false";
    if (field.key != kEnabled) {
        const std::string effect = Quoted(field.key) + " has no effect" + write;
        return (LowerCase(field.key) == kEnabled ? "keys are case-sensitive, so " : "the key ") +
               effect;
    }
    if (IsStrict(field, kEnabled) && field.quote.empty() && field.raw.starts_with("false")) {
        return "only the first \"enabled\" counts: write \"enabled\": false there";
    }
    if (field.keyQuote != "\"") {
        return "the key \"enabled\" needs double quotation marks" + write;
    }
    const std::string value =
        "\"enabled\" has the value " + AsWritten(field) + ", which does not switch a rule off";
    const bool onlyQuotes =
        !switchedOn && !field.inList && !field.quote.empty() && field.raw == "false";
    return value + (onlyQuotes ? ": the quotation marks make it text: remove them" : write);
}

}  // namespace

std::string_view FirstTarget(const Rule& rule) {
    return kelvaro::FindStringField(rule.text, "target").value_or(std::string_view());
}

std::string ExplainType(const Rule& rule) {
    constexpr char kOnlyExe[] = "; only \"type\": \"exe\" locks a program";
    const auto first = kelvaro::FindStringField(rule.text, kType);
    if (first && kelvaro::UnescapeJsonString(*first) == "exe") {
        return {};
    }
    if (first) {
        return IsRepeated(rule, kType, *first, "exe", "\"")
                   ? "only the first \"type\" counts: write \"type\": \"exe\" there"
                   : "the type is " + Quoted(*first) + kOnlyExe;
    }
    for (const LooseField& field : rule.fields) {
        if (LowerCase(field.key) != kType) {
            continue;
        }
        if (field.key != kType) {
            return "keys are case-sensitive: write \"type\" instead of " + Quoted(field.key);
        }
        if (field.inList) {
            return "the type is a list: write \"type\": \"exe\"";
        }
        return field.raw == "exe" ? "the type or its key has no double quotation marks: write "
                                    "\"type\": \"exe\""
                                  : "the type is " + Quoted(field.raw) + kOnlyExe;
    }
    return "it has no type: add \"type\": \"exe\"";
}

std::string OtherType(const Rule& rule) {
    const std::string type = kelvaro::ExtractStringField(rule.text, kType, {});
    return LowerCase(type) == "exe" ? std::string() : type;
}

std::string ExplainSwitchedOff(const Rule& rule) {
    const auto first = kelvaro::FindBoolField(rule.text, kEnabled);
    if (!first || *first == "true") {
        return {};
    }
    return IsRepeated(rule, kEnabled, *first, "true", {})
               ? "switched off, because only the first \"enabled\" counts: write \"enabled\": true "
                 "there"
               : "switched off: write \"enabled\": true";
}

std::string ExplainIneffectiveSwitch(const Rule& rule) {
    const auto field = std::find_if(rule.fields.begin(), rule.fields.end(), LooksSwitchedOff);
    return field == rule.fields.end()
               ? std::string()
               : ExplainSwitch(*field, kelvaro::FindBoolField(rule.text, kEnabled).has_value());
}

std::string AddRule(const std::string& quoted) {
    return "add {\"type\":\"exe\",\"target\":" + quoted + "}";
}

}  // namespace rightclick
