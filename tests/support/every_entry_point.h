#pragma once

#include <string>

#include "support/extension.h"

// Called with true before and with false after each call into the library.
using LibraryCallHook = void (*)(bool inside);

// Makes every call of a right-click with `shortcut` selected (creates the factory and the object,
// initialises it, queries menu, verb and help text, invokes the command), and registers and
// unregisters the library. Calls may fail, but only with documented results; after a failure the
// menu must be unchanged, and after the right-click the library must be unloadable.
void ExerciseEveryEntryPoint(const Exports& library, const std::wstring& shortcut,
                             LibraryCallHook hook = nullptr);
