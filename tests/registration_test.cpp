#include "registration/registration.h"

#include <shlobj.h>

#include "common/owners.h"
#include "server/exports.h"
#include "shell_host/library.h"
#include "support/fixture.h"

#ifndef _WIN32
#include "testing/failing_calls.h"
#include "testing/watch.h"
#endif

namespace kelvaro {
namespace {

constexpr wchar_t kClasses[] = L"Software\\Classes\\";

// Returns the text of a registry value: "(none)" if it is missing, "(other type)" if it is not
// null-terminated text.
std::string Value(HKEY root, const std::wstring& path, const wchar_t* name = nullptr) {
    ScopedKey key;
    wchar_t text[1024] = {};
    DWORD size = sizeof text;
    DWORD type = REG_NONE;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) !=
            ERROR_SUCCESS) {
        return "(none)";
    }
    const bool whole = size == (std::wstring(text).size() + 1) * sizeof(wchar_t);
    return type == REG_SZ && whole ? Utf8(text) : "(other type)";
}

// Returns the five entries below a root and prefix, in the order of writing.
std::vector<std::string> Entries(HKEY root, const std::wstring& prefix) {
    const std::wstring classKey = prefix + L"CLSID\\" + DriveTest::kClsidText;
    const std::wstring handler = L"\\shellex\\ContextMenuHandlers\\VorandelKelvaro";
    return {Value(root, classKey), Value(root, classKey + L"\\InprocServer32"),
            Value(root, classKey + L"\\InprocServer32", L"ThreadingModel"),
            Value(root, prefix + L"exefile" + handler), Value(root, prefix + L"lnkfile" + handler)};
}

// The entries below a root without a registration.
const std::vector<std::string> kNone(5, "(none)");

std::vector<std::string> EntriesFor(const std::wstring& library) {
    return {"Vorandel Kelvaro Shell Extension", Utf8(library), "Apartment",
            Utf8(DriveTest::kClsidText), Utf8(DriveTest::kClsidText)};
}

using Registration = DriveTest;

TEST_F(Registration, WritesToTheUsersClassesAndReplacesAnEarlierRegistration) {
    const std::wstring library = InstallLibrary(TestPath(L"%TEMP%"));
    for (int calls = 0; calls < 2; ++calls) {
        EXPECT_EQ(DllRegisterServer(), S_OK);
        EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses), EntriesFor(library));
        EXPECT_EQ(Entries(HKEY_LOCAL_MACHINE, kClasses), kNone);
    }
    const std::wstring moved = TestPath(L"New\\KelvaroShellExt.dll");
    Copy(library, moved);
    EXPECT_EQ(shell_host::CallRegistration(moved, "DllRegisterServer"), S_OK);
    EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses), EntriesFor(moved));
}

TEST_F(Registration, UnregistrationRemovesOnlyItsOwnKeys) {
    EXPECT_EQ(DllUnregisterServer(), S_OK) << "nothing is registered";
    const std::wstring library = InstallLibrary();
    const std::wstring others[] = {
        L"Software\\Classes\\exefile\\shellex\\ContextMenuHandlers\\KelvaroTest",
        L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers\\KelvaroTest"};
    for (const std::wstring& other : others) {
        EXPECT_EQ(WriteRegistryString(HKEY_CURRENT_USER, other, L"", L"{x}"), S_OK);
    }
    // On Windows only an administrator may write there.
    RegisterUnderRoot(HKEY_CLASSES_ROOT, L"", kClsidText, library);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses), kNone);
    EXPECT_EQ(Entries(HKEY_CLASSES_ROOT, L""), kNone);
    for (const std::wstring& other : others) {
        EXPECT_EQ(Value(HKEY_CURRENT_USER, other), "{x}");
    }
}

#ifndef _WIN32

// Counts the notifications of the shell that associations have changed.
class Notifications {
  public:
    int count = 0;

