#include "rules/lock_lookup.h"

#include <random>

#include "oracle/rule_oracle.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "support/fixture.h"
#include "support/small_stack.h"

namespace kelvaro {
namespace {

using namespace std::string_literals;

constexpr wchar_t kTool[] = L"C:\\Apps\\Tool.exe";
const std::string kRule = R"({"type":"exe","enabled":true,"target":"C:\\Apps\\Tool.exe"})";

using LockLookup = DriveTest;

TEST_F(LockLookup, DecidesByTheRuleFile) {
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
        {R"({"type":"exe","target":"  C:\\Apps\\Tool.exe\t"})", true},
        {R"({"type":"EXE","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"Exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"e\xe","target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"folder","type":"exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":1,"type":"exe","target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"exe","enabled":false,"target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","enabled":"false","target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"exe","enabled":0,"target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"exe","enabled":1,"enabled":false,"target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","enabled":false,"target":"C:\\Apps\\Tool.exe"},)" + kRule, true},
        {R"({"type":"exe","target":"C:\Apps\Tool.exe"})", false},
        {R"({"type":"exe","target":"C:\\Apps\\T\u006Fol.exe"})", false},
        {R"({"type":"exe","target":"C:\\\A\p\p\s\\\Tool.exe"})", true},
        {R"({"type":"exe","target":"x","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":"","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":null,"target":"C:\\Apps\\Tool.exe"})", true},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe","options":{}})", false},
        {R"({"options":{},"type":"exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"options":{"type":"exe","target":"C:\\Apps\\Tool.exe"}})", true},
        {R"({"type":"exe","note":"}","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe.bak"})", false},
        {R"({"type":"exe","target":"\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":"C:\\Apps\\Tool.exe")", false},
        {R"("type":"exe","target":"C:\\Apps\\Tool.exe"})", false},
        {R"({"type":"exe","target":"  "})", false},
        {"{\"type\":\"exe\",\"target\":\"C:\\\\Apps\\\\Tool\0.exe\"}"s, false},
        {"{\"type\":\"exe\",\"target\":\"C:\\\\Apps\\\\Tool.exe\xC3\"}", false},
        {"[]", false},
        {"", false},
    };
    for (const auto& [rules, locked] : cases) {
        WriteRules(rules);
        EXPECT_EQ(IsTargetLocked(kTool), locked) << rules;
    }
}

TEST_F(LockLookup, ComparesNormalisedPaths) {
    WriteRules(kRule);
    for (const wchar_t* const path :
         {L"c:/apps/tool.EXE", L"\"C:\\Apps\\Tool.exe\"", L"  C:\\\\Apps\\Tool.exe"}) {
        EXPECT_TRUE(IsTargetLocked(path)) << Narrow(path);
    }
    for (const wchar_t* const path :
         {L"", L"  ", L"\"\"", L"\\\\?\\C:\\Apps\\Tool.exe", L"C:\\Apps\\..\\Apps\\Tool.exe",
          L"C:\\Apps\\Tool.ex", L"D:\\Apps\\Tool.exe", L"Tool.exe"}) {
        EXPECT_FALSE(IsTargetLocked(path)) << Narrow(path);
    }
}

TEST_F(LockLookup, PathsOfAnyScriptAndLength) {
    const struct {
        const wchar_t* path;
        std::string target;
    } cases[] = {
        {L"C:\\\u5DE5\u5177\\\u5DE5.exe", "C:\\\\\xE5\xB7\xA5\xE5\x85\xB7\\\\\xE5\xB7\xA5.EXE"},
        {L"C:\\\xD83D\xDE00.exe", "C:\\\\\xF0\x9F\x98\x80.exe"},
        {L"a", "A"},
        {L"a\\b\\c", "a/b/c"},
        {L"C:\\tool\\b", "c:/TOOL/b"},
        {L"\\\\tool\\b", "//tool\\/b"},
        {L"\u00C4.exe", "\xC3\x84.exe"},
        {L"C:\\with\nline.exe", "C:\\\\with\\nline.exe"},
    };
    for (const auto& [path, target] : cases) {
        WriteRules(R"({"type":"exe","target":")" + target + R"("})");
        EXPECT_TRUE(IsTargetLocked(path)) << target;
        EXPECT_FALSE(IsTargetLocked(path + L"x"s)) << target;
    }
}

TEST_F(LockLookup, AFileThatCannotBeReadLocksNothing) {
    EXPECT_FALSE(IsTargetLocked(kTool));
    MakeDirectory(kRules);
    EXPECT_FALSE(IsTargetLocked(kTool));
}

TEST_F(LockLookup, Utf16LocksNothing) {
    std::string wide = "\xFF\xFE";
    for (const char byte : kRule) {
        wide.append({byte, '\0'});
    }
    WriteRules(wide);
    EXPECT_FALSE(IsTargetLocked(kTool));
}

