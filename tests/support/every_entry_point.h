#pragma once

#include <string>

#include "server/exports.h"

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

// Makes every call that a host can make, with `shortcut` selected: creates the factory and the
// object, initialises it, queries menu, verb and help text, invokes the command, registers and
// unregisters. Calls may fail, but only with documented results; after a failure the menu must be
// unchanged, and at the end the library must be unloadable.
void ExerciseEveryEntryPoint(const Exports& library, const std::wstring& shortcut,
                             LibraryCallHook hook = nullptr);
