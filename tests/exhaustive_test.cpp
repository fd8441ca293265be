// Compares the library with reference implementations on every input up to a small size.

#include <gtest/gtest.h>

#include <algorithm>

#include "console/console.h"
#include "i18n/language_file.h"
#include "oracle/rule_oracle.h"
#include "oracle/text_oracle.h"
#include "rules/lock_lookup.h"
#include "rules/path_normalizer.h"

namespace kelvaro {
namespace {

using namespace std::string_literals;

// Calls `visit` with every concatenation of at most `most` of `pieces`. Returns their number.
template <class Text, size_t kCount, class Visit>
size_t ForEachConcatenation(const Text (&pieces)[kCount], size_t most, Visit&& visit,
                            const Text& start = {}) {
    visit(start);
    size_t cases = 1;
    if (most > 0) {
        for (const Text& piece : pieces) {
            cases += ForEachConcatenation(pieces, most - 1, visit, start + piece);
        }
    }
    return cases;
}

const std::wstring kPaths[] = {L"a:\\tool.exe", L"\\\\tool.exe", L"a:tool.exe",
                               L"tool",         L"a:\nool.exe",  L"\uFFFDtool.exe",
                               L"\\tool",       L"a:{tool.exe",  L"tttt.exe"};

// The pieces of whole files. Four of them are enough for a rule with any field in any place.
const std::string kFilePieces[] = {
    "{",
    "}",
    "\"",
    "\\",
    ",",
    " ",
    "\n",
    "\"type\":\"exe\"",
    "\"type\" : \"folder\",",
    "\"enabled\":false",
    "\"enabled\":true,",
    "\"enabled\" :\tfalse",
    "\"target\":\"a:\\\\tool.exe\"",
    "\"target\":\"a:/TOOL.exe\",",
    "\"target\":\"",
    "\"target\":1",
    "a:\\\\tool.exe",
    "{\"type\":\"exe\",",
    "{\"type\":\"exe\",\"target\":\"",
    "\"}",
    "{\"type\":\"exe\",\"target\":\"a:\\\\tool.exe\"}",
    "{\"type\":\"exe\",\"enabled\":false,\"target\":\"a:\\\\tool.exe\"}",
    "\\\"",
    "\0"s,
};

// The pieces of one target.
const std::string kTargetPieces[] = {
    "a:",   "\\\\",         "\\",      "/",    "t",    "tool", "TOOL",          "ool.exe",
    ".exe", "tool.exe",     ".EX\\E",  "\\n",  "\\t",  " ",    "\\\"",          "\xC3",
    "{",    "\xEF\xBF\xBD", "\\u0061", "\\A:", "\x7F", "\r",   "a:\\\\tool.ex", "tt",
};

size_t CompareRules(const std::string& rules, std::vector<size_t>& locked) {
    const std::vector<std::wstring> expected = oracle::LockedPaths(rules);
    for (size_t at = 0; at < std::size(kPaths); ++at) {
        const bool locks = std::count(expected.begin(), expected.end(), kPaths[at]) != 0;
        locked[at] += locks ? 1 : 0;
        if (AnyRuleLocks(rules, kPaths[at]) != locks) {
            ADD_FAILURE() << rules << " and " << console::Utf8(kPaths[at]);
        }
    }
    return expected.size();
}

template <size_t kCount>
void CompareAllRules(const std::string (&pieces)[kCount], const std::string& before,
                     const std::string& after) {
    std::vector<size_t> locked(std::size(kPaths));
    const size_t files = ForEachConcatenation(
        pieces, 4, [&](const std::string& text) { CompareRules(before + text + after, locked); });
    std::printf("%zu rule files with %zu paths each; locked:", files, std::size(kPaths));
    for (size_t at = 0; at < locked.size(); ++at) {
        std::printf(" %zu", locked[at]);
    }
    std::printf("\n");
    EXPECT_GT(locked[0], 0U) << "no file locks the ordinary path";
}

TEST(Exhaustive, RuleFilesAgreeWithThePatterns) {
    CompareAllRules(kFilePieces, "", "");
}

TEST(Exhaustive, TargetsAgreeWithThePatterns) {
    CompareAllRules(kTargetPieces, R"({"type":"exe","target":")", "\"}");
}

TEST(Exhaustive, LanguageFilesAgreeWithALineByLineParser) {
    const std::wstring lines[] = {L"[S]\n",  L"[ s ]\r\n", L"[T]\n",   L"[S\n",        L"[S] x\n",
                                  L"[]\n",   L"k=v\n",     L"K = w\n", L"k=\n",        L"k\n",
                                  L"=v\n",   L";k=v\n",    L"#k=v\n",  L" k=a=b \r\n", L"kk=v\n",
                                  L"\n",     L" \t\n",     L"[S]",     L"k=v",         L"k=v]\n",
                                  L"[k=v\n", L"k=v\r",     L"[S]\r",   L"k = \n",      L"[[S]]\n"};
    size_t found = 0;
    const size_t files = ForEachConcatenation(lines, 4, [&](const std::wstring& text) {
        const auto value = FindIniValue(text, L"S", L"k");
        const auto expected = oracle::FindIniValue(text, L"s", L"k");
        found += expected ? 1 : 0;
        if (value.has_value() != expected.has_value() || (expected && *value != *expected)) {
            ADD_FAILURE() << console::Utf8(text);
        }
    });
    std::printf("%zu language files, the entry is in %zu\n", files, found);
    EXPECT_GT(found, 0U);
}

TEST(Exhaustive, NormalizedPathsAgreeWithAStepByStepImplementation) {
    const std::wstring units[] = {L"\\", L"/", L"\"", L" ", L"\t", L"\n", L"a",
                                  L"Z",  L"z", L":",  L".", L"[",  L"@",  L"\u00C4"};
    const size_t paths = ForEachConcatenation(units, 6, [](const std::wstring& path) {
        if (NormalizePath(path) != oracle::NormalizePath(path)) {
            ADD_FAILURE() << console::Utf8(path);
        }
    });
    std::printf("%zu paths\n", paths);
}

}  // namespace
}  // namespace kelvaro
