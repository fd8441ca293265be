#pragma once

#include <windef.h>

#include "internal/object_table.h"

namespace compat {

// The object of a HANDLE. Closing the handle releases it.
struct KernelObject {
    KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;
    virtual ~KernelObject() = default;
};

// Returns the open handles of the process.
ObjectTable<KernelObject, Resource::handle>& Handles();

}  // namespace compat
