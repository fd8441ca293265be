#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace compat {

// What a program gets from the platform and has to give back.
enum class Resource { handle, key, globalMemory, globalLock, taskMemory, comObject, menu, module };

// Notes that one more (or one less) of `kind` is held.
void CountResource(Resource kind, int change) noexcept;

// What is held now, in words ("2 handle, 1 key"); empty when nothing is.
std::string HeldResources();

// How many bytes of files the process has read through the layer.
size_t BytesRead() noexcept;
void CountBytesRead(size_t bytes) noexcept;

// Objects known to their users by address, so that a handle which is none is found out.
template <class Object, Resource kind>
class ObjectTable {
  public:
    template <class Handle>
    Handle Add(std::shared_ptr<Object> object) {
        const std::lock_guard lock(mutex_);
        Object* const key = object.get();
        objects_.emplace(key, std::move(object));
        CountResource(kind, 1);
        return reinterpret_cast<Handle>(key);
    }

    // The object behind `handle`, kept alive while it is held; null when there is none.
    std::shared_ptr<Object> Find(const void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = objects_.find(handle);
        return found == objects_.end() ? nullptr : found->second;
    }

    bool Remove(const void* handle) {
        const std::lock_guard lock(mutex_);
        if (objects_.erase(handle) == 0) {
            return false;
        }
        CountResource(kind, -1);
        return true;
    }

  private:
    std::mutex mutex_;
    std::unordered_map<const void*, std::shared_ptr<Object>> objects_;
};

}  // namespace compat
