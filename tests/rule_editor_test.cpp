#include "auth_prompt/rule_editor.h"

#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace auth_prompt {
namespace {

constexpr const auto& kTool = DriveTest::kTool;

bool Locks(std::string_view rules) {
    return kelvaro::AnyRuleLocks(rules, kelvaro::NormalizePath(kTool));
}

TEST(RuleEditor, SwitchesTheLockBackAndForth) {
    const std::string rule = R"("type":"exe","target":"C:\\Apps\\Tool.exe")";
    const std::string files[] = {
        "",
        " \n",
        "[]",
        R"({"rules":[ ]})",
        R"({"rules":[{"type":"exe","target":"D:\\x.exe"}]})",
        "[{" + rule + "}]",
        "[{" + rule + R"(,"enabled":false}])",
        R"([{"enabled":1,)" + rule + "}]",
        "[{" + rule + "},{" + rule + "}]",
    };
    for (const std::string& rules : files) {
        bool locked = Locks(rules);
        std::string now = rules;
        for (int toggles = 0; toggles < 3; ++toggles) {
            const auto changed = ToggleRule(now, kTool);
            ASSERT_TRUE(changed) << now;
            EXPECT_NE(Locks(*changed), locked) << *changed;
            now = *changed;
            locked = !locked;
        }
    }
}

TEST(RuleEditor, LeavesEverythingElseAsItIs) {
    const std::string before = "{\n  \"note\": \"x\",\n  \"rules\": [\n    ";
    const std::string other = R"({ "type": "exe", "enabled": false, "target": "D:\\x.exe" })";
    const std::string after = "\n  ],\n  \"more\": 1\n}\n";
    EXPECT_EQ(*ToggleRule(before + other + after, kTool),
              before + other +
                  ",\n    { \"type\": \"exe\", \"enabled\": true, \"target\": "
                  "\"C:\\\\Apps\\\\Tool.exe\" }" +
                  after);
    EXPECT_EQ(*ToggleRule(before + other + after, L"d:/X.exe"),
              before + R"({ "type": "exe", "enabled": true, "target": "D:\\x.exe" })" + after);
}

TEST(RuleEditor, RefusesWhatHasNoList) {
    EXPECT_FALSE(ToggleRule("no rules", kTool));
    EXPECT_FALSE(ToggleRule("]", kTool));
}

}  // namespace
}  // namespace auth_prompt
