#include "rightclick/explain.h"

#include <nlohmann/json.hpp>

#include "rightclick/explain_report.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace rightclick {
namespace {

using namespace std::literals;

const std::wstring kProgram = L"C:\\Apps\\Tool.exe";
const std::string kFields = R"("type":"exe","target":"C:\\Apps\\Tool.exe")";

// Returns the text of the report on `rules` without its last lines, which describe the files.
// Checks the verdict against the lookup.
std::string Text(std::string_view rules, const std::wstring& program = kProgram) {
    nlohmann::ordered_json explanation = {{"target", Utf8(program)},
                                          {"notes", nlohmann::json::array()},
                                          {"rule_file", {{"path", ""}, {"exists", true}}}};
    explanation.update(ExplainLock(rules, program));
    EXPECT_EQ(explanation["locked"], kelvaro::AnyRuleLocks(rules, kelvaro::NormalizePath(program)))
        << rules;
    const std::string text = ReportAsText(explanation);
    return text.substr(0, text.find("  compared as"));
}

TEST(Explain, FirstLineHasTheVerdict) {
    const struct {
        std::string rules;
        const char* verdict;
    } cases[] = {
        {"[\n{" + kFields + "}]", "is locked by the rule on line 2"},
        {"{\"enabled\":false," + kFields + "},\n{" + kFields + "}",
         "is locked by the rule on line 2"},
        {"// {" + kFields + "}", "is locked by the rule on line 1"},
        {"\xEF\xBB\xBF{\"rules\":[\n\n{\"enabled\":false," + kFields + "}]}",
         "is not locked: the rule on line 3 is switched off (\"enabled\": false)"},
        {"", "is not locked: the rule file is empty"},
        {" \r\n", "is not locked: the rule file contains no rules"},
        {R"({"version":1,"rules":[{}]})", "is not locked: the rule file contains no rules"},
        {"{" + kFields, "is not locked: the rule file contains no rules"},
        {R"({"type":"exe","target":"D:\\x.exe"})", "is not locked: the only rule is not for it"},
        {R"({"type":"x"},{"target":"y"})", "is not locked: none of the 2 rules is for it"},
        {"\xFF\xFE{\0\"\0C\0:\0"s, "is not locked: the rule file is in UTF-16: save it as UTF-8"},
        {"\0{\0\""s, "is not locked: the rule file is in UTF-16: save it as UTF-8"},
        {"\xFF\xFE{" + kFields + "}", "is locked by the rule on line 1"},
    };
    for (const auto& [rules, verdict] : cases) {
        const std::string text = Text(rules);
        EXPECT_EQ(text.substr(0, text.find('\n')), "C:\\Apps\\Tool.exe "s + verdict) << rules;
    }
    EXPECT_NE(Text("{}", L"C:\\{App}\\Tool.exe").find("its path contains a brace"),
              std::string::npos);
}

TEST(Explain, ShowsWhatIsReadBesideWhatIsWanted) {
    EXPECT_EQ(Text(R"({"type":"exe","target":"C:\new\tool.exe"})", L"C:\\New\\Tool.exe"),
              "C:\\New\\Tool.exe is not locked: the only rule is not for it\n"
              "  line 1    type     exe\n"
              "            enabled  true  (no \"enabled\")\n"
              "            target   c:<U+000A>ew<U+0009>ool.exe\n"
              "            wanted   c:\\new\\tool.exe\n"
              "                       ^\n");
    const struct {
        std::string rules;
        std::string lines;  // without the indentation
    } cases[] = {
        {"{" + kFields + "}", "type     exe\n"},
        {R"({"type":"EXE","type":"exe","target":"C:\\Apps\\Tool.exe"})",
         "type     EXE  (only the first \"type\" is used)\nwanted   exe\n^\n"},
        {R"({"type":"exe ","target":"C:\\Apps\\Tool.exe"})",
         "type     exe<U+0020>\nwanted   exe\n^\n"},
        {R"({"type":["exe"],"target":"C:\\Apps\\Tool.exe"})",
         "type     (no value in double quotes)\nwanted   exe\n"},
        {R"({"type":"exe","Target" : "C:\\Apps\\Tool.exe"})",
         "target   no \"target\"; it has \"type\", \"Target\"\nwanted   c:\\apps\\tool.exe\n"},
        {"{type:\"C:/Tool.exe\"}", "target   no \"target\"; it has no key in double quotes\n"},
        {"{\"enabled\":false," + kFields + "}", "enabled  false\nwanted   true\n^\n"},
        {"{\"enabled\":\"false\"," + kFields + "}", "true  (its value is neither true nor false)"},
        {"{\"enabled\":1,\"enabled\":false," + kFields + "}",
         "enabled  false  (only the first true or false is used)\n"},
        {R"({"type":"exe","target":"","target":"C:\\Apps\\Tool.exe"})",
         "target   (empty)  (only the first \"target\" is used)\n"},
        {R"({"type":"exe","target":"C:\\Apps\\T\u006Fol.exe"})", "target   c:\\apps\\tu006fol.exe"},
        {"{\"type\":\"exe\",\"target\":\"C:\\\\\xFF\\\\Tool.exe\"}", "c:\\<U+FFFD>\\tool.exe\n"},
        {"{" + kFields + "\n,\"options\":\n{}}",
         "ignored  the { on line 3 comes before its }; a rule contains no braces\n"},
        {"{\"options\":{}," + kFields + "}", "ignored  there is a } before it and no { after"},
        {"{" + kFields, "ignored  the file ends before its }\n"},
        {kFields + "}", "ignored  there is no { before it\n"},
    };
    for (const auto& [rules, lines] : cases) {
        std::string text = Text(rules);
        for (size_t at = 0; (at = text.find("\n  ", at)) != std::string::npos;) {
            text.erase(at + 1, text.find_first_not_of(' ', at + 1) - at - 1);
        }
        EXPECT_NE(text.find(lines), std::string::npos) << text;
    }
    const std::string wide =
        Text("{\"type\":\"exe\",\"target\":\"C:\\\\\xE5\xB7\xA5\\\\a\\\\Tool.exe\"}",
             L"C:\\\u5DE5\\b\\Tool.exe");
    EXPECT_NE(wide.find("\n" + std::string(27, ' ') + "^\n"), std::string::npos) << wide;
    // Only the part around the first difference is shown of long values.
    const std::string folders(200, 'x');
    const std::string text =
        Text(R"({"type":"exe","target":"C:\\)" + folders + R"(\\b\\Tool.exe"})",
             L"C:\\" + std::wstring(200, L'x') + L"\\a\\Tool.exe");
    EXPECT_NE(text.find("target   ..." + std::string(39, 'x') + "\\b\\tool.exe\n"),
              std::string::npos)
        << text;
}

TEST(Explain, FindsTheFileNameInAnyCaseAndEscaping) {
    const struct {
        std::string target;
        const wchar_t* program;
        bool found;
    } cases[] = {
        {"tool.EXE", L"C:\\Tool.exe", true},
        {R"(C:\Apps\Tool.exe)", L"C:\\Tool.exe", true},
        {R"(C:\\\T\o\u006Fl.exe --level 3)", L"C:\\Tool.exe", true},
        {"C:\\\\To\xE2\x80\x8Bol.exe", L"C:\\Tool.exe", true},
        {"C:\\\\My\xC2\xA0Tool.exe", L"C:\\My Tool.exe", true},
        {"C:\\\\\xC3\x84rger.exe", L"C:\\\u00E4rger.exe", true},
        {"C:\\\\\xC4rger.exe", L"C:\\\u00E4rger.exe", true},
        {"C:\\\\MyTool.exe", L"C:\\Tool.exe", false},
        {"C:\\\\Tool.exes", L"C:\\Tool.exe", false},
        {"C:\\\\\xE6\x97\xA5\xE6\x9C\xAC.exe", L"C:\\\u5DE5\u5DE5.exe", false},
        {"C:\\\\Tool.ex", L"C:\\Tool.exe", false},
    };
    for (const auto& [target, program, found] : cases) {
        const std::string rules = R"({"type":"x","target":")" + target + "\"}";
        EXPECT_EQ(ExplainLock(rules, program)["similar"].size(), found ? 1U : 0U) << rules;
    }
}

