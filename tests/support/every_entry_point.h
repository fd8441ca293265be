#pragma once

#include <windows.h>

#include <objbase.h>

#include <string>

// Told when the library is entered and left, so that a test can make memory scarce in there alone.
using Gate = void (*)(bool inside);

// The exports of a library: those that are linked into the test, or of one that it has loaded.
struct Exports {
    HRESULT(STDMETHODCALLTYPE* getClassObject)(REFCLSID, REFIID, LPVOID*);
    HRESULT(STDMETHODCALLTYPE* canUnloadNow)();
    HRESULT(STDMETHODCALLTYPE* registerServer)();
    HRESULT(STDMETHODCALLTYPE* unregisterServer)();
};
Exports LinkedExports();

// Everything that a host ever asks of the library, one after the other, with `shortcut` selected:
// factory, object, selection, menu, verb and help, the command, registration and its removal. Every
// result has to be one that the library may give and nothing may stay behind, whatever fails
// meanwhile.
void ExerciseEveryEntryPoint(const Exports& library, const std::wstring& shortcut,
                             Gate gate = nullptr);
