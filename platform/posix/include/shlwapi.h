#pragma once

#include <windows.h>

BOOL PathMatchSpecW(LPCWSTR path, LPCWSTR pattern) noexcept;
