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
    const std::string fields = R"("type":"exe","target":"C:\\Apps\\Tool.exe")";
    const std::string on = R"({"enabled":true,)" + fields + "}";
    const std::string off = R"({"enabled":false,)" + fields + "}";
    const std::string added = R"({"type":"exe","enabled":true,"target":"C:\\Apps\\Tool.exe"})";
    const std::string other = R"({"note":"工","target":"D:\\x.exe","type":"exe")";
    const auto two = [](const std::string& first, const std::string& second) {
        return R"({"deep":{"a":[)" + first + R"(]},"z":[null,1.5],"rules":[)" + second + "]}";
    };
    const std::pair<std::string, std::string> cases[] = {
        {"\xEF\xBB\xBF \n", R"({"rules":[)" + added + "]}"},
        {two("", other + "}"), two("", other + "}," + added)},
        {R"({"a":1,"list":[]})", R"({"a":1,"list":[)" + added + "]}"},
        {"[{" + fields + R"(,"b":{}}])", "[{" + fields + R"(,"b":{}},)" + added + "]"},
        {"[{" + fields + "}]", "[{" + fields + R"(,"enabled":false}])"},
        {R"([{"enabled":true,"type":"exe","target":"C:\\Apps\\T\u006Fol.exe"}])", "[" + on + "]"},
        {two(on, on), two(off, off)},
        {two(off, off), two(on, off)},
    };
    for (const auto& [before, after] : cases) {
        const std::string changed = ToggleRule(before, kTool).rules;
        EXPECT_EQ(nlohmann::ordered_json::parse(changed).dump(), after);
        EXPECT_NE(Locks(changed), Locks(before)) << before;
        const std::string back = ToggleRule(changed, kTool).rules;
        EXPECT_TRUE(!back.empty() && Locks(back) == Locks(before)) << changed;
    }
}

TEST(RuleEditor, RefusesWhatItCannotChange) {
    const std::pair<std::string, const char*> cases[] = {
        {R"(["C:\Apps"])", "not valid JSON"},
        {R"({"version":1})", "no list"},
        {std::string(200'000, '['), "nested too deeply"},
    };
    for (const auto& [rules, error] : cases) {
        EXPECT_NE(ToggleRule(rules, kTool).error.find(error), std::string::npos) << error;
    }
    EXPECT_EQ(ToggleRule("[]", L"C:\\{App}\\Tool.exe").error,
              "the lock of C:\\{App}\\Tool.exe cannot be changed");
}

}  // namespace
}  // namespace auth_prompt
