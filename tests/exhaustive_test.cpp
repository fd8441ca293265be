// Compares the lookup with the reference implementation on every small rule file.

#include <gtest/gtest.h>

#include <algorithm>

#include "common/code_page.h"
#include "oracle/rule_oracle.h"
#include "rules/lock_lookup.h"

namespace kelvaro {
namespace {

using namespace std::string_literals;

// Instrumented and unoptimised code is slow.
#if defined(KELVARO_INSTRUMENTED) || !defined(NDEBUG)
constexpr size_t kPieces = 3;
#else
constexpr size_t kPieces = 4;
#endif

// Calls `visit` with every concatenation of at most `most` of `pieces`.
template <class Text, size_t kCount, class Visit>
void ForEachConcatenation(const Text (&pieces)[kCount], size_t most, Visit&& visit,
                          const Text& start = {}) {
    visit(start);
    if (most > 0) {
        for (const Text& piece : pieces) {
            ForEachConcatenation(pieces, most - 1, visit, start + piece);
        }
    }
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
    "\0"s};

// The pieces of one target.
const std::string kTargetPieces[] = {
    "a:",   "\\\\",         "\\",      "/",    "t",    "tool", "TOOL",          "ool.exe",
    ".exe", "tool.exe",     ".EX\\E",  "\\n",  "\\t",  " ",    "\\\"",          "\xC3",
    "{",    "\xEF\xBF\xBD", "\\u0061", "\\A:", "\x7F", "\r",   "a:\\\\tool.ex", "tt",
};

template <size_t kCount>
void CompareAllRules(const std::string (&pieces)[kCount], const std::string& before,
                     const std::string& after) {
    size_t locked = 0;
    ForEachConcatenation(pieces, kPieces, [&](const std::string& text) {
        const std::string rules = before + text + after;
        const std::vector<std::wstring> expected = oracle::LockedPaths(rules);
        locked += expected.size();
        for (const std::wstring& path : kPaths) {
            if (AnyRuleLocks(rules, path) !=
                (std::count(expected.begin(), expected.end(), path) != 0)) {
                ADD_FAILURE() << rules << " and " << Utf8FromWide(path);
            }
        }
    });
    EXPECT_GT(locked, 0U);
}

TEST(Exhaustive, RuleFilesAgreeWithThePatterns) {
    CompareAllRules(kFilePieces, "", "");
}

TEST(Exhaustive, TargetsAgreeWithThePatterns) {
    CompareAllRules(kTargetPieces, R"({"type":"exe","target":")", "\"}");
}

}  // namespace
}  // namespace kelvaro
