// What the setup program does for a user or another setup.

#include "common/module_path.h"
#include "support/setup_program.h"

namespace kelvaro {
namespace {

namespace fs = std::filesystem;

using SetupProgram = SetupTest;

TEST_F(SetupProgram, InstallsUpdatesAndRemoves) {
    const State nothing = ReadState();
    Expect(0, "Installed the extension in \"C:\\Test\\Target\"", L"install C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"C:\\Test\\Target\\KelvaroShellExt.dll");
    const State installed = ReadState();
    for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
        EXPECT_EQ(Read(JoinPath(kTarget, name)), Read(JoinPath(kSource, name)));
    }
    Expect(0, "", L"install --quiet C:\\Test\\Target");
    EXPECT_EQ(Difference(installed, ReadState()), "");
    InstallEarlierVersion(kTarget);
    EXPECT_EQ(Run(L"install C:\\Test\\Target --quiet").output, "");
    EXPECT_EQ(Difference(installed, ReadState()), "");
    Write(JoinPath(kTarget, L"Lang\\Own.ini"), "not of the extension");
    Expect(0, "Removed the registration", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"");
    EXPECT_FALSE(Exists(JoinPath(kTarget, kDll)) || Exists(JoinPath(kTarget, kEnglish)));
    EXPECT_TRUE(Exists(JoinPath(kTarget, L"Lang\\Own.ini")));
    fs::remove(JoinPath(kTarget, L"Lang\\Own.ini"));
    Expect(0, "not installed in", L"uninstall C:\\Test\\Target");
    fs::remove(kTarget);
    EXPECT_EQ(Difference(nothing, ReadState()), "");
    Expect(0, "Registered the extension in", L"register");
    EXPECT_EQ(RegisteredLibrary(), L"C:\\Test\\Source\\KelvaroShellExt.dll");
    Expect(0, "Removed the registration", L"unregister");
    EXPECT_EQ(Difference(nothing, ReadState()), "");
}

TEST_F(SetupProgram, RefusesWrongUsage) {
    InstallEarlierVersion(kTarget);
    const State before = ReadState();
    // The scripts before version 1.2 took the directory from this variable.
    const ScopedVariable target(L"target", kTarget);
    for (const std::wstring command : {L"install", L"uninstall"}) {
        const std::wstring wrong[] = {command,
                                      command + L" \"\"",
                                      command + L" C:\\a b",
                                      command + L" C:\\Test\\T*",
                                      command + L" C:\\Test\\Targe?",
                                      command + L" \\\\?\\C:\\Test\\Targe?"};
        for (const std::wstring& arguments : wrong) {
            const Result result = Run(arguments, kTarget);
            EXPECT_EQ(result.status, 2U) << Utf8(arguments) << '\n' << result.output;
        }
        EXPECT_EQ(Run(command + L" /?").status, 0U);
    }
    for (const wchar_t* const wrong : {L"", L"remove", L"register x", L"--quiet"}) {
        EXPECT_EQ(Run(wrong).status, 2U) << Utf8(wrong);
    }
    EXPECT_NE(Run(L"/?").output.find("setup install DIRECTORY"), std::string::npos);
    EXPECT_EQ(Difference(before, ReadState()), "");
    EXPECT_FALSE(Exists(L"C:\\KelvaroShellExt.dll"));
}

TEST_F(SetupProgram, AcceptsEverySpellingOfADirectory) {
    const std::wstring odd = L"C:\\Test\\Setup (1) & ^ 100%TEMP%! 软件";
    const struct {
        std::wstring argument;
        std::wstring directory;
    } cases[] = {
        {L'"' + odd + L'"', odd},
        {L"\"C:\\Test\\with blank\\\" --quiet", L"C:\\Test\\with blank"},
        {L"C:\\Test\\a/b\\\\", L"C:\\Test\\a\\b"},
        {L"C:\\Test\\a\\..\\c\\.", L"C:\\Test\\c"},
        {L"\\\\?\\C:\\Test\\d\\", L"C:\\Test\\d"},
        {L"\\\\.\\C:\\Test\\e", L"C:\\Test\\e"},
        {L"relative", L"C:\\Test\\relative"},
        {L".", L"C:\\Test"},
    };
    for (const auto& [argument, directory] : cases) {
        for (const wchar_t* const command : {L"install ", L"uninstall "}) {
            const Result result = Run(command + argument, L"C:\\Test");
            EXPECT_EQ(result.status, 0U) << Utf8(argument) << '\n' << result.output;
            const bool installed = command == std::wstring(L"install ");
            EXPECT_EQ(Exists(JoinPath(directory, kDll)), installed) << Utf8(directory);
            EXPECT_EQ(RegisteredLibrary(), installed ? JoinPath(directory, kDll) : L"");
        }
    }
}

// Whether the system loads a DLL with such a path is found out by loading it.
TEST_F(SetupProgram, LongPathsAreUsableOrRefused) {
    std::wstring directory = L"C:\\Test";
    while (directory.size() < 300) {
        directory += L"\\" + std::wstring(40, L'd');
    }
    const State before = ReadState();
    const Result result = Run(L"install " + directory);
    if (result.status == 0) {
        EXPECT_TRUE(rightclick::Library(RegisteredLibrary()).IsLoaded());
        EXPECT_EQ(Run(L"uninstall " + directory).status, 0U);
        EXPECT_EQ(RegisteredLibrary(), L"");
    } else {
        EXPECT_EQ(result.status, 1U);
        EXPECT_NE(result.output.find("The path may be too long"), std::string::npos)
            << result.output;
        EXPECT_EQ(Difference(before, ReadState()), "");
    }
}

TEST_F(SetupProgram, KeepsTheInstalledVersionIfTheNewOneIsUnusable) {
    Copy(platform::BuiltFile(KELVARO_BAD_LIBRARY), JoinPath(kSource, kDll));
    Expect(1, "0x80070005", L"install C:\\Test\\New\\Directory");
    Copy(platform::BuiltFile(KELVARO_LIBRARY), JoinPath(kSource, kDll));
    InstallEarlierVersion(kTarget);
    const std::wstring library = JoinPath(kSource, kDll);
    Write(library, Read(library).substr(0, 30000));
    Expect(1, "Cannot load", L"install C:\\Test\\Target");
    Expect(1, "Cannot load", L"install C:\\Test\\New");
    Copy(L"C:\\windows\\system32\\version.dll", library);
    Expect(1, "0x8007007F", L"install C:\\Test\\Target");
    Expect(1, "Cannot load", L"register");
    Copy(platform::BuiltFile(KELVARO_BAD_LIBRARY), library);
    Expect(1, "0x80070005", L"install C:\\Test\\Target");
    Expect(1, "0x80070005", L"install C:\\Test\\New");
    for (const wchar_t* const behaviour : {L"crashes", L"does nothing"}) {
        const ScopedVariable variable(L"KELVARO_BAD_LIBRARY", behaviour);
        Expect(1, "Cannot register", L"install C:\\Test\\New");
        Expect(1, "Cannot register", L"register");
    }
}

TEST_F(SetupProgram, RemovesABrokenVersion) {
    InstallEarlierVersion(kTarget);
    Write(JoinPath(kTarget, kDll), "broken");
    Expect(0, "Removed", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"");
    EXPECT_TRUE(fs::is_empty(kTarget));
    InstallEarlierVersion(kTarget);
    fs::remove_all(kTarget);
    Expect(0, "Removed the registration", L"uninstall C:\\Test\\Target");
    EXPECT_EQ(RegisteredLibrary(), L"");
}

TEST_F(SetupProgram, RemovesOnlyItsOwnRegistration) {
    InstallEarlierVersion(kTarget);
    InstallEarlierVersion(kOther);
    for (const wchar_t* const arguments :
         {L"uninstall C:\\Test\\Typo", L"uninstall C:\\Test\\Target", L"unregister"}) {
        Expect(0, "The extension in \"C:\\Test\\Other\" stays registered", arguments);
        EXPECT_EQ(RegisteredLibrary(), JoinPath(kOther, kDll));
    }
    EXPECT_FALSE(Exists(JoinPath(kTarget, kDll)));
    EXPECT_TRUE(Exists(JoinPath(kOther, kDll)));

    // Other spellings of the same directory.
    const struct {
        DWORD type;
        std::wstring library;
    } cases[] = {
        {REG_SZ, L"\"c:\\test\\OTHER\\KelvaroShellExt.dll\""},
        {REG_SZ, L"\\\\?\\C:\\Test\\Other\\KelvaroShellExt.dll"},
        {REG_SZ, L"C:\\Test\\Target\\..\\Other\\\\KelvaroShellExt.dll"},
        {REG_EXPAND_SZ, L"%KELVARO_TEST%\\KelvaroShellExt.dll"},
    };
    const ScopedVariable variable(L"KELVARO_TEST", kOther);
    for (const auto& [type, library] : cases) {
        InstallEarlierVersion(kOther);
        const std::wstring key =
            std::wstring(kClasses) + L"CLSID\\" + kClsidText + std::wstring(kServerKey);
        RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, type, library.c_str(),
                        static_cast<DWORD>((library.size() + 1) * sizeof(wchar_t)));
        Expect(0, "Removed the registration", L"uninstall C:\\Test\\Other");
        EXPECT_EQ(RegisteredLibrary(), L"") << Utf8(library);
    }

