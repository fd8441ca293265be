// What the setup program does for a user or another setup.

#include "common/module_path.h"
#include "common/text.h"
#include "support/setup_program.h"

namespace kelvaro {
namespace {

namespace fs = std::filesystem;

using SetupProgram = SetupTest;

void SetReadOnly(const std::wstring& directory) {
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_READONLY);
        }
    }
}

// The files of the archive and those that setup finds have the read-only attribute, as copies from
// a CD do. Those that it writes have not.
TEST_F(SetupProgram, InstallsUpdatesAndRemoves) {
    const State nothing = ReadState();
    SetReadOnly(kSource);
    Expect(0, "Installed the extension in \"" + Utf8(kTarget) + '"', kInstall);
    EXPECT_EQ(RegisteredLibrary(), JoinPath(kTarget, kDll));
    const State installed = ReadState();
    for (const wchar_t* const name : {kDll, kEnglish, kChinese}) {
        const std::wstring file = JoinPath(kTarget, name);
        EXPECT_EQ(Read(file), Read(JoinPath(kSource, name)));
        EXPECT_EQ(GetFileAttributesW(file.c_str()) & FILE_ATTRIBUTE_READONLY, 0U);
    }
    InstallEarlierVersion(kTarget);
    SetReadOnly(kTarget);
    EXPECT_EQ(Run(kInstall + L" --quiet").output, "");
    EXPECT_EQ(Difference(installed, ReadState()), "");
    SetReadOnly(kTarget);
    Write(JoinPath(kTarget, L"Lang\\Own.ini"), "not of the extension");
    Expect(0, "Removed the registration", kUninstall);
    EXPECT_EQ(RegisteredLibrary(), L"");
    EXPECT_TRUE(fs::remove(JoinPath(kTarget, L"Lang\\Own.ini")));
    Expect(0, "not installed in", kUninstall);
    fs::remove(kTarget);  // throws unless it is empty
    EXPECT_EQ(Difference(nothing, ReadState()), "");
    Expect(0, "Registered the extension in", L"register");
    EXPECT_EQ(RegisteredLibrary(), JoinPath(kSource, kDll));
    Expect(0, "Removed the registration", L"unregister");
    EXPECT_EQ(Difference(nothing, ReadState()), "");
}

TEST_F(SetupProgram, RefusesWrongUsage) {
    InstallEarlierVersion(kTarget);
    const State before = ReadState();
    // The scripts before version 1.2 took the directory from this variable.
    const ScopedVariable target(L"target", kTarget);
    for (const std::wstring command : {L"install", L"uninstall"}) {
        for (const wchar_t* const wrong :
             {L"", L" \"\"", L" C:\\a b", L" C:\\T*", L" C:\\Targe?", L" \\\\?\\C:\\Targe?"}) {
            Expect(2, "", command + wrong, kTarget);
        }
        Expect(0, "setup install DIRECTORY", command + L" /?");
    }
    for (const wchar_t* const wrong : {L"", L"remove", L"register x", L"--quiet"}) {
        Expect(2, "", wrong);
    }
    Expect(0, "setup install DIRECTORY", L"/?");
    EXPECT_EQ(Difference(before, ReadState()), "");
    EXPECT_FALSE(fs::exists(L"C:\\KelvaroShellExt.dll"));
}

TEST_F(SetupProgram, AcceptsEverySpellingOfADirectory) {
    const std::wstring odd = TestPath(L"Setup (1) & ^ 100%TEMP%! 软件");
    const std::pair<std::wstring, std::wstring> cases[] = {
        {odd, odd},
        {TestPath(L"with blank\\"), TestPath(L"with blank")},
        {TestPath(L"a/b\\\\"), TestPath(L"a\\b")},
        {TestPath(L"a\\..\\c\\."), TestPath(L"c")},
        {L"\\\\?\\" + TestPath(L"d\\"), TestPath(L"d")},
        {L"\\\\.\\" + TestPath(L"e"), TestPath(L"e")},
        {L"relative", TestPath(L"relative")},
    };
    for (const auto& [argument, directory] : cases) {
        const std::wstring library = JoinPath(directory, kDll);
        Expect(0, "", Install(argument) + L" --quiet");
        EXPECT_TRUE(fs::exists(library)) << Utf8(library);
        EXPECT_EQ(RegisteredLibrary(), library);
        Expect(0, "", Uninstall(argument));
        EXPECT_FALSE(fs::exists(library)) << Utf8(library);
        EXPECT_EQ(RegisteredLibrary(), L"");
    }
}

