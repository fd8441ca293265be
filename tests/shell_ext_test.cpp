#include "menu/shell_ext.h"

#include "rightclick/popup_menu.h"
#include "server/module.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "support/prompt.h"

#ifndef _WIN32
#include "testing/failing_calls.h"
#include "testing/resources.h"
#include "testing/watch.h"
#endif

namespace kelvaro {
namespace {

using Strings = std::vector<std::string>;

constexpr char kVerbName[] = "vorandel_kelvaro_toggle";
constexpr wchar_t kWideVerbName[] = L"vorandel_kelvaro_toggle";

class MenuItem : public DriveTest {
  public:
    MenuItem() {
        InstallLibrary();
        SetLocale(L"en-US");
        WriteRules(kToolRule);
        extension_.Select({kTool});
        DeleteFileW(kLog);
    }
    IContextMenu& Menu() { return extension_.Menu(); }
    Extension extension_;
};

TEST_F(MenuItem, IsInsertedAtTheGivenPosition) {
    const rightclick::PopupMenu menu;
    for (const wchar_t* const text : {L"Open", L"Properties"}) {
        InsertMenuW(menu.Handle(), 9, MF_BYPOSITION | MF_STRING, 7, text);
    }
    EXPECT_EQ(Menu().QueryContextMenu(menu.Handle(), 1, 500, 500, CMF_NORMAL), 1);
    ASSERT_EQ(menu.Count(), 3);
    EXPECT_EQ(menu.Text(1), L"Unlock with Vorandel Kelvaro");
    EXPECT_EQ(menu.Id(1), 500U);
    EXPECT_EQ(Messages(), Strings{"QueryContextMenu add item locked=1"});
}

TEST_F(MenuItem, IsLeftOutOfDefaultOnlyMenus) {
    const rightclick::PopupMenu menu;
    EXPECT_EQ(Menu().QueryContextMenu(menu.Handle(), 0, 1, 9, CMF_DEFAULTONLY | CMF_EXPLORE), S_OK);
    EXPECT_EQ(menu.Count(), 0);
    EXPECT_EQ(Messages(), Strings());
    for (const UINT flags :
         std::vector<UINT>{CMF_VERBSONLY, CMF_EXPLORE, CMF_EXTENDEDVERBS, 0xFFFFFFFE}) {
        EXPECT_EQ(extension_.MenuText(flags), L"Unlock with Vorandel Kelvaro") << flags;
    }
}

TEST_F(MenuItem, IsReportedEvenIfTheInsertionFails) {
    EXPECT_EQ(Menu().QueryContextMenu(nullptr, 0, 1, 9, CMF_NORMAL), 1);
    EXPECT_EQ(Messages(), Strings{"QueryContextMenu add item locked=1"});
}

TEST_F(MenuItem, IsOfferedForAShortcutWithoutATarget) {
    extension_.Select({L"C:\\missing.lnk"});
    EXPECT_EQ(extension_.MenuText(), L"Lock with Vorandel Kelvaro");
}

TEST_F(MenuItem, ReturnsVerbAndHelp) {
    SetLocale(L"zh-CN");
    Write(L"C:\\Program Files\\Kelvaro\\Lang\\Chinese(Simplified).ini",
          "[ShellExt]\nhelp=\xE9\x94\x81 {product}\n");
    char narrow[64] = {};
    EXPECT_EQ(Menu().GetCommandString(0, GCS_VERBA, nullptr, narrow, 64), S_OK);
    EXPECT_STREQ(narrow, kVerbName);
    EXPECT_EQ(Menu().GetCommandString(0, GCS_HELPTEXTA, nullptr, narrow, 64), S_OK);
    EXPECT_STREQ(narrow, "Toggle lock state via Vorandel Kelvaro");
    wchar_t wide[64] = {};
    auto* const buffer = reinterpret_cast<LPSTR>(wide);
    EXPECT_EQ(Menu().GetCommandString(0, GCS_VERBW, nullptr, buffer, 64), S_OK);
    EXPECT_STREQ(wide, kWideVerbName);
    EXPECT_EQ(Menu().GetCommandString(0, GCS_HELPTEXTW, nullptr, buffer, 64), S_OK);
    EXPECT_STREQ(wide, L"\u9501 Vorandel Kelvaro");
    EXPECT_EQ(Messages(), Strings());
}

// Expects `text`, cut to each capacity, and no change of the buffer after it.
template <class Unit>
void ExpectCut(IContextMenu& menu, UINT kind, const std::basic_string<Unit>& text) {
    for (UINT capacity = 1; capacity < 64; ++capacity) {
        std::basic_string<Unit> expected = text.substr(0, capacity - 1) + Unit{};
        expected.resize(64, Unit{'x'});
        std::basic_string<Unit> buffer(64, Unit{'x'});
        auto* const bytes = reinterpret_cast<LPSTR>(buffer.data());
        EXPECT_EQ(menu.GetCommandString(0, kind, nullptr, bytes, capacity), S_OK);
        EXPECT_TRUE(buffer == expected) << kind << ", capacity " << capacity;
    }
}

TEST_F(MenuItem, CutsTextsThatDoNotFit) {
    ExpectCut<char>(Menu(), GCS_VERBA, kVerbName);
    ExpectCut<char>(Menu(), GCS_HELPTEXTA, "Toggle lock state via Vorandel Kelvaro");
    ExpectCut<wchar_t>(Menu(), GCS_VERBW, kWideVerbName);
    ExpectCut<wchar_t>(Menu(), GCS_HELPTEXTW, L"Toggle lock state via Vorandel Kelvaro");
}

TEST_F(MenuItem, LeavesTheBufferUnchangedForUnsupportedQueries) {
    char text[] = "untouched";
    for (const UINT kind :
         std::vector<UINT>{GCS_VALIDATEA, GCS_VALIDATEW, 3, 7, 0x10000, 0xFFFFFFFF}) {
        EXPECT_EQ(Menu().GetCommandString(0, kind, nullptr, text, 9), S_OK) << kind;
    }
    EXPECT_EQ(Menu().GetCommandString(1, GCS_VERBA, nullptr, text, 9), E_INVALIDARG);
    EXPECT_EQ(Menu().GetCommandString(UINT_PTR{1} << 32, GCS_VERBA, nullptr, text, 9),
              E_INVALIDARG);
    EXPECT_EQ(Menu().GetCommandString(0, GCS_VERBA, nullptr, text, 0), E_INVALIDARG);
    EXPECT_EQ(Menu().GetCommandString(0, GCS_VERBA, nullptr, nullptr, 9), E_INVALIDARG);
    EXPECT_STREQ(text, "untouched");
}

TEST_F(MenuItem, RecognisesItsCommand) {
    const auto* const offset1 = reinterpret_cast<LPCSTR>(uintptr_t{1});
    const auto* const highBits = reinterpret_cast<LPCSTR>(uintptr_t{7} << 32);
    const auto* const wideOffset = reinterpret_cast<LPCWSTR>(uintptr_t{0});
    constexpr DWORD kShort = sizeof(CMINVOKECOMMANDINFO);
    constexpr DWORD kLong = sizeof(CMINVOKECOMMANDINFOEX);
    const struct {
        const char* what;
        LPCSTR verb;
        DWORD mask, size;
        LPCWSTR wideVerb;
        bool known;
    } cases[] = {
        {"offset 0", nullptr, 0, kShort, nullptr, true},
        {"offset 1", offset1, 0, kShort, nullptr, false},
        {"offset 0 in the low words", highBits, 0, kShort, nullptr, true},
        {"the verb", kVerbName, 0, kShort, nullptr, true},
        {"the verb in capitals", "VORANDEL_Kelvaro_TOGGLE", 0, kShort, nullptr, true},
        {"another verb", "open", 0, kShort, nullptr, false},
        {"a longer verb", "vorandel_kelvaro_toggle2", 0, kShort, nullptr, false},
        {"an empty verb", "", 0, kShort, nullptr, false},
        {"the wide verb", "open", CMIC_MASK_UNICODE, kLong, L"Vorandel_KELVARO_toggle", true},
        {"the wide verb beside offset 1", offset1, CMIC_MASK_UNICODE, kLong, kWideVerbName, true},
        {"the wide verb, larger record", "open", CMIC_MASK_UNICODE, kLong + 8, kWideVerbName, true},
        {"the wide verb without the mask", "open", 0, kLong, kWideVerbName, false},
        {"the wide verb in a short record", "open", CMIC_MASK_UNICODE, kShort, kWideVerbName,
         false},
        {"the wide verb, a byte short", "open", CMIC_MASK_UNICODE, kLong - 1, kWideVerbName, false},
        {"another wide verb", "open", CMIC_MASK_UNICODE, kLong, L"open", false},
        {"a wide offset", "open", CMIC_MASK_UNICODE, kLong, wideOffset, false},
        {"a size of 0", kVerbName, CMIC_MASK_UNICODE, 0, nullptr, true},
    };
    const MessageBoxes boxes;
    for (const auto& [what, verb, mask, size, wideVerb, known] : cases) {
        CMINVOKECOMMANDINFOEX request = {};
        request.cbSize = size;
        request.fMask = mask;
        request.lpVerb = verb;
        request.lpVerbW = wideVerb;
        DeleteFileW(kLog);
        EXPECT_EQ(Menu().InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&request)),
                  known ? S_OK : E_FAIL)
            << what;
        EXPECT_EQ(Messages()[0], known ? "InvokeCommand start selected=C:\\Apps\\Tool.exe"
                                       : "InvokeCommand ignored unknown verb")
            << what;
    }
}

