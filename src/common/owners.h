#pragma once

#include <windows.h>

#include <objbase.h>

namespace kelvaro {

// Owns a resource and passes it to `Release` at the end of its scope. A null resource is empty.
template <class Resource, class Release>
class Scoped {
  public:
    Scoped() noexcept = default;
    explicit Scoped(Resource resource) noexcept : resource_(resource) {}
    ~Scoped() {
        if (resource_ != nullptr) {
            Release()(resource_);
        }
    }
    Scoped(const Scoped&) = delete;
    Scoped& operator=(const Scoped&) = delete;

    Resource Get() const noexcept { return resource_; }
    // For a call that stores the resource in its argument. The owner must be empty.
    Resource* Put() noexcept { return &resource_; }
    explicit operator bool() const noexcept { return resource_ != nullptr; }

  private:
    Resource resource_ = nullptr;
};

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
struct KeyCloser {
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};
struct TaskMemoryFreer {
    void operator()(LPVOID memory) const noexcept { CoTaskMemFree(memory); }
};
struct MediumReleaser {
    void operator()(STGMEDIUM* medium) const noexcept { ReleaseStgMedium(medium); }
};
struct GlobalUnlocker {
    void operator()(HGLOBAL memory) const noexcept { GlobalUnlock(memory); }
};
struct InterfaceReleaser {
    void operator()(IUnknown* pointer) const noexcept { pointer->Release(); }
};

// A kernel handle. INVALID_HANDLE_VALUE is empty as well.
class ScopedHandle : public Scoped<HANDLE, HandleCloser> {
  public:
    explicit ScopedHandle(HANDLE handle) noexcept
        : Scoped(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
};

// A registry key.
using ScopedKey = Scoped<HKEY, KeyCloser>;

// Text that COM has allocated.
using ScopedComText = Scoped<LPOLESTR, TaskMemoryFreer>;

// A storage medium that GetData has filled. The record itself belongs to the caller.
using ScopedMedium = Scoped<STGMEDIUM*, MediumReleaser>;

// A lock on global memory. Empty if the memory cannot be locked.
class ScopedGlobalLock : public Scoped<HGLOBAL, GlobalUnlocker> {
  public:
    explicit ScopedGlobalLock(HGLOBAL memory) noexcept
        : Scoped(GlobalLock(memory) == nullptr ? nullptr : memory) {}
};

// One reference to a COM interface. The constructor takes over the caller's reference.
template <class Interface>
class ComPtr : public Scoped<Interface*, InterfaceReleaser> {
  public:
    using Scoped<Interface*, InterfaceReleaser>::Scoped;

    Interface* operator->() const noexcept { return this->Get(); }
    // Returns the address of the pointer as void**, for calls that store null if they fail.
    // cppcheck-suppress duplInheritedMember ; replaces the typed one
    void** Put() noexcept {
        return reinterpret_cast<void**>(Scoped<Interface*, InterfaceReleaser>::Put());
    }
};

}  // namespace kelvaro
