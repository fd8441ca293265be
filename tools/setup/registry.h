#pragma once

#include <windows.h>

#include <optional>
#include <string>

// The extension's registration, without the DLL. Functions that return nothing throw Failure.
namespace setup {

// Where the extension can be registered: for the user, and for all users if DllRegisterServer could
// not write to the user's classes.
inline const HKEY kRoots[] = {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE};

// Returns the directory of the DLL that is registered below `root`. Empty if none is.
std::optional<std::wstring> RegisteredDirectory(HKEY root);

// Returns whether a DLL in `directory` is registered.
bool IsRegistered(const std::wstring& directory);

void RemoveRegistration(HKEY root);

// The key that keeps the registration during a change, below each root. The machine's registration
// is not kept below the user's key: a program without rights could change it there, and a setup
// with rights would then register it for all users.
inline constexpr wchar_t kBackupKey[] = L"Software\\VorandelKelvaroSetup";

// Copies the registration below each root that the user may change.
void BackUpRegistration();

// Makes the registration what it was at BackUpRegistration, except where another directory than
// `directory` is registered: that is somebody else's.
void RestoreRegistration(const std::wstring& directory);

void DeleteBackup() noexcept;

// Makes Explorer read the registration again.
void NotifyShell() noexcept;

}  // namespace setup
