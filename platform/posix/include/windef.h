#pragma once

#include <cstddef>
#include <cstdint>

// The basic types. wchar_t has 32 bits on this platform and holds one UTF-16 unit.

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using UINT = uint32_t;
using ULONG = uint32_t;
using LONG = int32_t;
using LONGLONG = int64_t;
using BOOL = int;
using WCHAR = wchar_t;
using HRESULT = int32_t;
using LSTATUS = LONG;
using UINT_PTR = uintptr_t;
using SIZE_T = size_t;
using LANGID = WORD;
using REGSAM = DWORD;

using LPVOID = void*;
using LPCVOID = const void*;
using LPDWORD = DWORD*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using LPOLESTR = wchar_t*;
using LPCOLESTR = const wchar_t*;
using LPBOOL = BOOL*;

using HANDLE = void*;
using HGLOBAL = void*;
using HLOCAL = void*;
using HMODULE = struct HINSTANCE__*;
using HINSTANCE = HMODULE;
using HWND = struct HWND__*;
using HMENU = struct HMENU__*;
using HKEY = struct HKEY__*;
using FARPROC = intptr_t (*)();

struct POINT {
    LONG x;
    LONG y;
};

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

union LARGE_INTEGER {
    LONGLONG QuadPart;
};

struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define WINAPI
#define STDMETHODCALLTYPE
#define STDAPI extern "C" __attribute__((visibility("default"))) HRESULT
#define STDMETHODIMP HRESULT
#define STDMETHODIMP_(type) type

constexpr WORD LOWORD(UINT_PTR value) noexcept {
    return static_cast<WORD>(value & 0xFFFF);
}
constexpr WORD HIWORD(UINT_PTR value) noexcept {
    return static_cast<WORD>((value >> 16) & 0xFFFF);
}
