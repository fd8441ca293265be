#pragma once

#include <guiddef.h>
#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winreg.h>
#include <winuser.h>
