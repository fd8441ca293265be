#pragma once

#include <windows.h>

namespace kelvaro {

// Closes a kernel handle at the end of its scope. Both of the platform's "no handle" values are
// empty.
class ScopedHandle {
  public:
    explicit ScopedHandle(HANDLE handle) noexcept : handle_(handle) {}
    ~ScopedHandle() {
        if (IsOpen()) {
            CloseHandle(handle_);
        }
    }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;

    bool IsOpen() const noexcept { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
    HANDLE Get() const noexcept { return handle_; }

  private:
    HANDLE handle_;
};

// Closes a registry key at the end of its scope.
class ScopedKey {
  public:
    ScopedKey() noexcept = default;
    ~ScopedKey() {
        if (key_ != nullptr) {
            RegCloseKey(key_);
        }
    }
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;

    HKEY Get() const noexcept { return key_; }
    HKEY* Put() noexcept { return &key_; }

  private:
    HKEY key_ = nullptr;
};

// Holds one reference to a COM interface and releases it at the end of its scope.
template <class Interface>
class ComPtr {
  public:
    ComPtr() noexcept = default;
    ~ComPtr() {
        if (pointer_ != nullptr) {
            pointer_->Release();
        }
    }
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;

    Interface* Get() const noexcept { return pointer_; }
    Interface* operator->() const noexcept { return pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }
    void** Put() noexcept { return reinterpret_cast<void**>(&pointer_); }

  private:
    Interface* pointer_ = nullptr;
};

}  // namespace kelvaro
