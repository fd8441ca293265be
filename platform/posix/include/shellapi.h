#pragma once

#include <windows.h>

using HDROP = struct HDROP__*;

UINT DragQueryFileW(HDROP drop, UINT index, LPWSTR buffer, UINT capacity) noexcept;
LPWSTR* CommandLineToArgvW(LPCWSTR commandLine, int* count) noexcept;
