#pragma once

#include <string>

namespace setup {

// The argument with which this program starts itself for RunLoader.
inline constexpr wchar_t kLoadCommand[] = L"--load-library";

// Loads the DLL `file` in another process, because a damaged DLL can end the process or block it,
// and checks that it has its exports. Calls DllRegisterServer if `registers` is set. Throws
// Failure, even if the process crashes or takes longer than a minute.
void LoadLibraryApart(const std::wstring& file, bool registers);

// What that process does. Returns its exit status: 0 or an error.
int RunLoader(const std::wstring& file, bool registers);

}  // namespace setup