TEST_F(MenuItem, InvokeFailsWithoutARequestOrSelection) {
    EXPECT_EQ(Menu().InvokeCommand(nullptr), E_INVALIDARG);
    EXPECT_EQ(Messages(), Strings());
    Extension fresh;
    EXPECT_EQ(fresh.Choose(), E_FAIL);
    EXPECT_EQ(Messages(), Strings{"InvokeCommand selected path empty"});
}

TEST_F(MenuItem, StartsThePromptWithTheSelectedPath) {
    InstallPrompt(kPrompt);
    CopyShortcut();
    extension_.Select({kShortcut});
    for (int calls = 1; calls <= 2; ++calls) {
        EXPECT_EQ(extension_.Choose(), S_OK);
        EXPECT_TRUE(WaitForPrompt(calls).commandLine.ends_with(" \"C:\\Test\\Tool.lnk\""));
    }
}

TEST_F(MenuItem, UsesTheShellsWindowAsOwnerOfErrorBoxes) {
    const MessageBoxes boxes;
    CMINVOKECOMMANDINFO request = {};
    request.hwnd = reinterpret_cast<HWND>(uintptr_t{0x1234});
    EXPECT_EQ(Menu().InvokeCommand(&request), S_OK) << "the launcher reports its failures itself";
    if (MessageBoxes::kCanSee) {
        EXPECT_EQ(boxes.shown,
                  Strings{"Vorandel Kelvaro: Cannot find KelvaroAuthPrompt.exe. owner=4660"});
    }
}