// None of these may take quadratic time.
TEST(Explain, ReadsAdversarialFiles) {
    for (const std::string_view part :
         {"\\ ", "\":\xE2\x80\x8B", "\\\xC3\xA4", "{\"t\":", "\"type\":\""}) {
        std::string rules;
        while (rules.size() < 2'000'000) {
            rules += part;
        }
        EXPECT_EQ(ExplainLock(rules, kProgram)["similar"].size(), 0U) << part;
    }
}

TEST(Explain, ShowsTheMostSimilarRulesFirst) {
    std::string rules;
    for (int count = 0; count < 20; ++count) {
        rules += R"({"type":"exe","target":"D:\\Tool.exe"},)"
                 "\n";
    }
    rules += R"({"type":"EXE","target":"C:\\Apps\\Tool.exe"},)"
             "\n";
    rules += "{\"enabled\":false," + kFields + "},\n{" + kFields + "},{" + kFields + "}";
    std::vector<size_t> lines;
    std::vector<bool> locks;
    const auto explanation = ExplainLock(rules, kProgram);
    for (const auto& rule : explanation["similar"]) {
        lines.push_back(rule["line"]);
        locks.push_back(rule["locks"]);
    }
    EXPECT_EQ(lines, (std::vector<size_t>{23, 23, 22, 21, 1, 2, 3, 4, 5, 6}));
    locks.resize(4);
    EXPECT_EQ(locks, (std::vector<bool>{true, true, false, false}));
    EXPECT_NE(Text(rules).find("\n  not shown   14 more with this file name\n"), std::string::npos);
}

