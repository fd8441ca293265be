#include <windows.h>

#include <objbase.h>

#include <cstdlib>
#include <memory>

#include "internal/call.h"
#include "internal/global_memory.h"
#include "internal/last_error.h"
#include "internal/object_table.h"

namespace {

struct Block {
    std::unique_ptr<char[]> content;
    size_t size;
    int locks = 0;
};

using BlockTable = compat::ObjectTable<Block, compat::Resource::globalMemory>;

BlockTable& Blocks() {
    static auto& table = *new BlockTable;
    return table;
}

std::shared_ptr<Block> FindBlock(HGLOBAL memory) {
    auto block = Blocks().Find(memory);
    if (!block) {
        SetLastError(ERROR_INVALID_HANDLE);
    }
    return block;
}

}  // namespace

namespace compat {

std::string_view GlobalContent(HGLOBAL memory) noexcept {
    const auto block = Blocks().Find(memory);
    return block ? std::string_view(block->content.get(), block->size) : std::string_view();
}

}  // namespace compat

HGLOBAL GlobalAlloc(UINT /*flags*/, SIZE_T size) noexcept {
    const compat::Call call("GlobalAlloc", ERROR_NOT_ENOUGH_MEMORY);
    if (call.Fails()) {
        return nullptr;
    }
    auto block = std::make_shared<Block>();
    block->content = std::make_unique<char[]>(size);
    block->size = size;
    return Blocks().Add<HGLOBAL>(std::move(block));
}

LPVOID GlobalLock(HGLOBAL memory) noexcept {
    const compat::Call call("GlobalLock", ERROR_INVALID_HANDLE);
    if (call.Fails()) {
        return nullptr;
    }
    const auto block = FindBlock(memory);
    if (!block) {
        return nullptr;
    }
    ++block->locks;
    compat::CountResource(compat::Resource::globalLock, 1);
    return block->content.get();
}

BOOL GlobalUnlock(HGLOBAL memory) noexcept {
    const auto block = FindBlock(memory);
    if (!block) {
        return FALSE;
    }
    if (block->locks == 0) {
        return compat::Fail(ERROR_NOT_LOCKED);
    }
    compat::CountResource(compat::Resource::globalLock, -1);
    SetLastError(ERROR_SUCCESS);
    return --block->locks > 0;
}

HGLOBAL GlobalFree(HGLOBAL memory) noexcept {
    if (Blocks().Remove(memory)) {
        return nullptr;
    }
    SetLastError(ERROR_INVALID_HANDLE);
    return memory;
}

HLOCAL LocalFree(HLOCAL memory) noexcept {
    CoTaskMemFree(memory);
    return nullptr;
}

LPVOID CoTaskMemAlloc(SIZE_T size) noexcept {
    void* const memory = std::malloc(size);
    if (memory != nullptr) {
        compat::CountResource(compat::Resource::taskMemory, 1);
    }
    return memory;
}

void CoTaskMemFree(LPVOID memory) noexcept {
    if (memory != nullptr) {
        compat::CountResource(compat::Resource::taskMemory, -1);
        std::free(memory);
    }
}