#ifndef _WIN32

// A virus scanner or a slow disk can hold up each line. Nothing of the host waits for it meanwhile.
TEST_F(MenuItem, HoldsNothingWhileItWritesTheLog) {
    CopyShortcut();
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    std::vector<std::string> held;
    const compat::Watch<&CreateFileW> watch([&held](LPCWSTR name, auto...) {
        if (name == std::wstring_view(kLog)) {
            held.push_back(compat::HeldResources());
        }
    });
    const struct {
        std::vector<std::wstring> files;
        const char* failing;
    } cases[] = {{{kTool}, ""},
                 {{kShortcut}, ""},
                 {{kTool, kTool}, ""},
                 {{L"C:\\a.txt"}, ""},
                 {{kTool}, "DragQueryFileW"},
                 {{kTool}, "GlobalLock"},
                 {{kShortcut}, "IPersistFile::Load"}};
    for (const auto& [files, failing] : cases) {
        const compat::FailingCall failure(failing, static_cast<DWORD>(E_FAIL), 1);
        extension_.Select(files);
    }
    EXPECT_EQ(extension_.Select({kTool}), S_OK);
    EXPECT_EQ(extension_.Choose(), S_OK);
    EXPECT_EQ(held, Strings(8 + 3, "1 module"));
    extension_.MenuText();
    EXPECT_EQ(held.back(), "1 menu, 1 module");
}

#endif

}  // namespace
}  // namespace kelvaro
