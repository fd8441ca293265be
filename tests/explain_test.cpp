#include "rightclick/explain.h"

#include <nlohmann/json.hpp>

#include "rightclick/explain_report.h"
#include "support/fixture.h"

namespace rightclick {
namespace {

using namespace std::literals;

using Explain = DriveTest;

const std::string kFields = R"("type":"exe","target":"C:\\Apps\\Tool.exe")";

// Returns the exit status and the verdict.
std::string Verdict(const std::wstring& file = Explain::kTool) {
    const auto explanation = ExplainFile(file);
    return std::to_string(ExitStatus(explanation)) + " " +
           explanation["verdict"].get<std::string>();
}

TEST_F(Explain, GivesAVerdict) {
    EXPECT_EQ(Verdict(), "1 is not locked: the rule file does not exist");
    const std::pair<std::string, const char*> cases[] = {
        {"{\"enabled\":false," + kFields + "},\n{" + kFields + "}",
         "0 is locked by the rule on line 2"},
        {"// {" + kFields + "}", "0 is locked by the rule on line 1"},
        {"\xEF\xBB\xBF{\"rules\":[\n\n{\"enabled\":false," + kFields + "}]}",
         "1 is not locked: the rule on line 3 is switched off (\"enabled\": false)"},
        {"", "1 is not locked: the rule file is empty"},
        {R"({"version":1,"rules":[{}]})", "1 is not locked: the rule file contains no rules"},
        {R"({"type":"exe","target":"D:\\x.exe"})", "1 is not locked: the only rule is not for it"},
        {R"({"type":"x"},{"target":"y"})", "1 is not locked: none of the 2 rules is for it"},
        {"\xFF\xFE{\0\"\0C\0:\0"s, "1 is not locked: the rule file is in UTF-16: save it as UTF-8"},
        {"\0{\0\""s, "1 is not locked: the rule file is in UTF-16: save it as UTF-8"},
    };
    for (const auto& [rules, verdict] : cases) {
        WriteRules(rules);
        EXPECT_EQ(Verdict(), verdict);
    }
    EXPECT_PRED2(Contains, Verdict(L"C:\\{App}\\Tool.exe"), "its path contains a brace");
    WriteRules("{" + kFields + "}");
    EXPECT_EQ(Verdict(SavedShortcut(L"tool.lnk")), "0 is locked by the rule on line 1");
    EXPECT_PRED2(Contains, Verdict(SavedShortcut(L"document.lnk")), "2 leads to no program: ");
    DeleteFileW(kRules);
    MakeDirectory(kRules);
    EXPECT_EQ(Verdict(), "1 is not locked: the rule file cannot be read: it is a folder");
}

// Returns the text of the report on `rules` up to the note that there is no such program.
std::string Text(std::string_view rules, const std::wstring& program = Explain::kTool) {
    Explain::WriteRules(rules);
    const std::string text = ReportAsText(ExplainFile(program));
    return text.substr(0, text.find("  note "));
}

TEST_F(Explain, ShowsWhatIsReadAboveWhatIsWanted) {
    EXPECT_EQ(
        Text("[{\"type\":\"exe\",\r\n  \"target\":\"C:\\new\\tool.exe\"}]", L"C:\\New\\Tool.exe"),
        "C:\\New\\Tool.exe is not locked: the only rule is not for it\n"
        "  line 1    text     {\"type\":\"exe\", \"target\":\"C:\\new\\tool.exe\"}\n"
        "            type     exe\n"
        "            enabled  (none), which counts as true\n"
        "            target   c:<U+000A>ew<U+0009>ool.exe\n"
        "            wanted   c:\\new\\tool.exe\n");
    const std::pair<std::string, std::string> cases[] = {
        {R"({"type":"exe ",)" + kFields + "}", "exe<U+0020>\n            wanted   exe\n"},
        {R"({"type":["exe"],"target":"C:\\Tool.exe"})",
         "type     (none)\n            wanted   exe\n"},
        {"{\"enabled\":\"false\"," + kFields + "}", "enabled  (none), which counts as true\n"},
        {"{\"enabled\":1,\"enabled\":false," + kFields + "}",
         "enabled  false\n            wanted   true\n            target   c:\\apps\\tool.exe\n"},
        {R"({"target":"","x":"Tool.exe"})", "target   (empty)\n"},
        {"{" + kFields + "\n,\"options\":\n{}}",
         "ignored  the { on line 3 comes before its }; a rule contains no braces\n"},
        {"{\"options\":{},\n" + kFields + "}",
         "line 2    text     " + kFields +
             "}\n            ignored  there is a } before it and no {"},
        {"{" + kFields, "ignored  the file ends before its }\n"},
        {kFields + "}", "ignored  there is no { before it\n"},
        {R"({"target":"D:\\)" + std::string(600, 'x') + R"(\\Tool.exe"})",
         "xxx...\n            wanted"},
    };
    for (const auto& [rules, lines] : cases) {
        EXPECT_PRED2(Contains, Text(rules), lines);
    }
}

TEST_F(Explain, FindsTheFileNameInAnyCaseAndEscaping) {
    const auto finds = [](const std::string& target, const wchar_t* program) {
        const std::string rules = R"({"type":"x","target":")" + target + "\"}";
        return !ExplainLock(rules, program)["similar"].empty();
    };
    EXPECT_TRUE(finds(R"(C:\\\T\o\u006Fl.EXE --level 3)", L"C:\\Tool.exe"));
    EXPECT_TRUE(finds(R"(C:\new\tool.exe)", L"C:\\Tool.exe"));
    EXPECT_TRUE(finds("C:\\\\To\xE2\x80\x8Bol.exe", L"C:\\Tool.exe"));
    EXPECT_TRUE(finds("C:\\\\\xC3\x84rger.exe", L"C:\\\u00E4rger.exe"));
    EXPECT_TRUE(finds("C:\\\\\xC4rger.exe", L"C:\\\u00E4rger.exe"));
    EXPECT_FALSE(finds("C:\\\\MyTool.exe", L"C:\\Tool.exe"));
    EXPECT_FALSE(finds("C:\\\\\xE6\x97\xA5\xE6\x9C\xAC.exe", L"C:\\\u5DE5\u5DE5.exe"));
}

TEST_F(Explain, ShowsTheMostSimilarRulesFirst) {
    std::string rules;
    for (int count = 0; count < 20; ++count) {
        rules += R"({"type":"exe","target":"D:\\Tool.exe"},)" + "\n"s;
    }
    rules += R"({"type":"EXE","target":"C:\\Apps\\Tool.exe"},)" + "\n"s;
    rules += "{\"enabled\":false," + kFields + "},\n{" + kFields + "},{" + kFields + "}";
    std::string shown;
    const auto explanation = ExplainLock(rules, kTool);
    for (const auto& rule : explanation["similar"]) {
        shown += rule["line"].dump() + (rule["locks"] == true ? " locks, " : ", ");
    }
    EXPECT_EQ(shown, "23 locks, 23 locks, 22, 21, 1, 2, 3, 4, 5, 6, ");
    EXPECT_PRED2(Contains, Text(rules), "\n  not shown   14 more with this file name\n");
}

TEST_F(Explain, PrintsWhatItCompares) {
    const std::wstring shortcut = SavedShortcut(L"tool.lnk");
    WriteRules("{\"type\":\"\xFF\033\",\"target\":\"C:\\\\Apps\\\\Tool.exe\"}");
    const auto json = ExplainFile(shortcut);
    EXPECT_PRED2(Contains, json.dump(), "\"\xEF\xBF\xBD\\u001b\",\"enabled\":null,\"target\":");
    const std::string changed = json["rule_file"]["changed"];
    EXPECT_EQ(changed.size(), std::string("2026-11-24 18:06:33").size());
    EXPECT_PRED2(Contains, ReportAsText(json),
                 "\n  note        Tool.exe does not exist\n  shortcut    " + Utf8(shortcut) +
                     "\n  target      C:\\Apps\\Tool.exe\n  compared as c:\\apps\\tool.exe\n"
                     "  rule file   " +
                     Utf8(kRules) + ", 43 bytes, changed " + changed + "\n");
}

}  // namespace
}  // namespace rightclick
