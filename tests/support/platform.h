#pragma once

#include <windows.h>

#include <shlobj.h>

#include <filesystem>
#include <string>

// What differs between the platforms that the tests run on. Over the compatibility layer each test
// program has a drive of its own. On Windows, tests run on somebody's machine.
namespace platform {

// Empties the test directory and removes everything else that tests have made.
void Reset();

// Returns what the test holds of the platform, for example "2 handle, 1 key". Empty if nothing, and
// always on Windows, which cannot report it.
std::string HeldResources();

// Returns whether the tests run under Wine. They skip what Wine does differently from Windows.
bool IsWine();

#ifdef _WIN32
// Runs a command line and returns its exit code, or the error if it does not start.
DWORD RunToEnd(std::wstring commandLine);

// Creates a shortcut to a path or to a shell item with the system's link object.
void MakeShortcut(const std::wstring& file, const wchar_t* target, LPCITEMIDLIST item = nullptr);
#endif

// Returns the path with which the standard library opens the file at the Windows path `path`.
std::filesystem::path NativePath(const std::wstring& path);

// Returns the Windows path of a file of the build or source tree. On Windows `path` is relative to
// the directory of the test program.
std::wstring BuiltFile(const char* path);

}  // namespace platform
