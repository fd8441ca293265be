#pragma once

#include <filesystem>
#include <string>

// What differs between the two worlds that the tests run in: over the layer every test has a drive
// of its own; under Wine it is the drive of the build's prefix.
namespace platform {

// Makes drive C: and the current user's registry as they are before the application is installed.
void Reset();

// What a test has not given back to the platform, in words; nothing when it has, and nothing where
// the platform cannot tell.
std::string HeldResources();

// Whether the read-only attribute keeps this user from writing. It does on Windows and over the
// layer; Wine leaves it to the host, which lets its administrator write all the same.
bool ReadOnlyRefuses();

// The file of the test's own operating system for a Windows path.
std::filesystem::path NativePath(const std::wstring& path);

// The Windows path of a file that the build made, by the path the build knows.
std::wstring BuiltFile(const char* path);

}  // namespace platform
