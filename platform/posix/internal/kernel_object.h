#pragma once

#include <windef.h>

#include "testing/resources.h"

namespace compat {

// What a HANDLE stands for. Closing the handle destroys the object.
struct KernelObject {
    KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;
    virtual ~KernelObject() = default;
};

// The open handles of the process.
ObjectTable<KernelObject, Resource::handle>& Handles();

}  // namespace compat
