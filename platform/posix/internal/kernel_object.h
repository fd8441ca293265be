#pragma once

#include <windef.h>

#include <string>

#include "internal/object_table.h"

namespace compat {

// The object of a HANDLE. Closing the handle releases it.
struct KernelObject {
    KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;
    virtual ~KernelObject() = default;

    // Returns the kind of object for the record of calls.
    virtual const char* Kind() const noexcept = 0;
};

// Returns the open handles of the process.
ObjectTable<KernelObject, Resource::handle>& Handles();

// Returns the kind of the handle's object, or "invalid handle".
std::string HandleText(HANDLE handle);

}  // namespace compat
