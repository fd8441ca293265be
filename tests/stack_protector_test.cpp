#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>

extern "C" std::uintptr_t __stack_chk_guard;

namespace {

// The compiler must not see that the buffer is too small.
[[gnu::noinline]] void Fill(volatile char* buffer, size_t size) {
    for (size_t i = 0; i < size; ++i) {
        buffer[i] = 'x';
    }
}

[[gnu::noinline]] void FillBufferOf16(size_t size) {
    char buffer[16];
    Fill(buffer, size);
}

TEST(StackProtectorDeathTest, EndsTheProcessAfterAnOverrun) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    FillBufferOf16(16);
    EXPECT_EXIT(FillBufferOf16(64),
                testing::ExitedWithCode(static_cast<int>(STATUS_STACK_BUFFER_OVERRUN)), "");
}

TEST(StackProtector, GuardIsRandomWithALowZeroByte) {
    EXPECT_NE(__stack_chk_guard, 0x595E9FBD94FDA700U) << "the value before the start-up code runs";
    EXPECT_EQ(__stack_chk_guard & 0xFF, 0U);
}

}  // namespace
