#include "rules/lock_lookup.h"

#include "common/owners.h"
#include "rules/path_normalizer.h"
#include "support/fixture.h"
#include "support/thread.h"

namespace kelvaro {
namespace {

using namespace std::literals;

const std::string kRule = R"({"type":"exe","enabled":true,"target":"C:\\Apps\\Tool.exe"})";

using LockLookup = DriveTest;

TEST_F(LockLookup, LocksOnlyProgramsWithAnEnabledMatchingRule) {
    const struct {
        std::string rules;
        bool locked;
    } cases[] = {
        {kRule, true},
        {"{ \"version\": 2, \"rules\": [\n  " + kRule + "\n] }", true},
        {"{\n  \"type\" : \"exe\",\n\t\"target\" :\t\"c:/apps//TOOL.exe\"\n}", true},
        {"\xEF\xBB\xBF" + kRule, true},
        {"garbage " + kRule + " garbage }{", true},
        {R"({"target":"\"C:\\Apps\\Tool.exe\"","type":"exe"})", false},
        {R"({"type":"exe","target":"nC:\\Apps\\Tool.exe"})", false},
        {R"({"type":"EXE","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":" exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe2","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"e\xe","target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"folder","type":"exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","enabled":false,"target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","enabled":"false","target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"exe","enabled":false,"target":"C:\\Apps\\Tool.exe"},)" + kRule, true},
        {kRule + R"({"type":"exe","enabled":false,"target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"exe","target":"C:\\Tool.exe"},{},{"type":"exe"},)" + kRule, true},
        {R"({"type":"folder","target":"C:\\Apps\\Tool.exe"},)" + kRule + kRule, true},
        {"\0"s + kRule, true},
        {std::string(1 << 21, '\n') + kRule, true},
        {R"({"type":"exe","target":"C:\\\A\p\p\s\\\Tool.exe"})", true},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe","options":{}})", false},
        {R"({"options":{},"type":"exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"options":{"type":"exe","target":"C:\\Apps\\Tool.exe"}})", true},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe.bak"})", false},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe\\"})", false},
        {R"({"type":"exe","target":"Tool.exe"})", false},
        {R"(Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe")", false},
        {R"("type":"exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":"  "})", false},
        {"{\"type\":\"exe\",\"target\":\"C:\\\\Apps\\\\Tool\0.exe\"}"s, false},
        {"{\"type\":\"exe\",\"target\":\"C:\\\\Apps\\\\Tool.exe\0\"}"s, false},
        {"{\"type\":\"exe\",\"target\":\"C:\\\\Apps\\\\Tool.exe\xC3\"}", false},
        {"", false},
    };
    for (const auto& [rules, locked] : cases) {
        WriteRules(rules);
        EXPECT_EQ(IsTargetLocked(kTool), locked) << rules.substr(0, 200);
    }
}

TEST_F(LockLookup, ComparesNormalisedPaths) {
    WriteRules(kRule);
    for (const wchar_t* const path :
         {L"c:/apps/tool.EXE", L"\"C:\\Apps\\Tool.exe\"", L"  C:\\\\Apps\\Tool.exe"}) {
        EXPECT_TRUE(IsTargetLocked(path)) << Utf8(path);
    }
    for (const wchar_t* const path :
         {L"", L"  ", L"\"\"", L"\\\\?\\C:\\Apps\\Tool.exe", L"C:\\Apps\\..\\Apps\\Tool.exe",
          L"C:\\Apps\\Tool.ex", L"D:\\Apps\\Tool.exe", L"Tool.exe"}) {
        EXPECT_FALSE(IsTargetLocked(path)) << Utf8(path);
    }
    WriteRules(R"({"type":"exe","target":"C:\\{App}\\Tool.exe"})");
    EXPECT_FALSE(IsTargetLocked(L"C:\\{App}\\Tool.exe")) << "a rule has no brace inside";
    WriteRules(R"({"type":"exe","target":" "})");
    EXPECT_FALSE(IsTargetLocked(L" ")) << "an empty target matches nothing";
}

TEST_F(LockLookup, LocksPathsOfAnyScriptAndLength) {
    const struct {
        const wchar_t* path;
        std::string target;
    } cases[] = {
        {L"C:\\\u5DE5\u5177\\\u5DE5.exe", "C:\\\\\xE5\xB7\xA5\xE5\x85\xB7\\\\\xE5\xB7\xA5.EXE"},
        {L"C:\\\xD83D\xDE00.exe", "C:\\\\\xF0\x9F\x98\x80.exe"},
        {L"a\\b\\c", "a/b/c"},
        {L"C:\\tool\\b", "c:/TOOL/b"},
        {L"C:\\baaaa.exe", "C:\\\\baaaa.exe"},
        {L"C:\\tool.exe", "C:\\\\to\\ol.exe"},
        {L"C:\\tool.exe", "C:\\\\too\\l.exe"},
        {L"C:\\o\\ool.exe", "C:\\\\o\\\\ool.exe"},
        {L"\\\\tool\\b", "//tool\\/b"},
        {L"\\\\s", "//S"},
        {L"\\\\abc", "\\\\\\\\ABC"},
        {L"C:\\with\nline.exe", "C:\\\\with\\nline.exe"},
        {L"C:\\\x7F\\tool.exe", "C:\\\\\x7F\\\\tool.exe"},
        {L"tool\n.exe", "TOOL\\n.EXE"},
        {L"C:\\\uFFFDtool.exe", "C:\\\\\xFFtool.exe"},
        {L"C:\\\uFFFD\uFFFD.exe", "C:\\\\\xC3\xEF\xBF\xBD.exe"},
        {L"C:\\a b.exe", "C:/A\\ B.EXE"},
    };
    for (const auto& [path, target] : cases) {
        // The search for the target compares blocks of bytes, except for the last ones.
        WriteRules(R"({"type":"exe","target":")" + target + R"(","note":"0123456789abcdef"})");
        EXPECT_TRUE(IsTargetLocked(path)) << target;
        EXPECT_FALSE(IsTargetLocked(path + L"x"s)) << target;
    }
}

