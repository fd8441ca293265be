#include "registration/registration.h"

#include "common/owners.h"
#include "server/module.h"
#include "support/fixture.h"

STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();

namespace kelvaro {
namespace {

constexpr wchar_t kClsid[] = L"{A36AA93F-0FF6-4369-BF38-78FAADC0C5ED}";
constexpr wchar_t kClasses[] = L"Software\\Classes\\";

// The text of a value: "(none)" without one, "(other type)" for another type than text.
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
    return type == REG_SZ && whole ? Narrow(text) : "(other type)";
}

// The five entries below a root and prefix, in the order of writing.
std::vector<std::string> Entries(HKEY root, const std::wstring& prefix) {
    const std::wstring classKey = prefix + L"CLSID\\" + kClsid;
    const std::wstring handler = L"\\shellex\\ContextMenuHandlers\\VorandelKelvaro";
    return {Value(root, classKey), Value(root, classKey + L"\\InprocServer32"),
            Value(root, classKey + L"\\InprocServer32", L"ThreadingModel"),
            Value(root, prefix + L"exefile" + handler), Value(root, prefix + L"lnkfile" + handler)};
}

std::vector<std::string> EntriesFor(const std::wstring& library) {
    return {"Vorandel Kelvaro Shell Extension", Narrow(library), "Apartment", Narrow(kClsid),
            Narrow(kClsid)};
}

using Registration = DriveTest;

TEST_F(Registration, IsTheUsersOwn) {
    const std::wstring library = InstallLibrary();
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses), EntriesFor(library));
    EXPECT_EQ(Entries(HKEY_LOCAL_MACHINE, kClasses), std::vector<std::string>(5, "(none)"));
}

TEST_F(Registration, TwiceFromElsewhereMovesIt) {
    InstallLibrary(L"C:\\Test\\Old");
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    Copy(L"C:\\Test\\Old\\KelvaroShellExt.dll", L"C:\\Test\\New\\KelvaroShellExt.dll");
    const HMODULE moved = LoadLibraryW(L"C:\\Test\\New\\KelvaroShellExt.dll");
    const auto registerMoved = reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(moved, "DllRegisterServer")));
    ASSERT_NE(registerMoved, nullptr);
    EXPECT_EQ(registerMoved(), S_OK);
    FreeLibrary(moved);
    EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses),
              EntriesFor(L"C:\\Test\\New\\KelvaroShellExt.dll"));
}

TEST_F(Registration, RemovalTakesOnlyWhatIsOurs) {
    EXPECT_EQ(DllUnregisterServer(), S_OK) << "nothing is registered";
    const std::wstring library = InstallLibrary();
    const std::wstring handlers = L"Software\\Classes\\exefile\\shellex\\ContextMenuHandlers";
    EXPECT_EQ(WriteRegistryString(HKEY_CURRENT_USER, handlers + L"\\Other", L"", L"{x}"), S_OK);
    EXPECT_EQ(RegisterUnderRoot(HKEY_CLASSES_ROOT, L"", kClsid, library), S_OK);
    EXPECT_EQ(DllRegisterServer(), S_OK);
    EXPECT_EQ(DllUnregisterServer(), S_OK);
    EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses), std::vector<std::string>(5, "(none)"));
    EXPECT_EQ(Entries(HKEY_CLASSES_ROOT, L""), std::vector<std::string>(5, "(none)"));
    EXPECT_EQ(Value(HKEY_CURRENT_USER, handlers + L"\\Other"), "{x}");
    ScopedKey parent;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER,
                            L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers", 0,
                            KEY_READ, parent.Put()),
              ERROR_SUCCESS);
}

TEST_F(Registration, NeedsTheModulesPath) {
    g_moduleHandle = reinterpret_cast<HMODULE>(uintptr_t{0x10});
    EXPECT_EQ(DllRegisterServer(), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(Entries(HKEY_CURRENT_USER, kClasses), std::vector<std::string>(5, "(none)"));
}

TEST_F(Registration, AFailingWriteTellsWhy) {
    EXPECT_EQ(WriteRegistryString(reinterpret_cast<HKEY>(uintptr_t{0x10}), L"a", L"", L""),
              HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE));
}

TEST_F(Registration, WritesNamedAndDefaultValues) {
    EXPECT_EQ(
        WriteRegistryString(HKEY_CURRENT_USER, L"Software\\Vorandel\\T", L"n\"a\\me", L"d\"\\"),
        S_OK);
    EXPECT_EQ(WriteRegistryString(HKEY_CURRENT_USER, L"Software\\Vorandel\\T", L"", L""), S_OK);
    EXPECT_EQ(Value(HKEY_CURRENT_USER, L"Software\\Vorandel\\T", L"N\"A\\ME"), "d\"\\");
    EXPECT_EQ(Value(HKEY_CURRENT_USER, L"software\\VORANDEL\\t"), "");
}

}  // namespace
}  // namespace kelvaro
