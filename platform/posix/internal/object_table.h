#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>

#include "internal/resource_count.h"

namespace compat {

// The objects of one kind that the process has open. A handle is the object's address; looking it
// up in the table finds an invalid or closed handle without dereferencing it.
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

    // Returns the object of `handle`, null if the handle is invalid. It stays alive for the caller
    // if another thread closes the handle.
    std::shared_ptr<Object> Find(const void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = objects_.find(handle);
        return found == objects_.end() ? nullptr : found->second;
    }

    // Returns the object and takes it out of the table. Null if the handle is invalid.
    std::shared_ptr<Object> Remove(const void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = objects_.find(handle);
        if (found == objects_.end()) {
            return nullptr;
        }
        auto object = std::move(found->second);
        objects_.erase(found);
        CountResource(kind, -1);
        return object;
    }

  private:
    std::mutex mutex_;
    std::unordered_map<const void*, std::shared_ptr<Object>> objects_;
};

}  // namespace compat
