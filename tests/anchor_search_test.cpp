#include "rules/anchor_search.h"

#include <random>

#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(Anchor, IsTheLastOneBeforeTheExtension) {
    const struct {
        const char* path;
        size_t position;
    } cases[] = {{"c:\\apps\\tool.exe", 9},
                 {"abc", 0},
                 {"c:\\\xC3\x84\\ab.exe", 6},
                 {"c:\\\xE5\xB7\xA5.exe", 3}};
    for (const auto& [path, position] : cases) {
        const auto anchor = Anchor::Choose(path);
        ASSERT_TRUE(anchor) << path;
        EXPECT_EQ(anchor->Position(), position) << path;
    }
}

TEST(Anchor, IsMissingWithoutThreePlainBytesInARow) {
    for (const char* const path : {"", "ab", "a\\b\\c\\d", "\xC3\xA4\\\xC3\xA4", "a b c d"}) {
        EXPECT_FALSE(Anchor::Choose(path)) << path;
    }
}

TEST(Anchor, MatchesInEitherCaseAndEscaped) {
    const auto anchor = Anchor::Choose("\\abc");
    ASSERT_TRUE(anchor);
    for (const std::string_view bytes : {"abc", "ABC", "a\\bc", "a\\b\\C...", "aBc"}) {
        EXPECT_TRUE(anchor->Matches(bytes)) << bytes;
    }
    for (const std::string_view bytes : {"", "a", "ab", "a\\\\bc", "xbc", "ab\\", "a\\"}) {
        EXPECT_FALSE(anchor->Matches(bytes)) << bytes;
    }
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2}}) {
        EXPECT_FALSE(anchor->Matches(std::string_view("abc", size))) << "reads beyond " << size;
    }
}

// For matches at every offset within a block of sixteen bytes and across two blocks.
TEST(Anchor, VectorSearchAgreesWithBytewiseSearch) {
    const auto anchor = Anchor::Choose("\\abc");
    ASSERT_TRUE(anchor);
    std::mt19937 random(20261124);
    constexpr std::string_view kPieces = "aAbBcC\\x";
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(random() % 80, '\0');
        for (char& byte : bytes) {
            byte = kPieces[random() % kPieces.size()];
        }
        for (size_t from = 0; from <= bytes.size(); from += 1 + random() % 7) {
            ASSERT_EQ(anchor->Find(bytes, from), anchor->FindPlain(bytes, from))
                << bytes << " from " << from;
        }
    }
}

}  // namespace
}  // namespace kelvaro
