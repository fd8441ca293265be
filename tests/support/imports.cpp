#include "support/imports.h"

#include <gtest/gtest.h>

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

ScopedImport::ScopedImport(HMODULE module, const char* name)
    : entry_(FindImport(module, name)), original_(entry_ == nullptr ? nullptr : *entry_) {
    EXPECT_NE(entry_, nullptr) << name << " is not imported";
}

ScopedImport::~ScopedImport() {
    Replace(original_);
}

void ScopedImport::Replace(void* function) {
    DWORD before = 0;
    if (entry_ != nullptr && VirtualProtect(entry_, sizeof *entry_, PAGE_READWRITE, &before)) {
        *entry_ = function;
        VirtualProtect(entry_, sizeof *entry_, before, &before);
    }
}
