#pragma once

#include <windef.h>

inline constexpr UINT MB_OK = 0;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr int IDOK = 1;
inline constexpr WORD SW_HIDE = 0;
inline constexpr int SW_SHOWNORMAL = 1;
inline constexpr UINT CF_HDROP = 15;
inline constexpr UINT MF_STRING = 0;
inline constexpr UINT MF_BYPOSITION = 0x400;

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) noexcept;

HMENU CreatePopupMenu() noexcept;
BOOL DestroyMenu(HMENU menu) noexcept;
BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, UINT_PTR id, LPCWSTR text) noexcept;
int GetMenuItemCount(HMENU menu) noexcept;
UINT GetMenuItemID(HMENU menu, int position) noexcept;
UINT GetMenuState(HMENU menu, UINT item, UINT flags) noexcept;
int GetMenuStringW(HMENU menu, UINT item, LPWSTR buffer, int capacity, UINT flags) noexcept;
