#include "menu/shell_ext.h"

#include <memory>

#include "server/module.h"
#include "shell_host/popup_menu.h"
#include "support/extension.h"
#include "support/fixture.h"
#include "support/prompt.h"

#ifndef _WIN32
#include "testing/failing_calls.h"
#include "testing/resources.h"
#include "testing/watch.h"
#endif

namespace kelvaro {
namespace {

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

// All identifiers and all flags but CMF_DEFAULTONLY give the same item.
// See "What hosts can rely on" in docs/architecture.md.
TEST_F(MenuItem, IsPlainTextAtTheGivenPositionForAnyFlagsAndIdentifiers) {
    const struct {
        UINT position, first, last;
        int at;
    } places[] = {{0, 500, 0x7FFF, 0}, {1, 500, 500, 1},          {2, 500, 499, 2},
                  {1, 7, 0, 1},        {1, 0, 0x7FFF, 1},         {9, 1, 1, 2},
                  {0, 0x7FFF, 0, 0},   {0xFFFFFFFF, 500, 900, 2}, {1, 0xEFFF, 0xFFFF, 1}};
    for (const bool locked : {true, false}) {
        extension_.Select({locked ? kTool : L"C:\\missing.lnk"});
        for (UINT round = 0; round < 32; ++round) {
            const UINT flags = round == 0 ? ~UINT{CMF_DEFAULTONLY} : UINT{1} << round;
            const auto& [position, first, last, at] = places[round % std::size(places)];
            const shell_host::PopupMenu menu;
            for (const wchar_t* const text : {L"Open", L"Properties"}) {
                InsertMenuW(menu.Handle(), 9, MF_BYPOSITION | MF_STRING, 7, text);
            }
            DeleteFileW(kLog);
            EXPECT_EQ(Menu().QueryContextMenu(menu.Handle(), position, first, last, flags), 1);
            ASSERT_EQ(menu.Count(), 3) << flags;
            EXPECT_EQ(menu.Text(static_cast<UINT>(at)),
                      locked ? L"Unlock with Vorandel Kelvaro" : L"Lock with Vorandel Kelvaro");
            EXPECT_EQ(menu.Id(at), first) << flags;
            EXPECT_EQ(GetMenuState(menu.Handle(), static_cast<UINT>(at), MF_BYPOSITION), 0U);
            EXPECT_EQ(Messages(), Strings{locked ? "QueryContextMenu add item locked=1"
                                                 : "QueryContextMenu add item locked=0"});
        }
    }
}

TEST_F(MenuItem, IsLeftOutOfDefaultOnlyMenus) {
    for (int bit = 0; bit < 32; ++bit) {
        EXPECT_EQ(extension_.MenuText(CMF_DEFAULTONLY | (UINT{1} << bit)), L"") << bit;
    }
    EXPECT_EQ(Messages(), Strings());
}

// The result only reserves the identifier; the shell builds the rest of the menu either way.
// See "What hosts can rely on" in docs/architecture.md.
TEST_F(MenuItem, IsReportedEvenIfTheInsertionFails) {
    EXPECT_EQ(Menu().QueryContextMenu(nullptr, 0, 1, 9, CMF_NORMAL), 1);
    EXPECT_EQ(Messages(), Strings{"QueryContextMenu add item locked=1"});
}

// Expects `text`, cut to each capacity, and no change of the buffer after it.
template <class Unit>
void ExpectCut(IContextMenu& menu, UINT kind, const std::basic_string<Unit>& text) {
    for (UINT capacity = 1; capacity < 64; ++capacity) {
        std::basic_string<Unit> expected = text.substr(0, capacity - 1) + Unit{};
        expected.resize(64, Unit{'x'});
        std::basic_string<Unit> buffer(64, Unit{'x'});
        auto* const bytes = reinterpret_cast<LPSTR>(buffer.data());
        // Some hosts set the reserved argument. A capacity above INT_MAX is not negative.
        UINT reserved = 5;
        const UINT size = capacity == 63 ? 0xFFFFFFFF : capacity;
        EXPECT_EQ(menu.GetCommandString(0, kind, &reserved, bytes, size), S_OK);
        EXPECT_EQ(reserved, 5U);
        EXPECT_TRUE(buffer == expected) << kind << ", capacity " << capacity;
    }
}

// Only the wide help text is in the interface language.
TEST_F(MenuItem, ReturnsVerbAndHelpCutToTheBuffer) {
    ExpectCut<wchar_t>(Menu(), GCS_HELPTEXTW, L"Toggle lock state via Vorandel Kelvaro");
    SetLocale(L"zh-CN");
    Write(kApplication + L"\\Lang\\Chinese(Simplified).ini",
          "[ShellExt]\nhelp=\xE9\x94\x81 {product}\n");
    ExpectCut<char>(Menu(), GCS_VERBA, kVerbName);
    ExpectCut<char>(Menu(), GCS_HELPTEXTA, "Toggle lock state via Vorandel Kelvaro");
    ExpectCut<wchar_t>(Menu(), GCS_VERBW, kWideVerbName);
    ExpectCut<wchar_t>(Menu(), GCS_HELPTEXTW, L"\u9501 Vorandel Kelvaro");
    EXPECT_EQ(Messages(), Strings());
}

// To a host that validates the item, S_OK says that it exists.
// See "What hosts can rely on" in docs/architecture.md.
TEST_F(MenuItem, LeavesTheBufferUnchangedForUnsupportedQueries) {
    char text[] = "untouched";
    for (const UINT kind :
         std::vector<UINT>{GCS_VALIDATEA, GCS_VALIDATEW, 3, 7, 8, 0x104, 0x10000, 0xFFFFFFFF}) {
        EXPECT_EQ(Menu().GetCommandString(0, kind, nullptr, text, 9), S_OK) << kind;
    }
    EXPECT_EQ(Menu().GetCommandString(UINT_PTR{1} << 32, GCS_VERBA, nullptr, text, 9),
              E_INVALIDARG);
    for (const UINT kind :
         std::initializer_list<UINT>{GCS_VERBA, GCS_HELPTEXTW, GCS_VALIDATEA, GCS_VALIDATEW}) {
        EXPECT_EQ(Menu().GetCommandString(0, kind, nullptr, nullptr, 9), E_INVALIDARG) << kind;
        EXPECT_EQ(Menu().GetCommandString(1, kind, nullptr, text, 9), E_INVALIDARG) << kind;
        EXPECT_EQ(Menu().GetCommandString(0, kind, nullptr, text, 0), E_INVALIDARG) << kind;
    }
    EXPECT_STREQ(text, "untouched");
}

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(MenuItem, RecognisesItsCommandAndShowsErrorsAboveTheShellsWindow) {
    const auto* const offset1 = reinterpret_cast<LPCSTR>(uintptr_t{1});
    const auto* const highBits = reinterpret_cast<LPCSTR>(uintptr_t{7} << 32);
    const auto* const wideOffset = reinterpret_cast<LPCWSTR>(uintptr_t{7} << 32);
    // Hosts set further bits: CMIC_MASK_FLAG_NO_UI, CMIC_MASK_ASYNCOK, CMIC_MASK_PTINVOKE and more.
    constexpr DWORD kHost = 0xFFFFFFFF & ~DWORD{CMIC_MASK_UNICODE};
    constexpr DWORD kUnicode = CMIC_MASK_UNICODE | 0x20100400;
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
        {"offset 0 in the low words", highBits, kHost, kShort, nullptr, true},
        {"the verb in capitals", "VORANDEL_Kelvaro_TOGGLE", 0, kShort, nullptr, true},
        {"the verb beside another wide verb", kVerbName, kUnicode, kLong, L"open", true},
        {"the verb, a size of 0", kVerbName, CMIC_MASK_UNICODE, 0, nullptr, true},
        {"a longer verb", "vorandel_kelvaro_toggle2", 0, kShort, nullptr, false},
        {"a shorter verb", "vorandel_kelvaro_toggl", 0, kShort, nullptr, false},
        {"the wide verb", "open", CMIC_MASK_UNICODE, kLong, L"Vorandel_KELVARO_toggle", true},
        {"the wide verb beside offset 1", offset1, CMIC_MASK_UNICODE, kLong, kWideVerbName, true},
        {"the wide verb, huge record", "", kUnicode, 0xFFFFFFFF, kWideVerbName, true},
        {"the wide verb, other masks", "open", kHost, kLong, kWideVerbName, false},
        {"the wide verb, a byte short", "open", CMIC_MASK_UNICODE, kLong - 1, kWideVerbName, false},
        {"a longer wide verb", "open", kUnicode, kLong, L"vorandel_kelvaro_toggle2", false},
        {"a shorter wide verb", "open", kUnicode, kLong, L"vorandel_kelvaro_toggl", false},
        {"a wide offset", "open", CMIC_MASK_UNICODE, kLong, wideOffset, false},
    };
    Strings expectedBoxes;
    for (const auto& [what, verb, mask, size, wideVerb, known] : cases) {
        CMINVOKECOMMANDINFOEX request = {};
        request.cbSize = size;
        request.fMask = mask;
        request.hwnd = reinterpret_cast<HWND>(uintptr_t{0x1234});
        request.lpVerb = verb;
        request.lpVerbW = wideVerb;
        DeleteFileW(kLog);
        // The launcher, which finds no prompt here, reports its failures itself.
        EXPECT_EQ(Menu().InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&request)),
                  known ? S_OK : E_FAIL)
            << what;
        EXPECT_EQ(Messages()[0], known ? "InvokeCommand start selected=C:\\Apps\\Tool.exe"
                                       : "InvokeCommand ignored unknown verb")
            << what;
        if (known) {
            expectedBoxes.push_back(
                "Vorandel Kelvaro: Cannot find KelvaroAuthPrompt.exe. owner=4660");
        }
        EXPECT_EQ(boxes_.shown, expectedBoxes) << what;
    }
}

