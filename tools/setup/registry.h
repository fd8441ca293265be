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

// Returns whether the DLL registered below `root` is in `directory`.
bool IsRegistered(HKEY root, const std::wstring& directory);

void RemoveRegistration(HKEY root);

// Copies the registration below all roots into `backup`.
void BackUpRegistration(HKEY backup);

// Makes the registration what it was when `backup` was made, except where another directory than
// `directory` is registered: that is somebody else's.
void RestoreRegistration(HKEY backup, const std::wstring& directory);

// Makes Explorer read the registration again.
void NotifyShell() noexcept;

}  // namespace setup
