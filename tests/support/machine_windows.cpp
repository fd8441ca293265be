// Keeps the machine as it was. Tests write to places of the application, so a test program runs
// none where the application is installed, and removes what they made.

#include <windows.h>

#include <cstdio>
#include <filesystem>

#include "common/owners.h"
#include "common/path.h"
#include "common/text.h"
#include "registration/keys.h"
#include "support/fixture.h"

namespace platform {
namespace {

// Is in the environment of the programs that a test starts. A test program among them neither
// checks the machine nor cleans it.
constexpr wchar_t kStartedByTest[] = L"KELVARO_STARTED_BY_TEST";

// A registry key, or a directory if the root is null.
struct Place {
    HKEY root;
    std::wstring path;
};

// Returns what tests create. Only an administrator's tests write below HKEY_LOCAL_MACHINE.
std::vector<Place> Places() {
    using namespace kelvaro;
    std::vector<Place> places = {{nullptr, TestPath()},
                                 {nullptr, DriveTest::kData},
                                 {HKEY_CURRENT_USER, L"Software\\Vorandel\\Kelvaro"}};
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        places.push_back({root, Concat({kClasses, kClassKey, DriveTest::kClsidText})});
        for (const std::wstring_view file : {kProgramClass, kShortcutClass}) {
            places.push_back({root, Concat({kClasses, file, kHandlerKey})});
            places.push_back(
                {root, Concat({kClasses, file, L"\\shellex\\ContextMenuHandlers\\KelvaroTest"})});
        }
    }
    return places;
}

bool Exists(const Place& place) {
    kelvaro::ScopedKey key;
    return place.root == nullptr ? GetFileAttributesW(place.path.c_str()) != INVALID_FILE_ATTRIBUTES
                                 : RegOpenKeyExW(place.root, place.path.c_str(), 0, KEY_READ,
                                                 key.Put()) == ERROR_SUCCESS;
}

// Returns the places that exist, each on a line of its own.
std::string Existing() {
    std::string lines;
    for (const Place& place : Places()) {
        if (Exists(place)) {
            lines += place.root == nullptr             ? "\n  "
                     : place.root == HKEY_CURRENT_USER ? "\n  HKCU\\"
                                                       : "\n  HKLM\\";
            lines += Utf8(place.path);
        }
    }
    return lines;
}

// Removes what tests have made. Fails the test if something is left after twenty seconds.
void Remove() {
    // A prompt that a test has started, or a virus scanner, may have a file open for a while.
    for (int tries = 0; tries < 200 && !Existing().empty(); ++tries) {
        Sleep(tries == 0 ? 0 : 100);
        std::error_code error;
        for (const auto& [root, path] : Places()) {
            if (root == nullptr) {
                std::filesystem::remove_all(path, error);
            } else {
                RegDeleteTreeW(root, path.c_str());
            }
        }
    }
    EXPECT_EQ(Existing(), "") << "cannot be deleted";
}

class Machine : public testing::Environment {
  public:
    void SetUp() override {
        std::string existing = Existing();
        // From now on other test programs refuse to run, except while Reset replaces the directory.
        if (existing.empty() && !CreateDirectoryW(TestPath().c_str(), nullptr)) {
            existing = "\n  " + Utf8(TestPath());
        }
        if (!existing.empty()) {
            std::printf(
                "No test is run: tests overwrite what is here. Uninstall the application, then "
                "delete what it or an interrupted run has left:%s\n",
                existing.c_str());
            std::fflush(stdout);
            ExitProcess(1);
        }
        for (Place place : Places()) {
            while (place.path = kelvaro::ParentPath(place.path), !Exists(place)) {
                missingParents_.push_back(place);
            }
        }
        SetEnvironmentVariableW(kStartedByTest, L"1");
        SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);  // a crash opens no window
    }

    void TearDown() override {
        Remove();
        // Neither call deletes what has a directory, file or key of others below it.
        for (const auto& [root, path] : missingParents_) {
            root == nullptr ? RemoveDirectoryW(path.c_str()) : RegDeleteKeyW(root, path.c_str());
        }
    }

  private:
    std::vector<Place> missingParents_;
};

// The test programs link GoogleTest's own main function.
[[maybe_unused]] testing::Environment* const g_machine =
    GetEnvironmentVariableW(kStartedByTest, nullptr, 0) == 0
        ? testing::AddGlobalTestEnvironment(new Machine)
        : nullptr;

}  // namespace

void Reset() {
    Remove();
    CreateDirectoryW(TestPath().c_str(), nullptr);
}

}  // namespace platform
