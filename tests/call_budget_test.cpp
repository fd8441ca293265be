// Limits the slow platform calls of a right-click. They dominate the delay that users see,
// especially with a virus scanner. Raise a limit only deliberately.

#include "support/extension.h"
#include "support/fixture.h"
#include "testing/counted_calls.h"

namespace kelvaro {
namespace {

using Counts = std::map<std::string, size_t>;

// Returns the limits of an entry point that writes `lines` log lines, loads `texts` texts and makes
// `others`. For one text it needs the module's path once, the language setting three times (for
// each of two folders and for the result), two existence tests and the language file.
Counts Limits(size_t lines, size_t texts, Counts others = {}) {
    others["CreateFileW"] += lines + texts;
    others["GetModuleFileNameW"] += texts;
    others["RegOpenKeyExW"] += 3 * texts;
    others["GetFileAttributesW"] += 2 * texts;
    return others;
}

using CallBudget = DriveTest;

TEST_F(CallBudget, EntryPointsMakeNoMoreSlowCallsThanPlanned) {
    InstallLibrary();
    WriteApplicationFiles();
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    Write(kLog, "");
    compat::CountedCalls calls;
    // Checks the calls since the last check.
    const auto check = [&calls](const char* what, Counts limits) {
        Counts made = calls.Take();
        for (const char* const name :
             {"CreateFileW", "GetFileAttributesW", "RegOpenKeyExW", "GetModuleFileNameW",
              "CreateProcessW", "CoCreateInstance"}) {
            EXPECT_LE(made[name], limits[name]) << name << " in " << what;
        }
    };
    Extension extension;
    EXPECT_EQ(extension.Select({kTool}), S_OK);
    check("Initialize with a program", Limits(1, 0, {{"CreateFileW", 1}}));
    EXPECT_EQ(extension.Select({kShortcut}), S_OK);
    check("Initialize with a shortcut",
          Limits(1, 0, {{"CreateFileW", 1}, {"CoCreateInstance", 1}}));
    EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro");
    check("QueryContextMenu", Limits(1, 2));
    EXPECT_EQ(extension.MenuText(CMF_DEFAULTONLY), L"");
    check("QueryContextMenu for a double click", {});
    for (const auto& [kind, texts] : {std::pair(GCS_VERBW, 0U), std::pair(GCS_HELPTEXTW, 2U)}) {
        wchar_t text[80] = {};
        extension.Menu().GetCommandString(0, kind, nullptr, reinterpret_cast<LPSTR>(text), 80);
        check("GetCommandString", Limits(0, texts));
    }
    EXPECT_EQ(extension.Choose(), S_OK);
    check("InvokeCommand",
          Limits(3, 0,
                 {{"GetModuleFileNameW", 1}, {"GetFileAttributesW", 1}, {"CreateProcessW", 1}}));
    DeleteFileW(kPrompt.c_str());
    EXPECT_EQ(extension.Choose(), S_OK);
    check("InvokeCommand without a prompt",
          Limits(2, 2, {{"GetModuleFileNameW", 1}, {"GetFileAttributesW", 3}}));
    EXPECT_EQ(boxes_.shown.size(), 1U);
}

}  // namespace
}  // namespace kelvaro
