#include "rightclick/explain.h"

#include <nlohmann/json.hpp>

#include "rightclick/explain_report.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"

namespace rightclick {
namespace {

constexpr wchar_t kTool[] = L"C:\\Apps\\Tool.exe";

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The reason, which is all that many users read. Checks the verdict against the lookup.
std::string Reason(std::string_view rules, const std::wstring& path = kTool) {
    const Explanation explanation = ExplainLock(rules, path);
    const bool locked = kelvaro::AnyRuleLocks(rules, kelvaro::NormalizePath(path));
    EXPECT_EQ(explanation.state, locked ? LockState::locked : LockState::notLocked) << rules;
    return std::to_string(explanation.reason.line) + ": " + explanation.reason.text;
}

// A reason that ends with "locks it" has no further advice.
bool EndsWithOrContains(const std::string& text, const std::string& part) {
    return part.ends_with("locks it") ? text.ends_with(part) : Contains(text, part);
}

struct Case {
    std::string rules;
    const char* reason;
};

TEST(Explain, NamesTheRuleThatLocks) {
    const std::string rule = R"("type":"exe","target":"C:\\Apps\\Tool.exe")";
    const Case cases[] = {
        {"[\n {\"type\":\"exe\",\"target\":\"c:/apps/TOOL.exe\"}]", "2: this rule locks it"},
        {"{\n\n" + rule + "}", "3: this rule locks it"},
        {"[{" + rule + ",\"enabled\":false},\n{" + rule + "}]", "2: this rule locks it"},
        {"{\"enabled\":\"false\"," + rule + "}",
         "has the value \"false\", which does not switch a rule "
         "off: the quotation marks make it text: remove them"},
        {"{\"enabled\":[false]," + rule + "}", "has the value [false], which does not switch"},
        {"{\"enabled\":0," + rule + "}", "has the value 0, which does not switch"},
        {"{\"enabled\":1," + rule + "}", "locks it"},
        {"{enabled:false," + rule + "}", "the key \"enabled\" needs double quotation marks: write"},
        {"{\"enabled\":true,\"enabled\":false," + rule + "}",
         "only the first \"enabled\" counts: write \"enabled\": false there"},
        {"{\"Enabled\":false," + rule + "}", "case-sensitive, so \"Enabled\" has no effect: write"},
        {"{\"disabled\":true," + rule + "}", "the key \"disabled\" has no effect"},
        {"// {" + rule + "}", "in a comment, and comments are not skipped"},
        {"/* old:\n {" + rule + "} */", "in a comment"},
        {"/* new */ {" + rule + "}", "1: this rule locks it"},
        {"[ // {" + rule + "}\n]", "it is in a comment"},
        {"{ // " + rule + "\n}", "its \"target\" is in a comment"},
        {"[{\"target\":\"C:/Games/*\"},\n{" + rule + "}]", "locks it"},
        {"\xFF\xFE{" + rule + "}", "1: this rule locks it"},
        {std::string("{\0", 2) + rule + "}", "1: this rule locks it"},
    };
    for (const auto& [rules, reason] : cases) {
        EXPECT_PRED2(EndsWithOrContains, Reason(rules), reason);
    }
}

TEST(Explain, ExplainsTheFile) {
    const std::string utf16("{\0\"\0t\0", 6);
    const Case cases[] = {
        {"", "0: the rule file is empty"},
        {" \r\n", "0: the rule file is empty"},
        {"[]", "0: the rule file contains no JSON object"},
        {"type: exe\ntarget: C:\\Apps\\Tool.exe", "0: the rule file contains no JSON object"},
        {R"([{"type":"exe","target":"C:\\App)", "ends before the closing brace"},
        {std::string("\xFF\xFE{\0", 4), "UTF-16: save it as UTF-8"},
        {"\xFF\xFE{}", "0: the rule file contains no rules"},
        {utf16, "UTF-16: save it as UTF-8"},
        {std::string("\0{", 2), "UTF-16: save it as UTF-8"},
        {R"([{"type":1},{"path":2}])", "0: none of the 2 rules in the file is for it"},
        {R"({"version":1,"rules":[]})", "0: the rule file contains no rules"},
        {R"([{"type"="exe"}])", "no rules; the rule file is not valid JSON (at line 1, column 9)"},
        {R"([{"type":"exe","target":"D:\\x.exe"}])", "0: the only rule in the file is not for it"},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe","options":{}})", "contains an object"},
        {R"({"type":"exe","target":"C:\Apps\Tool.exe","x":"{"})", "contains an object or a brace"},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe")", "no closing brace: write }"},
        {R"("type":"exe","target":"C:\\Apps\\Tool.exe"})", "no opening brace: write {"},
        {R"([{"type":"exe","target":"C:\\Apps\\Tool.exe", {"a":1}])", "no closing brace: write }"},
        {R"({"type":"exe","name":"{x}","target":"C:\\Apps\\Tool.exe"})", "contains an object"},
        {"{\"a\":{},\n\"type\":\"exe\",\"target\":\"C:\\\\Apps\\\\Tool.exe\"}",
         "2: a rule for it is"},
    };
    for (const auto& [rules, reason] : cases) {
        EXPECT_PRED2(Contains, Reason(rules), reason);
    }
    EXPECT_PRED2(Contains, Reason("{}", L"C:\\{App}\\Tool.exe"), "contains a brace");
}

// Every message says what to write instead.
TEST(Explain, ExplainsNearMisses) {
    const std::string write = R"(write "C:\\Apps\\Tool.exe")";
    const auto with = [](const std::string& field) { return R"({"type":"exe",)" + field + "}"; };
    const struct {
        std::string rules;
        std::string reason;
    } cases[] = {
        {with(R"("enabled":false,"target":"C:\\Apps\\Tool.exe")"), "write \"enabled\": true"},
        {R"({"type":"folder","target":"C:\\Apps\\Tool.exe"})",
         "\"folder\"; only \"type\": \"exe\""},
        {R"({"type":"EXE","target":"C:\\Apps\\Tool.exe"})", "\"EXE\"; only \"type\": \"exe\""},
        {R"({"Type":"exe","target":"C:\\Apps\\Tool.exe"})", "write \"type\" instead of \"Type\""},
        {R"({"type":'exe',"target":"C:\\Apps\\Tool.exe"})", "no double quotation marks: write"},
        {R"({"target":"C:\\Apps\\Tool.exe"})", "it has no type: add \"type\": \"exe\""},
        {with(R"("Target":"C:\\Apps\\Tool.exe")"), "write \"target\" instead of \"Target\""},
        {with(R"("enabled":false,"Target":"C:\\Apps\\Tool.exe")"), "; it is switched off: write"},
        {with(R"("path":"C:\\Apps\\Tool.exe")"), "write the key \"target\" instead of \"path\""},
        {with(R"('target':'C:\\Apps\\Tool.exe')"),
         R"(single quotation marks: write "target": "C:)"},
        {with(R"(target:"C:\\Apps\\Tool.exe")"), "no quotation marks: write \"target\""},
        {with("\"target\":\xE2\x80\x9C"
              "C:\\\\Apps\\\\Tool.exe\xE2\x80\x9D"),
         "typographic quotation marks: write \"target\""},
        {with(R"("target":"\"C:\\Apps\\Tool.exe\"")"), "quotation marks inside, and the first"},
        {with(R"("target":"C:\Apps\Tool.exe")"), "not doubled, so they are lost: " + write},
        {with(R"("target":"C:\\Apps\\T\u006Fol.exe")"), "not decoded: write the characters"},
        {with(R"("target":"C:\\Apps\\Tool.exe\\")"), "ends with a backslash: " + write},
        {with("\"target\":\"\xE2\x80\xAA"
              "C:\\\\Apps\\\\Tool.exe\""),
         "an invisible character (U+202A): type the path again"},
        {with(R"("target":"D:\\x.exe","target":"C:\\Apps\\Tool.exe")"),
         R"(the first "target" of a rule counts: add {"type":"exe","target":"C:\\Apps\\Tool.exe"})"},
        {with(R"("target":"D:\\x.exe","image":"C:\\Apps\\Tool.exe")"),
         "the key \"image\" has no effect beside \"target\": add {"},
        {with(R"("target":"C:\\Apps\\Tool.exe","enabled":false,"enabled":true)"),
         "only the first \"enabled\" counts: write \"enabled\": true there"},
        {with("\"target\":\"C:\\\\Apps\\\\Tool.exe\", // \"enabled\":false\n\"a\":1"),
         "switched off in a comment"},
        {R"({"type":["exe"],"target":"C:\\Apps\\Tool.exe"})", "the type is a list: write \"type\""},
        {R"({"type":"EXE","type":"exe","target":"C:\\Apps\\Tool.exe"})",
         "only the first \"type\" counts"},
        {with(R"("tagret":"C:\\Apps\\Tool.exe")"), "\"target\" instead of \"tagret\" if this"},
        {with(R"("target":"'C:\\Apps\\Tool.exe'")"), "single quotation marks inside: " + write},
        {with(R"("target":"\"C:\\Apps\\Tool.exe \"")"), "quotation marks inside, and the first"},
        {with(R"("target":"C:\\Apps\\Tool.exe.")"), "ends with a dot: " + write},
        {with(R"("target":["C:\\a.exe","C:\\Apps\\Tool.exe"])"), "a rule has one path: add {"},
        {with(R"("Path":"C:\Apps\Tool.exe\")"), "instead of \"Path\"; the backslashes are not"},
        {with(R"("target":"\\\\?\\C:\\Apps\\Tool.exe")"), R"(the prefix \\?\ counts: )" + write},
        {with(R"("target":"file:///C:/Apps/Tool.exe")"), "a URL is not a path: " + write},
        {with(R"("target":"%ProgramFiles%\\Tool.exe")"), "variables are not expanded: " + write},
        {with(R"("target":"C:\\Old\\..\\Apps\\Tool.exe")"), "are not resolved: " + write},
        {with(R"("target":"C:\\Apps\\*.exe")"), "wildcards are not supported: " + write},
        {with(R"("target":"C:\\APPS~1\\Tool.exe")"), "short names are not expanded: " + write},
        {with(R"("target":"C:\\Apps\\")"), "a folder, and rules lock single programs: " + write},
        {with(R"("target":"Tool.exe")"), "a file name is not enough: " + write},
        {R"({"path":"Tool.exe"})",
         "write \"target\": \"C:\\\\Apps\\\\Tool.exe\"; it has no type: add"},
        {with(R"("enabled":false,"target":"Tool.exe")"), write + "; it is switched off: write"},
        {R"({"type":"folder","enabled":false,"target":"C:\\Apps"})",
         R"(rules of type "folder" lock no program: add {"type":"exe","target":"C:\\Apps\\Tool.exe"})"},
        {with(R"("target":"%windir%\\Tool.exe")"), "are not expanded: " + write + " if this"},
        {with(R"("target":"C:\\Other\\.\\Tool.exe")"), "are not resolved: " + write + " if this"},
        {with(R"("target":"D:\\100%\\Tool.exe")"), "for another path"},
        {with(R"("target":"C:\\Apps\\~$Tool.exe"},{"target":"~/Tool.exe")"), "for another path, ~"},
        {with("\"target\":\"C:/\xB9\xA4/Tool.exe\""), "its path is not valid UTF-8"},
        {with(R"("target":"C:\\Apps\\Tool")"), "the extension is missing: " + write},
        {with(R"("target":"C:\\Apps\\Tool.exe.exe")"), "the extension is there twice: " + write},
        {with(R"("target":"C:\\Apps\\Tool.exe --level 3")"), "a rule has no arguments: " + write},
        {with(R"("target":"\"C:\\Apps\\Tool.exe\" -x")"), "a rule has no arguments: " + write},
        {with(R"("targets": [ "C:\\Apps\\Tool.exe" ])"), "in a list; a rule has one path: write"},
        {with(R"("target":"C:\\Users\\Public\\Tool.lnk")"),
         "names a shortcut, not a program: write"},
        {with(R"("target":"C:\\Old\\Tool.exe")"), "for another path, c:\\old\\tool.exe: " + write},
        {with(R"("target":"C:\Old\Tool.exe")"), "for another path, c:\\old\\tool.exe: " + write},
    };
    for (const auto& [rules, reason] : cases) {
        EXPECT_PRED2(Contains, Reason("[\n" + rules + "]"), "2: ") << rules;
        EXPECT_PRED2(Contains, Reason("[\n" + rules + "]"), reason) << rules;
    }
}

TEST(Explain, ExplainsLettersOfOtherAlphabets) {
    const auto rule = [](const std::string& path) {
        return R"({"type":"exe","target":"C:\\)" + path + "\"}";
    };
    const struct {
        std::string rules;
        const wchar_t* path;
        const char* reason;
    } cases[] = {
        {rule("\xC3\x84rger.exe"), L"C:\\\u00E4rger.exe", "case of letters other than A to Z"},
        {rule("\xD0\x9C\xD0\xB8\xD1\x80.exe"), L"C:\\\u043C\u0438\u0440.exe", "case of letters"},
        {rule("A\xCC\x88rger.exe"), L"C:\\\u00C4rger.exe", "composed or decomposed"},
        {rule("\xC3\x84rger.exe"), L"C:\\A\u0308rger.exe", "composed or decomposed"},
        {rule("\xC4rger.exe"), L"C:\\\u00C4rger.exe", "not in UTF-8, but in an ANSI code page"},
        {R"({"type":"exe","target":"C:\new\tool.exe"})", L"C:\\new\\tool.exe",
         R"(\n, \r and \t are control characters): write "C:\\new\\tool.exe")"},
        {rule("\\u00C4rger.exe"), L"C:\\\u00C4rger.exe", "\\u escapes are not decoded"},
        {rule("a\xC2\xA0"
              "b.exe"),
         L"C:\\a b.exe", "an invisible character (U+00A0)"},
        {rule("a b.exe"), L"C:\\a\u3000b.exe",
         "the program contains an invisible character (U+3000)"},
        {rule("Windows/a.exe"), L"%windir%\\a.exe", "right-click the program itself"},
        {rule("a.exe"), L"\\\\?\\C:\\a.exe",
         "has the prefix \\\\?\\, which counts: select the program"},
    };
    for (const auto& [rules, path, reason] : cases) {
        EXPECT_PRED2(Contains, Reason(rules, path), reason);
    }
}

TEST(Explain, OrdersAndLimitsTheRemarks) {
    std::string rules = R"([{"type":"exe","target":"C:\\Old\\Tool.exe"},)";
    rules +=
        "\n"
        R"({"type":"exe","target":"C:\Apps\Tool.exe"},)";
    for (int count = 0; count < 20; ++count) {
        rules +=
            "\n"
            R"({"type":"exe","target":"D:\\Tool.exe"},)";
    }
    rules +=
        "\n"
        R"({"type":"EXE","target":"C:\\Apps\\Tool.exe"}])";
    const Explanation explanation = ExplainLock(rules, kTool);
    EXPECT_EQ(explanation.rules, 23U);
    EXPECT_EQ(explanation.reason.line, 2U) << "the nearest rule";
    ASSERT_EQ(explanation.remarks.size(), 12U);
    EXPECT_EQ(explanation.remarks[0].line, 23U) << "the next one";
    EXPECT_EQ(explanation.remarks[1].line, 1U);
    EXPECT_EQ(explanation.remarks[9].line, 10U);
    EXPECT_EQ(explanation.remarks[10].text, "12 more remarks are not shown");
    EXPECT_PRED2(Contains, explanation.remarks[11].text, "not valid JSON (at line 2, column 28)");
    const Explanation locked =
        ExplainLock(R"([{"type":"exe","target":"C:/Apps/Tool.exe","enabled":false},)"
                    R"({"type":"exe","target":"C:/Apps/Tool.exe"}])",
                    kTool);
    EXPECT_TRUE(locked.remarks.empty());
}

using ExplainFileTest = DriveTest;

TEST_F(ExplainFileTest, HasAnExitStatusForEachState) {
    const auto status = [](const std::wstring& file) {
        return ExitStatus(ExplainFile(file).explanation.state);
    };
    constexpr int kLocked = 0;
    constexpr int kNotLocked = 1;
    constexpr int kUnknown = 2;
    const std::wstring shortcuts = platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\";
    EXPECT_EQ(status(kTool), kNotLocked) << "no rule file";
    WriteRules(R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})");
    EXPECT_EQ(status(kTool), kLocked);
    EXPECT_EQ(status(shortcuts + L"tool.lnk"), kLocked);
    EXPECT_EQ(status(L"C:\\Other.exe"), kNotLocked);
    EXPECT_EQ(ExplainFile(L"C:\\Other.exe").explanation.reason.text,
              "the only rule in the file is not for it; Other.exe does not exist");
    EXPECT_EQ(status(shortcuts + L"document.lnk"), kUnknown);
    EXPECT_EQ(status(L"C:\\readme.txt"), kUnknown);
    DeleteFileW(kRules);
    MakeDirectory(kRules);
    EXPECT_EQ(status(kTool), kUnknown) << "the rule file cannot be read";
    EXPECT_PRED2(Contains, ExplainFile(kTool).explanation.reason.text, "read: it is a folder;");
    EXPECT_PRED2(Contains, ExplainFile(L"C:\\").explanation.reason.text, "C:\\ is neither");
    EXPECT_PRED2(Contains,
                 ExplainFile(L"C:\\" + std::wstring(260, L'x') + L".exe").explanation.reason.text,
                 "no item, because the path has 267 characters");
}

TEST_F(ExplainFileTest, PrintsTextAndJson) {
    const std::wstring shortcut = platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\tool.lnk";
    const std::string rules = R"({"type":"exe","target":"C:\\Apps\\Tool.exe"})";
    WriteRules(rules);
    const ExplainReport report = ExplainFile(shortcut);
    EXPECT_EQ(report.ruleFileTime.size(), std::string("2026-11-24 18:06:33").size());
    EXPECT_EQ(ReportAsText(report),
              "C:\\Apps\\Tool.exe is locked: line 1: this rule locks it\n"
              "  note        Tool.exe does not exist\n"
              "  shortcut    " +
                  Utf8(shortcut) +
                  "\n"
                  "  target      C:\\Apps\\Tool.exe\n"
                  "  compared as c:\\apps\\tool.exe\n"
                  "  rule file   " +
                  Utf8(kRules) + ", " + std::to_string(rules.size()) + " bytes, changed " +
                  report.ruleFileTime + "\n");
    const auto json = nlohmann::json::parse(ReportAsJson(report));
    EXPECT_EQ(json["target"], "C:\\Apps\\Tool.exe");
    EXPECT_EQ(json["locked"], true);
    EXPECT_EQ(json["reason"]["line"], 1);
    EXPECT_EQ(json["rule_file"]["size"], rules.size());
    EXPECT_EQ(json["rule_file"]["rules"], 1);
    const auto unknown = nlohmann::json::parse(ReportAsJson(ExplainFile(L"C:\\readme.txt")));
    EXPECT_TRUE(unknown["locked"].is_null() && unknown["target"].is_null());
    EXPECT_FALSE(unknown["rule_file"].contains("rules"));
    // Text of the rule file is short, valid UTF-8, and without control characters.
    WriteRules("{\"type\":\"\xFF\033\n" + std::string(5000, 'x') +
               "\",\"target\":\"C:\\\\Apps\\\\Tool.exe\"}");
    const ExplainReport hostile = ExplainFile(kTool);
    EXPECT_PRED2(Contains, ReportAsText(hostile), "type is \"\xEF\xBF\xBD<U+001B><U+000A>xx");
    EXPECT_LT(ReportAsJson(hostile).size(), 1000U);
}

}  // namespace
}  // namespace rightclick