using ExplainFileTest = DriveTest;

TEST_F(ExplainFileTest, HasAnExitStatusForEachState) {
    const auto verdict = [](const std::wstring& file) {
        const auto explanation = ExplainFile(file);
        return std::to_string(ExitStatus(explanation)) + " " +
               explanation["verdict"].get<std::string>();
    };
    EXPECT_EQ(verdict(kTool), "1 is not locked: the rule file does not exist");
    WriteRules("{" + kFields + "}");
    EXPECT_EQ(verdict(kTool), "0 is locked by the rule on line 1");
    EXPECT_EQ(verdict(SavedShortcut(L"tool.lnk")), "0 is locked by the rule on line 1");
    EXPECT_EQ(verdict(L"C:\\Other.exe"), "1 is not locked: the only rule is not for it");
    EXPECT_TRUE(verdict(SavedShortcut(L"document.lnk")).starts_with("2 leads to no program: "));
    EXPECT_TRUE(verdict(L"C:\\readme.txt").starts_with("2 leads to no program: "));
    DeleteFileW(kRules);
    MakeDirectory(kRules);
    EXPECT_EQ(verdict(kTool), "1 is not locked: the rule file cannot be read: it is a folder");
}

TEST_F(ExplainFileTest, PrintsTextAndJson) {
    const std::wstring shortcut = SavedShortcut(L"tool.lnk");
    const std::string rules = R"({"type":"exe","target":"C:\\Old\\Tool.exe"})";
    WriteRules(rules);
    const auto json = ExplainFile(shortcut);
    const std::string changed = json["rule_file"]["changed"];
    EXPECT_EQ(changed.size(), std::string("2026-11-24 18:06:33").size());
    const std::string text = ReportAsText(json);
    EXPECT_EQ(text.substr(text.find("  note")),
              "  note        Tool.exe does not exist\n"
              "  shortcut    " +
                  Utf8(shortcut) +
                  "\n"
                  "  target      C:\\Apps\\Tool.exe\n"
                  "  compared as c:\\apps\\tool.exe\n"
                  "  rule file   " +
                  Utf8(kRules) + ", " + std::to_string(rules.size()) + " bytes, changed " +
                  changed + "\n");
    EXPECT_EQ(json["target"], "C:\\Apps\\Tool.exe");
    EXPECT_EQ(json["locked"], false);
    EXPECT_EQ(json["similar"].dump(), R"([{"line":1,"locks":false,"type":"exe","enabled":null,)"
                                      R"("target":"c:\\old\\tool.exe","keys":["type","target"]}])");
    EXPECT_EQ(json["rules"], 1);
    const auto unknown = ExplainFile(L"C:\\readme.txt");
    EXPECT_TRUE(unknown["locked"].is_null() && unknown["target"].is_null());
    WriteRules("{\"type\":\"\xFF\033\",\"target\":\"C:\\\\Apps\\\\Tool.exe\"}");
    EXPECT_NE(ExplainFile(kTool).dump().find("\"\xEF\xBF\xBD\\u001b\""), std::string::npos);
}

}  // namespace
}  // namespace rightclick
