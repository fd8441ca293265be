#pragma once

#include <objbase.h>
#include <shellapi.h>

struct ITEMIDLIST;
using LPCITEMIDLIST = const ITEMIDLIST*;

inline constexpr LONG SHCNE_ASSOCCHANGED = 0x08000000;
inline constexpr UINT SHCNF_IDLIST = 0;
inline constexpr DWORD SLGP_RAWPATH = 4;

inline constexpr UINT CMF_NORMAL = 0;
inline constexpr UINT CMF_DEFAULTONLY = 1;
inline constexpr UINT CMF_EXPLORE = 4;

inline constexpr UINT GCS_VERBA = 0;
inline constexpr UINT GCS_HELPTEXTA = 1;
inline constexpr UINT GCS_VALIDATEA = 2;
inline constexpr UINT GCS_VERBW = 4;
inline constexpr UINT GCS_HELPTEXTW = 5;
inline constexpr UINT GCS_VALIDATEW = 6;

inline constexpr DWORD CMIC_MASK_UNICODE = 0x4000;

struct CMINVOKECOMMANDINFO {
    DWORD cbSize;
    DWORD fMask;
    HWND hwnd;
    LPCSTR lpVerb;
    LPCSTR lpParameters;
    LPCSTR lpDirectory;
    int nShow;
    DWORD dwHotKey;
    HANDLE hIcon;
};
using LPCMINVOKECOMMANDINFO = CMINVOKECOMMANDINFO*;

struct CMINVOKECOMMANDINFOEX {
    DWORD cbSize;
    DWORD fMask;
    HWND hwnd;
    LPCSTR lpVerb;
    LPCSTR lpParameters;
    LPCSTR lpDirectory;
    int nShow;
    DWORD dwHotKey;
    HANDLE hIcon;
    LPCSTR lpTitle;
    LPCWSTR lpVerbW;
    LPCWSTR lpParametersW;
    LPCWSTR lpDirectoryW;
    LPCWSTR lpTitleW;
    POINT ptInvoke;
};

// The header of a file-drop list. The names begin at offset `pFiles`. Each ends with a null, and
// one more null ends the list.
struct DROPFILES {
    DWORD pFiles;
    POINT pt;
    BOOL fNC;
    BOOL fWide;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

struct IShellExtInit : IUnknown {
    virtual HRESULT Initialize(LPCITEMIDLIST folder, IDataObject* selection, HKEY fileClass) = 0;
};

struct IContextMenu : IUnknown {
    virtual HRESULT QueryContextMenu(HMENU menu, UINT position, UINT idFirst, UINT idLast,
                                     UINT flags) = 0;
    virtual HRESULT InvokeCommand(CMINVOKECOMMANDINFO* request) = 0;
    virtual HRESULT GetCommandString(UINT_PTR id, UINT type, UINT* reserved, LPSTR buffer,
                                     UINT capacity) = 0;
};

// Declares the vtable up to the last method that is called.
struct IShellLinkW : IUnknown {
    virtual HRESULT GetPath(LPWSTR buffer, int capacity, WIN32_FIND_DATAW* found, DWORD flags) = 0;
};

#pragma GCC diagnostic pop

inline constexpr CLSID CLSID_ShellLink = {0x21401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IShellLinkW = {0x214F9, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IShellExtInit = {0x214E8, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IContextMenu = {0x214E4, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

void SHChangeNotify(LONG event, UINT flags, LPCVOID first, LPCVOID second) noexcept;
