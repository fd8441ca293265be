#include "i18n/language_file.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

using namespace std::string_literals;

TEST(DecodeText, DetectsTheEncoding) {
    const struct {
        const char* what;
        std::string bytes;
        std::wstring text;
        bool ansi = false;  // in the ANSI code page, on Windows that of the machine
    } cases[] = {
        {"no bytes", "", L""},
        {"ASCII", "abc", L"abc"},
        {"UTF-8", "\xE8\xBD\xAF\xF0\x9F\x98\x80", L"\u8F6F\xD83D\xDE00"},
        {"UTF-8 with mark", "\xEF\xBB\xBF\xE8\xBD\xAF", L"\u8F6F"},
        {"UTF-8 mark alone", "\xEF\xBB\xBF", L"\uFEFF"},
        {"UTF-16", "\xFF\xFE\x6F\x8Fx\0"s, L"\u8F6Fx"},
        {"UTF-16 mark alone", "\xFF\xFE", L""},
        {"UTF-16, odd", "\xFF\xFEx\0y"s, L"x"},
        {"UTF-16 with a zero", "\xFF\xFEx\0\0\0y\0"s, L"x\0y"s},
        {"UTF-16 is not validated", "\xFF\xFE\x3D\xD8"s, L"\xD83D"},
        {"UTF-16 without mark", "x\0y\0"s, L"x\0y\0"s},
        {"a zero byte", "a\0b"s, L"a\0b"s},
        {"Windows-1252", "\x80 caf\xE9", L"\u20AC caf\u00E9", true},
        {"half a UTF-8 mark", "\xEF\xBB", L"\u00EF\u00BB", true},
        {"mark before invalid UTF-8", "\xEF\xBB\xBF\xE4", L"\u00EF\u00BB\u00BF\u00E4", true},
        {"big-endian UTF-16", "\xFE\xFF\0x"s, L"\u00FE\u00FF\0x"s, true},
        {"overlong UTF-8", "\xC0\x80", L"\u00C0\u20AC", true},
        {"surrogate in UTF-8", "\xED\xA0\x80", L"\u00ED\u00A0\u20AC", true},
    };
    for (const auto& [what, bytes, text, ansi] : cases) {
#ifdef _WIN32
        if (ansi && GetACP() != 1252) {
            continue;
        }
#endif
        EXPECT_EQ(Utf8(DecodeText(bytes)), Utf8(text)) << what;
    }
}

TEST(FindIniValue, ReturnsTheFirstValueOfTheKeyInItsSection) {
    const struct {
        const wchar_t *text, *value;  // null: not found
    } cases[] = {
        {L"[S]\r\nk = v \r\n", L"v"},
        {L"[ s ]\n\tK\t=\tA b  c\t", L"A b  c"},
        {L"[S]\nk=a=b", L"a=b"},
        {L"[S]\nk=\"v\" ; no comment # here", L"\"v\" ; no comment # here"},
        {L"[S]\nk='v'\nk=\"v\"", L"'v'"},
        {L"[S]\nk=\"v\"", L"\"v\""},
        {L"[S]\nk=one\\ntwo\\\nthree", L"one\\ntwo\\"},
        {L"[S]\nk\nk : w\nk:x=w\nk=v", L"v"},
        {L"[S]\n[T] ; comment\nk=v", L"v"},
        {L"[S]\n;k=a\n#k=b\n  ; k=c\nk=d", L"d"},
        {L"[S]\nk=", L""},
        {L"[S]\nk=v]\nk=w", L"v]"},
        {L"[S]\n[x=1\nk=v", L"v"},
        {L"[S]\nx=1\n[T]\nk=wrong\n[s]\nk=right", L"right"},
        {L"[S]\n\n   \nno entry\nk=v", L"v"},
        {L"[S\nk=v", nullptr},
        {L"[S] ; comment\nk=v", nullptr},
        {L"k=v\n[S]\n", nullptr},
        {L"[T]\nk=v", nullptr},
        {L"[S]\n[]\nk=v", nullptr},
        {L"[S]\rk=v", nullptr},
        {L"[S]\n=v", nullptr},
        {L"[S]\nkk=v\nk k=v", nullptr},
        {L"[S][S]\nk=v", nullptr},
        {L"", nullptr},
    };
    for (const auto& [text, value] : cases) {
        const auto found = FindIniValue(text, L" S ", L"k\t");
        EXPECT_EQ(found.has_value(), value != nullptr) << Utf8(text);
        EXPECT_EQ(Utf8(found.value_or(L"")), Utf8(value == nullptr ? L"" : value)) << Utf8(text);
    }
    EXPECT_EQ(FindIniValue(L"[S]\n//k=v", L"S", L"//k"), L"v");
    EXPECT_FALSE(FindIniValue(L"[S]\n;k=v", L"S", L";k"));
    EXPECT_FALSE(FindIniValue(L"[S]\n#k=v", L"S", L"#k"));
    EXPECT_FALSE(FindIniValue(L"[S]\nk=v", L" ", L"k"));
    EXPECT_FALSE(FindIniValue(L"[]\nk=v", L"", L"k"));
    EXPECT_FALSE(FindIniValue(L"[S]\n=v", L"S", L""));
}

}  // namespace
}  // namespace kelvaro