TEST_F(MenuItem, InvokeFailsWithoutARequestOrSelection) {
    EXPECT_EQ(Menu().InvokeCommand(nullptr), E_INVALIDARG);
    EXPECT_EQ(Messages(), Strings());
    Extension fresh;
    EXPECT_EQ(fresh.Choose(), E_FAIL);
    CMINVOKECOMMANDINFO unknown = {};
    unknown.lpVerb = "open";
    EXPECT_EQ(fresh.Menu().InvokeCommand(&unknown), E_FAIL);
    EXPECT_EQ(Messages(),
              (Strings{"InvokeCommand selected path empty", "InvokeCommand ignored unknown verb"}));
}

// While the box is open, the host handles messages and can release the object.
TEST_F(MenuItem, LivesUntilItsErrorBoxIsClosed) {
    auto released = std::make_unique<Extension>();
    released->Select({kTool});
    IContextMenu& menu = released->Menu();
    const ULONG others = g_objectCount - 1;
    ULONG whileOpen = 0;
    boxes_.whileOpen = [&] {
        released.reset();
        whileOpen = g_objectCount;
    };
    CMINVOKECOMMANDINFO request = {};
    EXPECT_EQ(menu.InvokeCommand(&request), S_OK);
    EXPECT_EQ(whileOpen, others + 1);
    EXPECT_EQ(g_objectCount, others);
}

