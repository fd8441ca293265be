#pragma once

#include <windows.h>

#include <filesystem>
#include <map>

#include "common/owners.h"
#include "common/path.h"
#include "registration/keys.h"
#include "registration/registration.h"
#include "rightclick/handler.h"
#include "rightclick/library.h"
#include "support/fixture.h"

namespace kelvaro {

// Runs the setup program as a process, from an unpacked archive in kSource.
class SetupTest : public DriveTest {
  public:
    static inline const std::wstring kSource = TestPath(L"Source");
    static inline const std::wstring kTarget = TestPath(L"Target");
    static inline const std::wstring kOther = TestPath(L"Other");
    static constexpr wchar_t kDll[] = L"KelvaroShellExt.dll";
    static constexpr wchar_t kEnglish[] = L"Lang\\English.ini";
    static constexpr wchar_t kChinese[] = L"Lang\\Chinese(Simplified).ini";

    // Return arguments of setup.
    static std::wstring Install(const std::wstring& path) { return L"install \"" + path + L'"'; }
    static std::wstring Uninstall(const std::wstring& path) { return L"un" + Install(path); }
    static inline const std::wstring kInstall = Install(kTarget);
    static inline const std::wstring kUninstall = Uninstall(kTarget);

    SetupTest() { Reset(KELVARO_SETUP); }

    // Removes everything, then writes the unpacked archive to kSource, with the setup program at
    // that path in the build.
    static void Reset(const char* program);

    // Writes and registers what an earlier version has installed.
    static void InstallEarlierVersion(const std::wstring& directory);

    struct Result {
        DWORD status;
        std::string output;
    };

    // A setup that runs with `arguments` in the current directory `directory`.
    class Process {
      public:
        explicit Process(const std::wstring& arguments, const std::wstring& directory = TestPath());
        Result WaitForEnd();

      private:
        using Handle = Scoped<HANDLE, HandleCloser>;
        Handle output_, process_, thread_;
    };

    static Result Run(const std::wstring& arguments, const std::wstring& directory = TestPath()) {
        return Process(arguments, directory).WaitForEnd();
    }

    // Fails the test unless setup ends with `status`, prints `text` and, if `status` is not 0,
    // changes nothing.
    static void Expect(DWORD status, const std::string& text, const std::wstring& arguments,
                       const std::wstring& directory = TestPath());

    // What an installation consists of: the files and directories beside kSource with
    // their contents, and the values in the registry.
    using State = std::map<std::wstring, std::string>;
    static State ReadState();

    // Returns the names that only one of two states has or that differ. Empty if they are equal.
    static std::string Difference(const State& expected, const State& found);

    // Returns the path of the registered DLL. Empty if there is none.
    static std::wstring RegisteredLibrary();
};

// Sets an environment variable for the processes that start while it lives.
class ScopedVariable {
  public:
    ScopedVariable(const wchar_t* name, const std::wstring& value) : name_(name) {
        SetEnvironmentVariableW(name, value.c_str());
    }
    ~ScopedVariable() { SetEnvironmentVariableW(name_, nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    const wchar_t* name_;
};

}  // namespace kelvaro
