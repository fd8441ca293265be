#pragma once

#include <objbase.h>

// The functions that the library exports. Their contracts are those of COM and of regsvr32.
STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv);
STDAPI DllCanUnloadNow();
STDAPI DllRegisterServer();
STDAPI DllUnregisterServer();
