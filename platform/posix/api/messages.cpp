#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace {

struct SystemMessage {
    LONG code;  // a system error code or an HRESULT
    const wchar_t* text;
};

// Windows' messages for some codes. FormatMessageW fails for all others.
constexpr SystemMessage kMessages[] = {
    {ERROR_FILE_NOT_FOUND, L"The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, L"The system cannot find the path specified."},
    {ERROR_ACCESS_DENIED, L"Access is denied."},
    {ERROR_NOT_ENOUGH_MEMORY,
     L"Not enough memory resources are available to process this command."},
    {ERROR_NOT_READY, L"The device is not ready."},
    {ERROR_READ_FAULT, L"The system cannot read from the specified device."},
    {ERROR_INVALID_PARAMETER, L"The parameter is incorrect."},
    {ERROR_DISK_FULL, L"There is not enough space on the disk."},
    {ERROR_INVALID_NAME, L"The filename, directory name, or volume label syntax is incorrect."},
    {ERROR_MOD_NOT_FOUND, L"The specified module could not be found."},
    {ERROR_PROC_NOT_FOUND, L"The specified procedure could not be found."},
    {ERROR_BAD_EXE_FORMAT, L"%1 is not a valid Win32 application."},
    {ERROR_FILENAME_EXCED_RANGE, L"The filename or extension is too long."},
    {E_FAIL, L"Unspecified error"},
    {E_NOINTERFACE, L"No such interface supported"},
    {E_POINTER, L"Invalid pointer"},
    {CLASS_E_CLASSNOTAVAILABLE, L"ClassFactory cannot supply requested class"},
    {REGDB_E_CLASSNOTREG, L"Class not registered"},
};

}  // namespace

DWORD FormatMessageW(DWORD /*flags*/, LPCVOID /*source*/, DWORD message, DWORD /*language*/,
                     LPWSTR buffer, DWORD size, va_list* /*arguments*/) noexcept {
    const auto* const found = std::find_if(
        std::begin(kMessages), std::end(kMessages),
        [message](const SystemMessage& each) { return static_cast<DWORD>(each.code) == message; });
    if (found == std::end(kMessages)) {
        SetLastError(ERROR_MR_MID_NOT_FOUND);
        return 0;
    }
    lstrcpynW(buffer, found->text, static_cast<int>(size));
    return static_cast<DWORD>(std::wcslen(buffer));
}
