#pragma once

#include <winerror.h>

#include <cstdarg>

// Files, modules, processes, memory, text and time.

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~uintptr_t{0});

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_APPEND_DATA = 4;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;
inline constexpr DWORD FILE_FLAG_BACKUP_SEMANTICS = 0x02000000;
inline constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;

inline constexpr DWORD DLL_PROCESS_ATTACH = 1;

inline constexpr DWORD STARTF_USESHOWWINDOW = 1;
inline constexpr DWORD CREATE_NO_WINDOW = 0x08000000;

inline constexpr UINT GHND = 0x42;

inline constexpr DWORD FORMAT_MESSAGE_MAX_WIDTH_MASK = 0xFF;
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8;

inline constexpr WORD LANG_CHINESE = 0x04;
inline constexpr WORD LANG_ENGLISH = 0x09;
constexpr WORD PRIMARYLANGID(LANGID language) noexcept {
    return static_cast<WORD>(language & 0x3FF);
}

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

struct STARTUPINFOW {
    DWORD cb;
    LPWSTR lpReserved;
    LPWSTR lpDesktop;
    LPWSTR lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[MAX_PATH];
    WCHAR cAlternateFileName[14];
};

enum GET_FILEEX_INFO_LEVELS { GetFileExInfoStandard };

struct WIN32_FILE_ATTRIBUTE_DATA {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};

DWORD GetLastError() noexcept;
void SetLastError(DWORD error) noexcept;

HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE templateFile) noexcept;
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, OVERLAPPED* async) noexcept;
BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, OVERLAPPED* async) noexcept;
BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) noexcept;
BOOL CloseHandle(HANDLE handle) noexcept;
DWORD GetFileAttributesW(LPCWSTR name) noexcept;
BOOL GetFileAttributesExW(LPCWSTR name, GET_FILEEX_INFO_LEVELS level, LPVOID data) noexcept;
BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept;
BOOL CreateDirectoryW(LPCWSTR name, SECURITY_ATTRIBUTES* security) noexcept;
BOOL RemoveDirectoryW(LPCWSTR name) noexcept;
BOOL DeleteFileW(LPCWSTR name) noexcept;
BOOL MoveFileExW(LPCWSTR from, LPCWSTR to, DWORD flags) noexcept;
DWORD GetCurrentDirectoryW(DWORD size, LPWSTR buffer) noexcept;
DWORD GetFullPathNameW(LPCWSTR name, DWORD size, LPWSTR buffer, LPWSTR* filePart) noexcept;

DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD language, LPWSTR buffer,
                     DWORD size, va_list* arguments) noexcept;

HMODULE LoadLibraryW(LPCWSTR name) noexcept;
FARPROC GetProcAddress(HMODULE module, LPCSTR name) noexcept;
BOOL FreeLibrary(HMODULE module) noexcept;
DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) noexcept;
BOOL DisableThreadLibraryCalls(HMODULE module) noexcept;

BOOL CreateProcessW(LPCWSTR application, LPWSTR commandLine, SECURITY_ATTRIBUTES* process,
                    SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, LPVOID environment,
                    LPCWSTR directory, STARTUPINFOW* startup,
                    PROCESS_INFORMATION* information) noexcept;
LPWSTR GetCommandLineW() noexcept;
void Sleep(DWORD milliseconds) noexcept;

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) noexcept;
LPVOID GlobalLock(HGLOBAL memory) noexcept;
BOOL GlobalUnlock(HGLOBAL memory) noexcept;
HGLOBAL GlobalFree(HGLOBAL memory) noexcept;
HLOCAL LocalFree(HLOCAL memory) noexcept;

LPSTR lstrcpynA(LPSTR to, LPCSTR from, int capacity) noexcept;
LPWSTR lstrcpynW(LPWSTR to, LPCWSTR from, int capacity) noexcept;
int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR bytes, int size, LPWSTR text,
                        int capacity) noexcept;
int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR text, int length, LPSTR bytes,
                        int capacity, LPCSTR defaultChar, LPBOOL usedDefault) noexcept;
LANGID GetUserDefaultUILanguage() noexcept;
void GetLocalTime(SYSTEMTIME* time) noexcept;

// The C runtime's case-insensitive comparisons, as in the "C" locale.
int _stricmp(const char* left, const char* right) noexcept;
int _wcsicmp(const wchar_t* left, const wchar_t* right) noexcept;