TEST_F(MenuItem, StartsThePromptWithTheSelectedPath) {
    InstallPrompt(kPrompt);
    CopyShortcut();
    extension_.Select({kShortcut});
    for (int calls = 1; calls <= 2; ++calls) {
        EXPECT_EQ(extension_.Choose(), S_OK);
        EXPECT_TRUE(WaitForPrompt(calls).commandLine.ends_with(" \"" + Utf8(kShortcut) + '"'));
        EXPECT_EQ(extension_.MenuText(), L"Unlock with Vorandel Kelvaro")
            << "the item stays the same for the life of the object";
    }
}

#ifndef _WIN32

// A virus scanner or a slow disk can delay each line. The library holds nothing of the host
// meanwhile.
TEST_F(MenuItem, HoldsNothingWhileItWritesTheLog) {
    CopyShortcut();
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    std::vector<std::string> held;
    const compat::Watch<&CreateFileW> watch([&held](LPCWSTR name, auto...) {
        if (name == std::wstring_view(kLog)) {
            held.push_back(compat::HeldResources());
        }
    });
    extension_.Select({kShortcut});
    extension_.Select({kTool, kTool});
    extension_.Select({L"C:\\a.txt"});
    for (const char* const failing : {"DragQueryFileW", "GlobalLock", "IPersistFile::Load"}) {
        const compat::FailingCall failure(failing, static_cast<DWORD>(E_FAIL), 1);
        extension_.Select({kShortcut});
    }
    EXPECT_EQ(extension_.Select({kTool}), S_OK);
    EXPECT_EQ(extension_.Choose(), S_OK);
    EXPECT_EQ(held, Strings(7 + 3, "1 module"));
    extension_.MenuText();
    EXPECT_EQ(held.back(), "1 menu, 1 module");
}

#endif

}  // namespace
}  // namespace kelvaro
