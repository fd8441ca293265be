#include "rightclick/explain.h"

#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace rightclick {
namespace {

TEST(Explain, NamesTheMatchingRuleOrTheNearMiss) {
    const struct {
        const char *rules, *expected;
    } cases[] = {
        {"", "missing, empty"},
        {"\xFF\xFE{", "UTF-16"},
        {"[]", "none of the 0 rules"},
        {R"([{"type":"exe","target":"D:\\x.exe"}])", "none of the 1 rules"},
        {"[\n {\"type\":\"exe\",\"target\":\"c:/apps/TOOL.exe\"}]", "line 2: this rule locks it"},
        {"{\n  \"type\":\"exe\",\n  \"target\":\"C:\\\\Apps\\\\Tool.exe\"\n}", "line 2: this rule"},
        {R"({"type":"exe","enabled":false,"target":"C:\\Apps\\Tool.exe"})", "switched off"},
        {R"({"type":"folder","target":"C:\\Apps\\Tool.exe"})", "its type is \"folder\""},
        {R"({"target":"C:\\Apps\\Tool.exe"})", "its type is \"\""},
        {R"({"type":"exe","target":"C:\Apps\Tool.exe"})", "not doubled"},
        {R"({"type":"exe","target":"C:\\Apps\\T\u006Fol.exe"})", "\\u"},
        {R"({"type":"exe","target":"C:\\Old\\Tool.exe"})", "another path, c:\\old\\tool.exe"},
        {R"({"type":"exe","target":"%ProgramFiles%\\Tool.exe"})", "nothing is expanded"},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe","options":{}})", "a brace inside"},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe")", "no closing brace"},
        {R"("type":"exe","target":"C:\\Apps\\Tool.exe"})", "no opening brace"},
    };
    for (const auto& [rules, expected] : cases) {
        const std::string text = ExplainLock(rules, L"C:\\Apps\\Tool.exe");
        EXPECT_NE(text.find(expected), std::string::npos) << rules << "\n" << text;
        const bool locked =
            kelvaro::AnyRuleLocks(rules, kelvaro::NormalizePath(L"C:\\Apps\\Tool.exe"));
        EXPECT_EQ(text.find(" is locked") != std::string::npos, locked) << rules;
    }
    EXPECT_NE(ExplainLock("{}", L"C:\\{App}\\Tool.exe").find("contains a brace"),
              std::string::npos);
}

}  // namespace
}  // namespace rightclick
