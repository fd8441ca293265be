#include "menu/shortcut_target.h"

#include "support/fixture.h"

namespace kelvaro {
namespace {

using namespace std::string_literals;

using Shortcut = DriveTest;

TEST_F(Shortcut, AProgramIsItsOwnTarget) {
    MakeDirectory(L"C:\\Test\\folder.exe");
    for (const wchar_t* const path :
         {L"D:\\Games\\Run.Exe", L"run.exe", L".EXE", L"C:\\\u5DE5\u5177.exe", L" a.exe",
          L"C:\\Test\\folder.exe"}) {
        EXPECT_EQ(ResolveShortcutTarget(path), path);
    }
    for (const wchar_t* const path :
         {L"", L"C:\\readme.txt", L"C:\\Tool.exe.bak", L"C:\\Tool.lnkx", L"C:\\Apps\\", L"exe",
          L"C:\\Toolexe", L"C:\\Tool.com", L"C:\\Tool.exe "}) {
        EXPECT_EQ(ResolveShortcutTarget(path), L"") << Utf8(path);
    }
}

// Returns a shortcut that stores only the path `target`.
std::string LinkTo(const std::string& target) {
    std::string link = "\x4C\0\0\0\x01\x14\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46\x02"s;  // has a path
    link.resize(0x4C);
    const auto append = [&link](size_t number) {
        link.append({static_cast<char>(number), static_cast<char>(number >> 8), '\0', '\0'});
    };
    constexpr size_t kHeader = 0x1C;
    constexpr size_t kPath = kHeader + 0x11;
    const size_t end = kPath + target.size() + 1;
    for (const size_t number : {end + 1, kHeader, size_t{1}, kHeader, kPath, size_t{0}, end}) {
        append(number);
    }
    for (const unsigned number : {0x11U, 3U, 0U, 0x10U}) {  // the volume
        append(number);
    }
    return link + '\0' + target + "\0\0"s;
}

TEST_F(Shortcut, OnlyWholeTargetsThatEndInExeCount) {
    const std::string longest = "C:\\" + std::string(252, 'n') + ".exe";
    const struct {
        std::string stored, target;
    } cases[] = {{"C:\\Apps\\Missing.EXE", "C:\\Apps\\Missing.EXE"},
                 {" C:\\Apps\\A  b .exe", " C:\\Apps\\A  b .exe"},
                 {"C:\\Apps\\Tool.lnk", ""},
                 {"C:\\Apps\\Tool.exe.bak", ""},
                 {"C:\\Apps\\Toolexe", ""},
                 {"C:\\Apps\\Tool.com", ""},
                 {"C:\\Apps\\Tool.exe\\", ""},
                 {"C:\\Apps\\Tool.exe ", ""},
                 {longest, longest},
                 {longest + ".bak", longest},  // cut to 259 characters
                 {"C:\\n" + longest.substr(3), ""}};
    for (const auto& [stored, target] : cases) {
        Write(kShortcut, LinkTo(stored));
        EXPECT_EQ(Utf8(ResolveShortcutTarget(kShortcut)), target) << stored;
    }
}

#ifdef _WIN32
// Wine ignores the environment-variable block, and reads the 8-bit path instead of the item list.
constexpr wchar_t kEnvironmentTarget[] = L"C:\\windows\\notepad.exe";
constexpr wchar_t kChineseTarget[] = L"C:\\Apps\\??.exe";
#else
constexpr wchar_t kEnvironmentTarget[] = L"%windir%\\notepad.exe";
constexpr wchar_t kChineseTarget[] = L"C:\\Apps\\\u5DE5\u5177.exe";
#endif

TEST_F(Shortcut, ReturnsStoredTargetsThatArePrograms) {
    const struct {
        const wchar_t *name, *target;
    } cases[] = {
        {L"tool.lnk", kTool},
        {L"arguments.lnk", kTool},
        {L"environment.lnk", kEnvironmentTarget},
        {L"chinese.lnk", kChineseTarget},
        {L"folder.lnk", L""},
        {L"document.lnk", L""},
        {L"backup.lnk", L""},
        {L"control_panel.lnk", L""},
    };
    for (const auto& [name, target] : cases) {
        EXPECT_EQ(Utf8(ResolveShortcutTarget(SavedShortcut(name))), Utf8(target)) << Utf8(name);
    }
}

TEST_F(Shortcut, DamagedFilesHaveNoTarget) {
    const std::string good = Read(SavedShortcut(L"tool.lnk"));
    Write(L"C:\\Test\\good.LNK", good);
    EXPECT_EQ(ResolveShortcutTarget(L"C:\\Test\\good.LNK"), kTool);
    EXPECT_EQ(ResolveShortcutTarget(L"C:\\Test\\missing.lnk"), L"");
    MakeDirectory(L"C:\\Test\\directory.lnk");
    EXPECT_EQ(ResolveShortcutTarget(L"C:\\Test\\directory.lnk"), L"");
    std::string wrongClass = good;
    wrongClass[4] = '\x02';
    std::string wrongSize = good;
    wrongSize[0] = '\x4D';
    for (const std::string& bytes :
         {std::string(), std::string("text"), good.substr(0, 70), good.substr(0, 100), wrongClass,
          wrongSize, std::string(1 << 20, 'L')}) {
        Write(L"C:\\Test\\bad.lnk", bytes);
        EXPECT_EQ(Utf8(ResolveShortcutTarget(L"C:\\Test\\bad.lnk")), "") << bytes.size();
    }
}

}  // namespace
}  // namespace kelvaro