  private:
    compat::Watch<&SHChangeNotify> watch_{
        [this](LONG event, UINT flags, LPCVOID first, LPCVOID second) {
            ++count;
            EXPECT_EQ(event, SHCNE_ASSOCCHANGED);
            EXPECT_EQ(flags, SHCNF_IDLIST);
            EXPECT_EQ(first, nullptr);
            EXPECT_EQ(second, nullptr);
        }};
};

TEST_F(Registration, FallsBackToTheMachinesClassesAfterAnyError) {
    constexpr size_t kNever = SIZE_MAX;
    const struct {
        const char* call;
        size_t user, machine;  // numbers of the writes that fail below the roots
        DWORD userError, machineError;
    } cases[] = {
        {"RegCreateKeyExW", 0, kNever, ERROR_ACCESS_DENIED, 0},
        {"RegCreateKeyExW", 4, kNever, ERROR_DISK_FULL, 0},
        {"RegSetValueExW", 2, kNever, ERROR_NOT_ENOUGH_MEMORY, 0},
        {"RegCreateKeyExW", 0, 0, ERROR_DISK_FULL, ERROR_ACCESS_DENIED},
        {"RegSetValueExW", 4, 4, ERROR_ACCESS_DENIED, ERROR_DISK_FULL},
        // The user's five writes suffice; a sixth would fail.
        {"RegSetValueExW", 5, kNever, ERROR_ACCESS_DENIED, 0},
    };
    const compat::Watch<&RegCreateKeyExW> watch(
        [](auto, auto, auto, auto, auto, REGSAM access, auto...) { EXPECT_EQ(access, KEY_WRITE); });
    const std::wstring library = InstallLibrary();
    for (const auto& [call, user, machine, userError, machineError] : cases) {
        DeleteFileW(L"C:\\registry.json");
        const Notifications notifications;
        const compat::FailingCall first(call, userError, user, 1);
        const compat::FailingCall second(call, machineError,
                                         machine == kNever ? kNever : user + 1 + machine, 1);
        const bool succeeds = machineError == ERROR_SUCCESS;
        EXPECT_EQ(DllRegisterServer(), HRESULT_FROM_WIN32(machineError)) << call << user;
        EXPECT_EQ(notifications.count, succeeds ? 1 : 0) << call << user;
        EXPECT_EQ(Entries(HKEY_CLASSES_ROOT, L"") == EntriesFor(library), succeeds) << call << user;
        const auto left = Entries(HKEY_CURRENT_USER, kClasses);
        for (size_t entry = 0; entry < std::min(user, left.size()); ++entry) {
            EXPECT_EQ(left[entry], EntriesFor(library)[entry]) << "kept: unregistering clears both";
        }
        EXPECT_EQ(Entries(HKEY_LOCAL_MACHINE, kClasses)[4] != "(none)", succeeds && user < 5)
            << call << user;
    }
}

// See "What hosts can rely on" in docs/architecture.md.
TEST_F(Registration, UnregistrationGoesOnAfterFailures) {
    {
        const Notifications notifications;
        EXPECT_EQ(DllUnregisterServer(), S_OK) << "nothing is registered";
        EXPECT_EQ(notifications.count, 1);
    }
    const std::wstring library = InstallLibrary();
    for (size_t failing = 0; failing < 6; ++failing) {
        EXPECT_EQ(RegisterUnderRoot(HKEY_LOCAL_MACHINE, kClasses, kClsidText, library), S_OK);
        EXPECT_EQ(DllRegisterServer(), S_OK);
        const Notifications notifications;
        {
            const compat::FailingCall failure("RegDeleteTreeW", ERROR_ACCESS_DENIED, failing, 1);
            EXPECT_EQ(DllUnregisterServer(), S_OK);
        }
        EXPECT_EQ(notifications.count, 1);
        int left = 0;  // trees, each with one of these entries
        for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
            const std::vector<std::string> entries = Entries(root, kClasses);
            left += (entries[0] != "(none)") + (entries[3] != "(none)") + (entries[4] != "(none)");
        }
        EXPECT_EQ(left, 1) << failing;
    }
}

#endif

}  // namespace
}  // namespace kelvaro