// Whether the system loads a DLL with such a path is found out by loading it.
TEST_F(SetupProgram, LongPathsAreUsableOrRefused) {
    std::wstring directory = TestPath();
    while (directory.size() < 300) {
        directory += L"\\" + std::wstring(40, L'd');
    }
    const State before = ReadState();
    const Result result = Run(Install(directory));
    if (result.status == 0) {
        EXPECT_TRUE(rightclick::Library(RegisteredLibrary()).IsLoaded());
        Run(Uninstall(directory));
        EXPECT_EQ(RegisteredLibrary(), L"");
    } else {
        EXPECT_NE(result.output.find("The path may be too long"), std::string::npos);
        EXPECT_EQ(Difference(before, ReadState()), "") << result.output;
    }
}

TEST_F(SetupProgram, KeepsTheInstalledVersionIfTheNewOneIsUnusable) {
    const std::wstring library = JoinPath(kSource, kDll);
    const std::string complete = Read(library);
    Copy(platform::BuiltFile(KELVARO_BAD_LIBRARY), library);
    Expect(1, "0x80070005", Install(TestPath(L"New\\Directory")));
    InstallEarlierVersion(kTarget);
    Expect(1, "0x80070005", kInstall);
    for (const wchar_t* const behaviour : {L"crashes", L"does nothing"}) {
        const ScopedVariable variable(L"KELVARO_BAD_LIBRARY", behaviour);
        Expect(1, "Cannot register", Install(TestPath(L"New")));
        Expect(1, "Cannot register", L"register");
    }
    Write(library, complete.substr(0, 30000));
    Expect(1, "Cannot load", kInstall);
    Copy(L"C:\\windows\\system32\\version.dll", library);
    Expect(1, "0x8007007F", kInstall);
    Expect(1, "Cannot load", L"register");
}

TEST_F(SetupProgram, RemovesABrokenVersion) {
    InstallEarlierVersion(kTarget);
    Write(JoinPath(kTarget, kDll), "broken");
    Expect(0, "Removed", kUninstall);
    EXPECT_EQ(RegisteredLibrary(), L"");
    EXPECT_TRUE(fs::is_empty(kTarget));
    InstallEarlierVersion(kTarget);
    fs::remove_all(kTarget);
    Expect(0, "Removed the registration", kUninstall);
    EXPECT_EQ(RegisteredLibrary(), L"");
}

