#include "support/imports.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

namespace {

// Returns the entry of `name` in the import table of `module`. Null if it is not imported.
void** FindImport(HMODULE module, const char* name) {
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    const auto* library =
        reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; library->Name != 0; ++library) {
        const auto* names =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            const auto* const import =
                reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char*>(import->Name), name) == 0) {
                return addresses;
            }
        }
    }
    return nullptr;
}

// The types of LdrRegisterDllNotification, which no header declares.
struct UnicodeString {
    USHORT length;  // in bytes
    USHORT capacity;
    const wchar_t* text;
};
struct Notification {
    ULONG flags;
    const UnicodeString* path;
    const UnicodeString* name;
    HMODULE module;
    ULONG size;
};
using Callback = void CALLBACK(ULONG, const Notification*, void*);

// Returns a function of ntdll.dll.
template <class Pointer>
Pointer LoaderFunction(const char* name) {
    return reinterpret_cast<Pointer>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

void CALLBACK Loaded(ULONG reason, const Notification* notification, void* call) {
    constexpr ULONG kLoaded = 1;
    const std::wstring_view name(notification->name->text,
                                 notification->name->length / sizeof(wchar_t));
    if (reason == kLoaded && name == L"KelvaroShellExt.dll") {
        reinterpret_cast<void (*)(HMODULE)>(call)(notification->module);
    }
}

}  // namespace

bool SetImport(HMODULE module, const char* name, void* function) {
    void** const entry = FindImport(module, name);
    DWORD before = 0;
    if (entry == nullptr || !VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &before)) {
        return false;
    }
    *entry = function;
    VirtualProtect(entry, sizeof *entry, before, &before);
    return true;
}

LibraryLoads::LibraryLoads(void (*call)(HMODULE)) {
    const auto add = LoaderFunction<LONG(WINAPI*)(ULONG, Callback*, void*, void**)>(
        "LdrRegisterDllNotification");
    EXPECT_EQ(add(0, &Loaded, reinterpret_cast<void*>(call), &cookie_), 0);
}

LibraryLoads::~LibraryLoads() {
    LoaderFunction<LONG(WINAPI*)(void*)>("LdrUnregisterDllNotification")(cookie_);
}
