#pragma once

#include <filesystem>
#include <string>

// What differs between the platforms that the tests run on. Over the compatibility layer each test
// program has a drive of its own; under Wine all use the drive of the build's prefix.
namespace platform {

// Restores drive C: and the current user's registry to the state before the application is
// installed.
void Reset();

// Returns what the test holds of the platform, for example "2 handle, 1 key". Empty if nothing, and
// always under Wine, which cannot report it.
std::string HeldResources();

// Returns whether the read-only attribute prevents this user from writing. It does on Windows and
// over the compatibility layer. Wine leaves it to the host, where root can write read-only files.
bool ReadOnlyRefuses();

// Returns the path with which the standard library opens the file at the Windows path `path`.
std::filesystem::path NativePath(const std::wstring& path);

// Returns the Windows path of a file of the build or source tree.
std::wstring BuiltFile(const char* path);

}  // namespace platform
