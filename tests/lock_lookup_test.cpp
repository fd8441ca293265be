#include "rules/lock_lookup.h"

#include <random>

#include "oracle/rule_oracle.h"
#include "rules/path_normalizer.h"
#include "rules/rule_fields.h"
#include "rules/rule_pieces.h"
#include "support/fixture.h"
#include "support/small_stack.h"

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
        EXPECT_TRUE(IsTargetLocked(path)) << Utf8(path);
    }
    for (const wchar_t* const path :
         {L"", L"  ", L"\"\"", L"\\\\?\\C:\\Apps\\Tool.exe", L"C:\\Apps\\..\\Apps\\Tool.exe",
          L"C:\\Apps\\Tool.ex", L"D:\\Apps\\Tool.exe", L"Tool.exe"}) {
        EXPECT_FALSE(IsTargetLocked(path)) << Utf8(path);
    }
    WriteRules(R"({"type":"exe","target":"C:\\{App}\\Tool.exe"})");
    EXPECT_FALSE(IsTargetLocked(L"C:\\{App}\\Tool.exe")) << "a rule has no brace inside";
}

TEST_F(LockLookup, LocksPathsOfAnyScriptAndLength) {
    const struct {
        const wchar_t* path;
        std::string target;
    } cases[] = {
        {L"C:\\\u5DE5\u5177\\\u5DE5.exe", "C:\\\\\xE5\xB7\xA5\xE5\x85\xB7\\\\\xE5\xB7\xA5.EXE"},
        {L"C:\\\xD83D\xDE00.exe", "C:\\\\\xF0\x9F\x98\x80.exe"},
        {L"a", "A"},
        {L"a\\b\\c", "a/b/c"},
        {L"C:\\tool\\b", "c:/TOOL/b"},
        {L"C:\\baaaa.exe", "C:\\\\baaaa.exe"},
        {L"\\\\tool\\b", "//tool\\/b"},
        {L"\\\\s", "//S"},
        {L"\\\\abc", "\\\\\\\\ABC"},
        {L"\u00C4.exe", "\xC3\x84.exe"},
        {L"C:\\with\nline.exe", "C:\\\\with\\nline.exe"},
        {L"C:\\\x7F\\tool.exe", "C:\\\\\x7F\\\\tool.exe"},
    };
    for (const auto& [path, target] : cases) {
        WriteRules(R"({"type":"exe","target":")" + target + R"("})");
        EXPECT_TRUE(IsTargetLocked(path)) << target;
        EXPECT_FALSE(IsTargetLocked(path + L"x"s)) << target;
    }
}

TEST_F(LockLookup, UnreadableFilesLockNothing) {
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

// The pieces of random rule files, separated by "|": what makes a difference for one of the paths.
constexpr std::string_view kPieces =
    R"({|}|{|}|"|\|:|,|/|"}|\n|\"|true|false|exe|tool|too|x|"type"|"enabled"|"target"|"target":"|)"
    R"("type":"exe"|"type" : "exe",|"type":"folder",|"enabled":true|"enabled":false|)"
    R"({"type":"exe","target":"|{"type":"folder","target":"a:\\"}|"target":"a:\\tool.exe"|)"
    R"({"type":"name","target":"tool.exe"}|"target" :"A:\\TOOL.EXE"|a:\\tool.exe|A:/t\ool.exe|)"
    R"(\ta:\/tool.exe\r|\\\\s\\tool.exe|//s\\//tool.exe|\/\/S/\tool.exe|b\nb/tool|tool\nb|)"
    R"(TOOL\\/b|)"
    "b\nB\\\\tool|tool\nb| |\t|\n|\v|\f|\r|\xC3|\xA4|\xE5|x\xFFtool.exe|x\xEF\xBF\xBDtool.exe|"
    "\xE5\xB7\xA5\xE5\x85\xB7.exe|\xE5\xB7\xA5\\\xE5\x85\xB7.EX\\E|\0"sv;

constexpr std::wstring_view kPaths[] = {
    L"a:\\tool.exe", L"\\\\s\\tool.exe", L"\u5DE5\u5177.exe", L"b\nb\\tool",
    L"tool",         L"tool\nb",         L"tool\\b",          L"x\uFFFDtool.exe"};

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {
        for (std::string_view rest = kPieces; !rest.empty();) {
            const size_t end = std::min(rest.find('|'), rest.size());
            pieces_.push_back(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }

    std::string File() {
        std::string text;
        for (size_t pieces = random_() % 40; pieces > 0; --pieces) {
            text += pieces_[random_() % pieces_.size()];
        }
        return text;
    }
    std::wstring_view Path() { return kPaths[random_() % std::size(kPaths)]; }

  private:
    std::mt19937 random_;
    std::vector<std::string_view> pieces_;
};

// Instrumented code is slow.
#ifdef KELVARO_INSTRUMENTED
constexpr int kFiles = 20'000;
#else
constexpr int kFiles = 200'000;
#endif

TEST(RulePieces, IncludeTheirBraces) {
    RulePieces pieces("a{b}{c{}d");
    for (const auto& [text, flat] :
         {std::pair("a", false), std::pair("{b}", true), std::pair("", false),
          std::pair("{c", false), std::pair("{}", true), std::pair("d", false)}) {
        const auto piece = pieces.Next();
        ASSERT_TRUE(piece);
        EXPECT_EQ(piece->text, text);
        EXPECT_EQ(piece->IsFlatObject(), flat) << text;
    }
    EXPECT_FALSE(pieces.Next());
}

// Returns true if any flat object locks the program. Bypasses the prefilter.
bool AnyObjectLocks(std::string_view rules, std::wstring_view path) {
    bool locks = false;
    RulePieces pieces(rules);
    while (const auto piece = pieces.Next()) {
        locks = locks || (piece->IsFlatObject() && IsRuleFor(piece->text, path) &&
                          ExtractBoolField(piece->text, "enabled", true));
    }
    return locks;
}

// Fails for a new kind of rule that IsRuleFor accepts and the prefilter does not find. The
// generator needs pieces of every kind.
TEST(RuleScanner, PrefilterSkipsNoMatchingObject) {
    Generator generator(20261125);
    for (int file = 0; file < kFiles; ++file) {
        const std::string rules = generator.File();
        const std::wstring_view path = generator.Path();
        ASSERT_EQ(AnyRuleLocks(rules, path), AnyObjectLocks(rules, path))
            << Utf8(path) << " in " << rules;
    }
}

TEST(RuleScanner, AgreesWithThePatternsOnRandomFiles) {
    Generator generator(20261124);
    int locked = 0;
    for (int file = 0; file < kFiles; ++file) {
        const std::string rules = generator.File();
        const std::wstring_view path = generator.Path();
        const bool expected = oracle::AnyRuleLocks(rules, path);
        ASSERT_EQ(AnyRuleLocks(rules, path), expected) << Utf8(path) << " in " << rules;
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
    EXPECT_GT(locked, kFiles / 1000) << "too few files lock the program";
}

}  // namespace
}  // namespace kelvaro