TEST_F(LockLookup, LowersOnlyAToZInAnyLocale) {
    WriteRules("{\"type\":\"exe\",\"target\":\"C:\\\\\xC3\x84.EXE\"}");
    const UnicodeLocale locale;
    EXPECT_TRUE(IsTargetLocked(L"c:\\\u00C4.exe"));
    EXPECT_FALSE(IsTargetLocked(L"c:\\\u00E4.exe"));
}

TEST_F(LockLookup, IgnoresAnyWhiteSpaceAroundTargets) {
    const UnicodeLocale locale;
    for (const std::string space :
         {" ", "\t", "\\n", "\\r", "\\t", "\x0B", "\f", "\xE3\x80\x80", "\xE2\x80\x83"}) {
        for (const std::string& target : {space + "C:/Apps/Tool.exe" + space,
                                          space + "C:/Apps/Tool.exe", "C:/Apps/Tool.exe" + space}) {
            WriteRules("{\"type\":\"exe\",\"target\":\"" + target + "\"}");
            EXPECT_TRUE(IsTargetLocked(kTool)) << target;
        }
    }
    WriteRules(kRule);
    EXPECT_TRUE(IsTargetLocked(L"\u3000\t" + std::wstring(kTool) + L"\n\u2003"));
}

TEST_F(LockLookup, UnreadableAndUtf16FilesLockNothing) {
    std::string wide = "\xFF\xFE";
    for (const char byte : kRule) {
        wide.append({byte, '\0'});
    }
    WriteRules(wide);
    EXPECT_FALSE(IsTargetLocked(kTool));
    DeleteFileW(kRules);
    EXPECT_FALSE(IsTargetLocked(kTool));
    MakeDirectory(kRules);
    EXPECT_FALSE(IsTargetLocked(kTool));
#ifdef _WIN32
    RemoveDirectoryW(kRules);
    WriteRules(kRule);
    const ScopedHandle holder(
        CreateFileW(kRules, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(IsTargetLocked(kTool));
#endif
}

std::string Repeat(std::string_view piece, size_t size) {
    std::string text;
    text.reserve(size + piece.size());
    while (text.size() < size) {
        text += piece;
    }
    return text;
}

// None of these may take quadratic time or stack that grows with the file.
TEST_F(LockLookup, ReadsAdversarialFilesOnASmallStack) {
    constexpr size_t kSize = size_t{64} << 20;
    const std::string objectStart = R"({"type":"exe","target":"C:\\Apps\\Tool.exe","x":")";
    const struct {
        const char* name;
        std::string rules;
        bool locked;
    } cases[] = {
        {"one unbroken run", Repeat("x", kSize), false},
        {"one object", objectStart + Repeat("x", kSize) + "\"}", true},
        {"one object, never closed", objectStart + Repeat("x", kSize), false},
        {"only opening braces", Repeat("{", kSize), false},
        {"only closing braces", Repeat("}", kSize), false},
        {"a million bare keys", "{" + Repeat("\"target\" ", 10'000'000) + "}", false},
        {"a million keys with a colon", "{" + Repeat("\"type\" : ", 10'000'000) + "}", false},
        {"no closing quote", R"({"type":"exe","target":")" + Repeat("Tool", kSize) + "}", false},
        {"escapes everywhere",
         R"({"type":"exe","target":")" + Repeat("\\T\\o\\o\\l", kSize) + "\"}", false},
        {"backslashes", R"({"type":"exe","target":")" + Repeat("\\", kSize) + "Tool\"}", false},
        {"near misses before a rule",
         Repeat(R"({"type":"exe","target":"D:\\Apps\\Tool.exe"},)", kSize) + kRule, true},
        {"white space",
         "{\"type\"" + Repeat(" \t\n\v\f\r", kSize) + ":\"exe\",\"target\":\"Tool\"}", false},
    };
#ifdef KELVARO_INSTRUMENTED
    constexpr size_t kSmallStack = size_t{256} << 10;
#else
    constexpr size_t kSmallStack = size_t{64} << 10;
#endif
    for (const auto& [name, rules, locked] : cases) {
        bool answer = !locked;
        RunOnThread([&, &text = rules] { answer = AnyRuleLocks(text, NormalizePath(kTool)); },
                    kSmallStack);
        EXPECT_EQ(answer, locked) << name;
    }
}

}  // namespace
}  // namespace kelvaro
