#include "support/imports.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

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

void ReplaceCode(void* function, void* replacement) {
    // mov rax, replacement; jmp rax
    std::array<BYTE, 12> jump = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};
    std::memcpy(&jump[2], &replacement, sizeof replacement);
    DWORD before = 0;
    ASSERT_TRUE(VirtualProtect(function, jump.size(), PAGE_EXECUTE_READWRITE, &before));
    std::memcpy(function, jump.data(), jump.size());
    VirtualProtect(function, jump.size(), before, &before);
    FlushInstructionCache(GetCurrentProcess(), function, jump.size());
}