std::string Repeat(std::string_view piece, size_t size) {
    std::string text;
    text.reserve(size + piece.size());
    while (text.size() < size) {
        text += piece;
    }
    return text;
}

// None of these may cost more than a walk over it, nor any stack.
TEST_F(LockLookup, LargeAndAwkwardFilesAreReadInOnePass) {
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
        {"near misses", Repeat(R"({"type":"exe","target":"D:\\Apps\\Tool.exe"},)", kSize), false},
        {"white space",
         "{\"type\"" + Repeat(" \t\n\v\f\r", kSize) + ":\"exe\",\"target\":\"Tool\"}", false},
    };
    for (const auto& [name, rules, locked] : cases) {
        bool answer = !locked;
        RunOnSmallStack([&, &text = rules] { answer = AnyRuleLocks(text, NormalizePath(kTool)); });
        EXPECT_EQ(answer, locked) << name;
    }
}

// Draws small rule files from what makes a difference.
class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::string File() {
        std::string text;
        for (size_t pieces = random_() % 40; pieces > 0; --pieces) {
            text += Piece();
        }
        return text;
    }
    std::wstring Path() {
        static const std::wstring kPaths[] = {
            L"a:\\tool.exe", L"\\\\s\\tool.exe", L"\u5DE5\u5177.exe", L"b\nb\\tool",
            L"tool",         L"tool\nb",         L"tool\\b",          L"x\uFFFDtool.exe"};
        return kPaths[random_() % std::size(kPaths)];
    }

  private:
    std::string Piece() {
        static const std::string kPieces[] = {"{",
                                              "}",
                                              "{",
                                              "}",
                                              "\"",
                                              "\\",
                                              ":",
                                              ",",
                                              " ",
                                              "\t",
                                              "\n",
                                              "\v",
                                              "\f",
                                              "\r",
                                              "\0"s,
                                              "\xC3",
                                              "\xA4",
                                              "\xE5",
                                              "true",
                                              "false",
                                              "exe",
                                              "tool",
                                              "too",
                                              "x",
                                              "/",
                                              "\"type\"",
                                              "\"enabled\"",
                                              "\"target\"",
                                              "\"target\":\"",
                                              "\"type\":\"exe\"",
                                              "\"enabled\":false",
                                              "\"enabled\":true",
                                              "\"type\" : \"exe\",",
                                              "\\n",
                                              "\\\"",
                                              "\"}",
                                              "{\"type\":\"exe\",\"target\":\"",
                                              "\"target\":\"a:\\\\tool.exe\"",
                                              "\"target\" :\"A:\\\\TOOL.EXE\"",
                                              "a:\\\\tool.exe",
                                              "A:/t\\ool.exe",
                                              "\\ta:\\/tool.exe\\r",
                                              "\\\\\\\\s\\\\tool.exe",
                                              "//s\\\\//tool.exe",
                                              "\\/\\/S/\\tool.exe",
                                              "\xE5\xB7\xA5\xE5\x85\xB7.exe",
                                              "\xE5\xB7\xA5\\\xE5\x85\xB7.EX\\E",
                                              "b\\nb/tool",
                                              "b\nB\\\\tool",
                                              "x\xFFtool.exe",
                                              "tool\\nb",
                                              "TOOL\\\\/b",
                                              "tool\nb",
                                              "x\xEF\xBF\xBDtool.exe"};
        return kPieces[random_() % std::size(kPieces)];
    }

    std::mt19937 random_;
};

TEST(RuleScanner, AgreesWithThePatternsOnRandomFiles) {
#ifdef KELVARO_INSTRUMENTED
    constexpr int kFiles = 20'000;  // the patterns are slow enough without
#else
    constexpr int kFiles = 200'000;
#endif
    Generator generator(20261124);
    int locked = 0;
    for (int file = 0; file < kFiles; ++file) {
        const std::string rules = generator.File();
        const std::wstring path = generator.Path();
        const bool expected = oracle::AnyRuleLocks(rules, path);
        ASSERT_EQ(AnyRuleLocks(rules, path), expected) << Narrow(path) << " in " << rules;
        locked += expected ? 1 : 0;
        for (const char* const key : {"type", "target"}) {
            ASSERT_EQ(ExtractStringField(rules, key, "(none)"),
                      oracle::StringField(rules, key, "(none)"))
                << key << " in " << rules;
        }
        for (const bool byDefault : {false, true}) {
            ASSERT_EQ(ExtractBoolField(rules, "enabled", byDefault),
                      oracle::BoolField(rules, "enabled", byDefault))
                << rules;
        }
    }
    EXPECT_GT(locked, kFiles / 1000) << "the files hardly ever ask the question";
}

}  // namespace
}  // namespace kelvaro
