#include "auth_prompt/rule_editor.h"

#include <nlohmann/json.hpp>

#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace auth_prompt {
namespace {

constexpr const auto& kTool = DriveTest::kTool;

bool Locks(std::string_view rules) {
    return kelvaro::AnyRuleLocks(rules, kelvaro::NormalizePath(kTool));
}

TEST(RuleEditor, TogglesTheLock) {
    const std::string rule = R"("type":"exe","target":"C:\\Apps\\Tool.exe")";
    const std::string files[] = {
        "",
        "\xEF\xBB\xBF \n",
        "[]",
        R"({"rules":[ ]})",
        R"({"groups":[], "rules":[{"type":"exe","target":"D:\\x.exe"}]})",
        R"({"other":[{"type":"folder","target":"C:\\Apps\\Tool.exe"}]})",
        "[{" + rule + "}]",
        "[{" + rule + R"(,"enabled":false}])",
        R"([{"enabled":1,)" + rule + "}]",
        R"([{"enabled":"false",)" + rule + "}]",
        "[{" + rule + "},{" + rule + "}]",
        R"([{"enabled":false,)" + rule + "},{" + rule + "}]",
        R"([{"enabled":false,)" + rule + "},{" + rule + R"(,"enabled":false}])",
        "[{" + rule + R"(,"options":{"a":1}}])",
        R"({"nested":{"deep":[{)" + rule + R"(}]},"rules":[{)" + rule + "}]}",
        R"([{"type":"exe","target":"C:\\Apps\\T\u006Fol.exe"}])",
        R"([{"type":"exe","target":"C:\\Apps\\T\u006Fol.exe"},{)" + rule + "}]",
    };
    for (const std::string& rules : files) {
        bool locked = Locks(rules);
        std::string now = rules;
        for (int toggles = 0; toggles < 3; ++toggles) {
            const auto [changed, error] = ToggleRule(now, kTool);
            ASSERT_EQ(error, "") << now;
            EXPECT_NE(Locks(changed), locked) << changed;
            now = changed;
            locked = !locked;
        }
    }
}
TEST(RuleEditor, KeepsOtherKeysAndTheirOrder) {
    const std::string before =
        R"({"z":1.5,"rules":[{"note":"工","target":"D:\\x.exe","type":"exe")";
    const std::string after = R"(}],"a":[null,{}]})";
    const std::string added = R"(},{"type":"exe","enabled":true,"target":"C:\\Apps\\Tool.exe")";
    const auto compact = [](const std::string& rules) {
        return nlohmann::ordered_json::parse(rules).dump();
    };
    EXPECT_EQ(compact(ToggleRule(before + after, kTool).rules), before + added + after);
    EXPECT_EQ(compact(ToggleRule(before + after, L"d:/X.exe").rules),
              before + R"(,"enabled":false)" + after);
}

TEST(RuleEditor, SwitchesTheFirstRuleOnAndAllOff) {
    const auto rules = [](const char* first, const char* second) {
        const std::string target = R"(,"type":"exe","target":"C:\\Apps\\Tool.exe"})";
        return R"({"a":[{"enabled":)" + std::string(first) + target + R"(],"b":[{"enabled":)" +
               second + target + "]}";
    };
    const auto toggled = [](const std::string& before) {
        return nlohmann::ordered_json::parse(ToggleRule(before, kTool).rules).dump();
    };
    EXPECT_EQ(toggled(rules("false", "false")), rules("true", "false"));
    EXPECT_EQ(toggled(rules("true", "true")), rules("false", "false"));
}

TEST(RuleEditor, RefusesWhatItCannotChange) {
    const std::string deep = std::string(200'000, '[') + std::string(200'000, ']');
    const struct {
        std::string rules;
        const char* error;
    } cases[] = {{"no rules", "not valid JSON"},
                 {"[{\"type\":\"exe\",}]", "not valid JSON"},
                 {R"(["C:\Apps"])", "not valid JSON"},
                 {"[\"\xFF\"]", "not valid JSON"},
                 {"5", "no list"},
                 {"{\"version\":1}", "no list"},
                 {deep, "nested too deeply"}};
    for (const auto& [rules, error] : cases) {
        const ToggleResult result = ToggleRule(rules, kTool);
        EXPECT_NE(result.error.find(error), std::string::npos) << rules << "\n" << result.error;
        EXPECT_EQ(result.rules, "");
    }
    EXPECT_EQ(ToggleRule("[]", L"C:\\{App}\\Tool.exe").error,
              "the lock of C:\\{App}\\Tool.exe cannot be changed");
}

}  // namespace
}  // namespace auth_prompt
