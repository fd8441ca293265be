// Limits the slow platform calls of a right-click. They dominate the delay that users see,
// especially with a virus scanner. Raise a limit only deliberately.

#include "support/extension.h"
#include "support/fixture.h"
#include "testing/counted_calls.h"

namespace kelvaro {
namespace {

using CallBudget = DriveTest;

TEST_F(CallBudget, EntryPointsMakeNoMoreSlowCallsThanPlanned) {
    InstallLibrary();
    WriteApplicationFiles();
    Copy(platform::BuiltFile("/bin/true"), kPrompt);
    Write(kLog, "");
    compat::CountedCalls calls;
    // Checks the calls since the last check.
    const auto expectAtMost = [&calls](size_t limit, const char* what) {
        auto made = calls.Take();
        size_t slow = 0;
        for (const char* const name :
             {"CreateFileW", "GetFileAttributesW", "RegOpenKeyExW", "GetModuleFileNameW",
              "CreateProcessW", "CoCreateInstance"}) {
            slow += made[name];
        }
        EXPECT_LE(slow, limit) << what;
    };
    // One text needs the module's path once, the language setting three times, two existence tests
    // and the language file.
    constexpr size_t kText = 7;
    Extension extension;
    extension.Select({kTool});
    expectAtMost(2, "Initialize with a program");
    extension.Select({kShortcut});
    expectAtMost(3, "Initialize with a shortcut");
    EXPECT_EQ(extension.MenuText(), L"Unlock with Vorandel Kelvaro");
    expectAtMost(1 + 2 * kText, "QueryContextMenu");
    extension.MenuText(CMF_DEFAULTONLY);
    expectAtMost(0, "QueryContextMenu for the default item only");
    EXPECT_EQ(extension.Choose(), S_OK);
    expectAtMost(6, "InvokeCommand");
    DeleteFileW(kPrompt.c_str());
    extension.Choose();
    expectAtMost(6 + 2 * kText, "InvokeCommand without a prompt");
    EXPECT_EQ(boxes_.shown.size(), 1U);
}

}  // namespace
}  // namespace kelvaro
