#include "rules/anchor_search.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

TEST(Anchor, IsMissingWithoutThreePlainBytesInARow) {
    for (const char* const path :
         {"", "ab", "a\\b\\c\\d", "\xC3\xA4\\\xC3\xA4", "a b c d", "ab\x7F"}) {
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

// For every sequence of five bytes at every offset within a block of sixteen and across two blocks.
TEST(Anchor, VectorSearchFindsWhatBytewiseSearchFinds) {
    const auto anchor = Anchor::Choose("\\abc");
    ASSERT_TRUE(anchor);
    constexpr std::string_view kBytes = "aBc\\x";
    for (size_t number = 0; number < size_t{5} * 5 * 5 * 5 * 5; ++number) {
        for (size_t offset = 0; offset < 36; ++offset) {
            std::string bytes(40, offset % 2 == 0 ? 'a' : '\\');
            for (size_t at = 0, rest = number; at < 5 && offset + at < bytes.size();
                 ++at, rest /= 5) {
                bytes[offset + at] = kBytes[rest % 5];
            }
            for (const size_t from : {size_t{0}, offset, offset + 1}) {
                ASSERT_EQ(anchor->Find(bytes, from), anchor->FindPlain(bytes, from))
                    << bytes << " from " << from;
            }
        }
    }
}

}  // namespace
}  // namespace kelvaro
