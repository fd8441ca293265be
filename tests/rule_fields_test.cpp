#include "rules/rule_fields.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(RuleFields, ReadsTheFirstStringValue) {
    const struct {
        std::string_view object, value;
    } cases[] = {
        {R"({"k":"v"})", "v"},
        {R"({"k":""})", ""},
        {"{\"k\" \t\n\v\f\r:\r\f\v\n\t \"v\"}", "v"},
        {R"({"k":1,"k":"second"})", "second"},
        {R"({"k":"first","k":"second"})", "first"},
        {R"({"K":"v"})", "(default)"},
        {R"({"xk":"v"})", "(default)"},
        {R"({k:"v"})", "(default)"},
        {R"({"k","v"})", "(default)"},
        {R"({"k" "v"})", "(default)"},
        {R"({"k"::"v"})", "(default)"},
        {R"({"k":v"})", "(default)"},
        {R"({"k":"v})", "(default)"},
        {R"({"k":"a\"b"})", "a\\"},
        {R"({"other":"k":"v"})", "v"},
        {R"({"a":"x"k":"v"})", "v"},
        {"{\"k\"\xA0:\"v\"}", "(default)"},
        {std::string_view("{\"k\":\"a\0b\"}", 11), std::string_view("a\0b", 3)},
        {R"({"k":"\n\t\r\\n\/\b\f\v\N\u0041"})", "\n\t\r\\n/bfvNu0041"},
        {"", "(default)"},
    };
    for (const auto& [object, value] : cases) {
        EXPECT_EQ(ExtractStringField(object, "k", "(default)"), value) << object;
    }
}

TEST(RuleFields, DoesNotDecodeDefaults) {
    EXPECT_EQ(ExtractStringField("{}", "k", "a\\n"), "a\\n");
}

TEST(RuleFields, ReadsOnlyUnquotedWordsAsBooleans) {
    const struct {
        std::string_view object;
        bool value, byDefault;
    } cases[] = {
        {R"({"k":true})", true, false},        {R"({"k":false})", false, true},
        {R"({"k": falsely})", false, true},    {R"({"k":trueish})", true, false},
        {R"({"k":"false"})", true, true},      {R"({"k":0})", true, true},
        {R"({"k":False})", true, true},        {R"({"k":null})", true, true},
        {R"({"k":1,"k":false})", false, true}, {R"({"k":true,"k":false})", true, false},
        {R"({"k":fals})", true, true},
    };
    for (const auto& [object, value, byDefault] : cases) {
        EXPECT_EQ(ExtractBoolField(object, "k", byDefault), value) << object;
    }
}

TEST(RuleFields, DecodesEscapesOnce) {
    const struct {
        std::string_view raw, decoded;
    } cases[] = {
        {"C:\\\\Apps\\\\Tool.exe", "C:\\Apps\\Tool.exe"},
        {"C:\\Apps\\Tool.exe", "C:AppsTool.exe"},
        {"\\\\n", "\\n"},
        {"\\", "\\"},
        {"a\\", "a\\"},
        {"\\\\\\", "\\\\"},
        {"\\\"\\'\\{", "\"'{"},
        {"", ""},
    };
    for (const auto& [raw, decoded] : cases) {
        EXPECT_EQ(UnescapeJsonString(raw), decoded) << raw;
    }
}

}  // namespace
}  // namespace kelvaro
