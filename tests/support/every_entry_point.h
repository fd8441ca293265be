#pragma once

#include <string>

#include "server/exports.h"
#include "shell_host/library.h"

// Called with true before and with false after each call into the library.
using LibraryCallHook = void (*)(bool inside);

// The exports of a library, linked into the test or loaded by it.
struct Exports {
    decltype(&DllGetClassObject) getClassObject;
    decltype(&DllCanUnloadNow) canUnloadNow;
    decltype(&DllRegisterServer) registerServer;
    decltype(&DllUnregisterServer) unregisterServer;
};
Exports LinkedExports();
Exports ExportsOf(const shell_host::Library& library);

// Makes every call of a right-click with `shortcut` selected (creates the factory and the object,
// initialises it, queries menu, verb and help text, invokes the command), and registers and
// unregisters the library. Calls may fail, but only with documented results; after a failure the
// menu must be unchanged, and after the right-click the library must be unloadable.
void ExerciseEveryEntryPoint(const Exports& library, const std::wstring& shortcut,
                             LibraryCallHook hook = nullptr);