TEST_F(SetupProgram, RemovesOnlyItsOwnRegistration) {
    InstallEarlierVersion(kTarget);
    InstallEarlierVersion(kOther);
    const std::string stays = "The extension in \"" + Utf8(kOther) + "\" stays registered";
    for (const std::wstring& arguments :
         {Uninstall(TestPath(L"Typo")), kUninstall, std::wstring(L"unregister")}) {
        Expect(0, stays, arguments);
        EXPECT_EQ(RegisteredLibrary(), JoinPath(kOther, kDll));
    }
    EXPECT_FALSE(fs::exists(JoinPath(kTarget, kDll)));
    EXPECT_TRUE(fs::exists(JoinPath(kOther, kDll)));

    // Other spellings of the same directory.
    const ScopedVariable variable(L"KELVARO_TEST", kOther);
    const std::wstring key = Concat({kClasses, L"CLSID\\", kClsidText, kServerKey});
    for (const std::wstring& library :
         std::vector<std::wstring>{L'"' + TestPath(L"OTHER\\kelvaroSHELLEXT.dll") + L'"',
                                   L"\\\\?\\" + JoinPath(kOther, kDll),
                                   JoinPath(kTarget, L"..\\Other\\\\KelvaroShellExt.dll"),
                                   L"%KELVARO_TEST%\\KelvaroShellExt.dll"}) {
        InstallEarlierVersion(kOther);
        RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, REG_EXPAND_SZ, library.c_str(),
                        static_cast<DWORD>((library.size() + 1) * sizeof(wchar_t)));
        Expect(0, "Removed the registration", Uninstall(kOther));
        EXPECT_EQ(RegisteredLibrary(), L"") << Utf8(library);
    }

    // The machine's classes, which DllRegisterServer uses if it cannot write to the user's.
    InstallEarlierVersion(kOther);
    InstallEarlierVersion(kTarget);
    // On Windows only an administrator may write there.
    if (FAILED(
            RegisterUnderRoot(HKEY_LOCAL_MACHINE, kClasses, kClsidText, JoinPath(kOther, kDll)))) {
        GTEST_SKIP() << "needs the rights of an administrator";
    }
    Expect(0, stays, kUninstall);
    {
        const ScopedHandle file(CreateFileW(JoinPath(kOther, kEnglish).c_str(), GENERIC_READ,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        Expect(1, "Close the program", Uninstall(kOther));
    }
    EXPECT_EQ(RegisteredLibrary(), JoinPath(kOther, kDll)) << "restored";
    Expect(0, "Removed the registration", Uninstall(kOther));
    EXPECT_EQ(RegisteredLibrary(), L"");
}

TEST_F(SetupProgram, DirectoriesInTheWayStay) {
    InstallEarlierVersion(kTarget);
    for (const wchar_t* const suffix : {L".new", L".1.new", L".2.old"}) {
        MakeDirectory(JoinPath(kTarget, kDll) + suffix);
    }
    Expect(0, "Installed", kInstall);
    EXPECT_EQ(Read(JoinPath(kTarget, kDll)), Read(JoinPath(kSource, kDll)));
    Expect(0, "Removed", kUninstall);
    EXPECT_TRUE(fs::exists(JoinPath(kTarget, kDll) + L".1.new"));

    MakeDirectory(JoinPath(kTarget, kDll));
    Expect(1, "a directory has this name", kInstall);
    Write(TestPath(L"File"), "");
    Expect(1, "a file has this name", Install(TestPath(L"File")));
    Write(TestPath(L"New\\Lang"), "");
    Expect(1, "New\\Lang\": a file has this name", Install(TestPath(L"New")));
    Expect(1, Utf8(TestPath(L"File")), Install(TestPath(L"File\\Below")));
}

TEST_F(SetupProgram, NeedsTheWholeArchive) {
    for (const std::wstring name : {kDll, kEnglish, kChinese}) {
        const std::wstring path = JoinPath(kSource, name);
        fs::rename(path, path + L"x");
        Expect(1, "Unpack the whole archive first: " + Utf8(name) + " is not beside this program.",
               kInstall);
        fs::rename(path + L"x", path);
    }
}

TEST_F(SetupProgram, ReplacesAndRemovesALoadedLibrary) {
    InstallEarlierVersion(kTarget);
    const std::wstring library = JoinPath(kTarget, kDll);
    {
        const rightclick::Library loaded(library);
        ASSERT_TRUE(loaded.IsLoaded());
        Expect(0, "KelvaroShellExt.dll.1.old", kInstall);
        EXPECT_EQ(Read(library), Read(JoinPath(kSource, kDll)));
        Expect(0, "KelvaroShellExt.dll.1.old", kUninstall);
        EXPECT_FALSE(fs::exists(library));
        EXPECT_EQ(ReadModulePath(loaded.Handle()).error, 0U);
    }
    Expect(0, "not installed", kUninstall);
    EXPECT_TRUE(fs::is_empty(kTarget));
}

TEST_F(SetupProgram, AFileThatCannotBeRenamedKeepsEverything) {
    for (const wchar_t* const name : {kDll, kEnglish}) {
        InstallEarlierVersion(kTarget);
        const ScopedHandle file(CreateFileW(JoinPath(kTarget, name).c_str(), GENERIC_READ,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        Expect(1, Utf8(JoinPath(kTarget, name)), kInstall);
        Expect(1, "Close the program", kUninstall);
    }
}

TEST_F(SetupProgram, WaitsForAnotherSetup) {
    HANDLE other = CreateMutexW(nullptr, TRUE, L"Global\\VorandelKelvaroSetup");
    Expect(1, "Another setup is running", kInstall);
    Process waiting(kInstall);
    Sleep(500);
    EXPECT_FALSE(fs::exists(JoinPath(kTarget, kDll)));
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
    EXPECT_EQ(Run(kInstall).status, 1U);
    EXPECT_EQ(Difference(before, ReadState()), "");
}

}  // namespace
}  // namespace kelvaro
