#include "internal/link_file.h"

#include <random>

#include "support/fixture.h"

namespace {

using compat::ReadLinkFile;

// Builds a .lnk file from its parts, in the order in which Windows writes them.
class LinkBuilder {
  public:
    explicit LinkBuilder(uint32_t flags) {
        Long(0x4C);
        bytes_.append("\x01\x14\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 16);
        Long(flags);
        bytes_.resize(0x4C);
    }
    LinkBuilder& Word(uint32_t value) { return Number(value, 2); }
    LinkBuilder& Long(uint32_t value) { return Number(value, 4); }
    LinkBuilder& Text(std::string_view text) {
        bytes_.append(text);
        return *this;
    }
    LinkBuilder& Wide(std::wstring_view text) {
        for (const wchar_t unit : text) {
            Word(static_cast<uint32_t>(unit));
        }
        return *this;
    }
    LinkBuilder& Zeros(size_t count) {
        bytes_.append(count, '\0');
        return *this;
    }
    const std::string& Bytes() const { return bytes_; }

  private:
    LinkBuilder& Number(uint32_t value, int size) {
        for (; size > 0; --size, value >>= 8) {
            bytes_.push_back(static_cast<char>(value & 0xFF));
        }
        return *this;
    }
    std::string bytes_;
};

using namespace std::string_view_literals;

std::wstring PathIn(const LinkBuilder& link) {
    const auto target = ReadLinkFile(link.Bytes());
    return target ? target->path : L"(not a shortcut)";
}

TEST(LinkFile, PathsComeFromTheLinkInfo) {
    const auto narrow = ReadLinkFile(LinkBuilder(0x2)
                                         .Long(0x30)
                                         .Long(0x1C)
                                         .Long(1)
                                         .Long(0)
                                         .Long(0x1C)
                                         .Long(0)
                                         .Long(0x22)
                                         .Text("C:\\\xE9\0\0"sv)
                                         .Text("a.exe\0"sv)
                                         .Zeros(8)
                                         .Bytes());
    ASSERT_TRUE(narrow);
    EXPECT_EQ(narrow->path, L"C:\\\u00E9\\a.exe");

    LinkBuilder wide(0x2);
    wide.Long(0x3E).Long(0x24).Long(1).Long(0).Long(0).Long(0).Long(0x3C).Long(0x24).Long(0x3C);
    wide.Wide(L"C:\\\u5DE5.exe").Zeros(8 + 2);
    EXPECT_EQ(PathIn(wide), L"C:\\\u5DE5.exe");

    LinkBuilder network(0x2);
    network.Long(0x46).Long(0x1C).Long(2).Long(0).Long(0).Long(0x1C).Long(0x3D);
    network.Long(0x22).Long(2).Long(0x14).Long(0).Long(0).Text("\\\\srv\\share\0\0"sv);
    network.Text("a.exe\0\0\0\0"sv);
    EXPECT_EQ(PathIn(network), L"\\\\srv\\share\\a.exe");
}

TEST(LinkFile, LongNamesArePreferred) {
    // A drive and a file. In a block of version 9 the long name follows the file reference.
    LinkBuilder link(0x1);
    link.Word(5 + 74 + 2)
        .Word(5)
        .Text(
            "\x2F"
            "C:");
    link.Word(74).Word(0x32).Zeros(10).Text("A~1.EXE\0"sv);
    link.Word(74 - 22).Word(9).Long(0xBEEF0004).Zeros(38).Wide(L"\u5DE5").Word(0).Word(22).Word(0);
    EXPECT_EQ(Utf8(PathIn(link)), Utf8(L"C:\\\u5DE5"));
}

TEST(LinkFile, DamagedFilesAreReadSafely) {
    std::mt19937 random(20261124);
    for (const wchar_t* const name : {L"tool.lnk", L"environment.lnk", L"control_panel.lnk"}) {
        const std::string good =
            DriveTest::Read(platform::BuiltFile(KELVARO_TEST_DATA) + L"\\shortcuts\\" + name);
        ASSERT_TRUE(ReadLinkFile(good)) << Utf8(name);
        for (size_t length = 0; length < good.size(); ++length) {
            ReadLinkFile(std::string(good, 0, length));
        }
        for (int round = 0; round < 20000; ++round) {
            std::string damaged = good;
            for (int bytes = 0; bytes < 3; ++bytes) {
                damaged[random() % damaged.size()] = static_cast<char>(random());
            }
            const auto target = ReadLinkFile(damaged);
            ASSERT_LE(target ? target->path.size() : 0, good.size());
        }
    }
}

}  // namespace