    // The machine's classes, which DllRegisterServer uses if it cannot write to the user's.
    InstallEarlierVersion(kTarget);
    ASSERT_EQ(RegisterUnderRoot(HKEY_LOCAL_MACHINE, kClasses, kClsidText, JoinPath(kOther, kDll)),
              S_OK);
    Expect(0, "The extension in \"C:\\Test\\Other\" stays", L"uninstall C:\\Test\\Target");
    {
        const ScopedHandle file(CreateFileW(JoinPath(kOther, kEnglish).c_str(), GENERIC_READ,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        Expect(1, "Close the program", L"uninstall C:\\Test\\Other");
    }
    EXPECT_EQ(RegisteredLibrary(), JoinPath(kOther, kDll)) << "restored";
    Expect(0, "Removed the registration", L"uninstall C:\\Test\\Other");
    EXPECT_EQ(RegisteredLibrary(), L"");
}

TEST_F(SetupProgram, ReplacesReadOnlyFiles) {
    for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
        SetFileAttributesW(JoinPath(kSource, name).c_str(), FILE_ATTRIBUTE_READONLY);
    }
    for (const char* const expected : {"Installed", "Installed", "Removed"}) {
        const bool removes = expected == std::string("Removed");
        Expect(0, expected, removes ? L"uninstall C:\\Test\\Target" : L"install C:\\Test\\Target");
        for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
            const std::wstring path = JoinPath(kTarget, name);
            EXPECT_EQ(Exists(path), !removes);
            EXPECT_TRUE(removes ||
                        (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) == 0);
            SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
        }
    }
    EXPECT_TRUE(fs::is_empty(kTarget));
}

TEST_F(SetupProgram, DirectoriesInTheWayStay) {
    InstallEarlierVersion(kTarget);
    for (const wchar_t* const suffix : {L".new", L".1.new", L".2.old"}) {
        MakeDirectory(JoinPath(kTarget, kDll) + suffix);
    }
    Expect(0, "Installed", L"install C:\\Test\\Target");
    EXPECT_EQ(Read(JoinPath(kTarget, kDll)), Read(JoinPath(kSource, kDll)));
    Expect(0, "Removed", L"uninstall C:\\Test\\Target");
    EXPECT_TRUE(Exists(JoinPath(kTarget, kDll) + L".1.new"));

    MakeDirectory(JoinPath(kTarget, kDll));
    Expect(1, "a directory has this name", L"install C:\\Test\\Target");
    Write(L"C:\\Test\\File", "");
    Expect(1, "a file has this name", L"install C:\\Test\\File");
    Write(L"C:\\Test\\New\\Lang", "");
    Expect(1, "New\\Lang\": a file has this name", L"install C:\\Test\\New");
    Expect(1, "C:\\Test\\File", L"install C:\\Test\\File\\Below");
}

TEST_F(SetupProgram, NeedsTheWholeArchive) {
    for (const std::wstring name : {kDll, kEnglish, kChinese}) {
        const std::wstring path = JoinPath(kSource, name);
        fs::rename(path, path + L"x");
        Expect(1, "Unpack the whole archive first: " + Utf8(name) + " is not beside this program.",
               L"install C:\\Test\\Target");
        fs::rename(path + L"x", path);
    }
}

TEST_F(SetupProgram, ReplacesAndRemovesALoadedLibrary) {
    InstallEarlierVersion(kTarget);
    const std::wstring library = JoinPath(kTarget, kDll);
    {
        const rightclick::Library loaded(library);
        ASSERT_TRUE(loaded.IsLoaded());
        Expect(0, "KelvaroShellExt.dll.1.old", L"install C:\\Test\\Target");
        EXPECT_EQ(Read(library), Read(JoinPath(kSource, kDll)));
        Expect(0, "KelvaroShellExt.dll.1.old", L"uninstall C:\\Test\\Target");
        EXPECT_FALSE(Exists(library));
        EXPECT_EQ(ReadModulePath(loaded.Handle()).error, 0U);
    }
    Expect(0, "not installed", L"uninstall C:\\Test\\Target");
    EXPECT_TRUE(fs::is_empty(kTarget));
}

TEST_F(SetupProgram, AFileThatCannotBeRenamedKeepsEverything) {
    for (const wchar_t* const name : {kDll, kEnglish}) {
        InstallEarlierVersion(kTarget);
        const ScopedHandle file(CreateFileW(JoinPath(kTarget, name).c_str(), GENERIC_READ,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        Expect(1, Utf8(JoinPath(kTarget, name)), L"install C:\\Test\\Target");
        Expect(1, "Close the program", L"uninstall C:\\Test\\Target");
    }
}

TEST_F(SetupProgram, WaitsForAnotherSetup) {
    HANDLE other = CreateMutexW(nullptr, TRUE, L"Global\\VorandelKelvaroSetup");
    Expect(1, "Another setup is running", L"install C:\\Test\\Target");
    Process waiting(L"install C:\\Test\\Target");
    Sleep(500);
    EXPECT_FALSE(Exists(JoinPath(kTarget, kDll)));
    ReleaseMutex(other);
    CloseHandle(other);
    EXPECT_EQ(waiting.WaitForEnd().status, 0U);
}

// The names that a run of another user, or an earlier version, leaves if it is killed.
TEST_F(SetupProgram, RestoresALibraryThatWasOnlyRenamed) {
    InstallEarlierVersion(kTarget);
    const State before = ReadState();
    const std::wstring library = JoinPath(kTarget, kDll);
    fs::rename(library, library + L".12.old");
    Write(library + L".3.old", "older");
    Write(library + L".new", "new");
    fs::remove(JoinPath(kSource, kEnglish));
    EXPECT_EQ(Run(L"install C:\\Test\\Target").status, 1U);
    EXPECT_EQ(Difference(before, ReadState()), "");
}

}  // namespace
}  // namespace kelvaro
