#include "menu/selection.h"

#include <windows.h>

#include <shellapi.h>

#include <utility>

#include "common/text.h"

namespace kelvaro {
namespace {

// Owns a storage medium and releases it at the end of its scope.
class ScopedMedium {
  public:
    explicit ScopedMedium(const STGMEDIUM& medium) noexcept : medium_(medium) {}
    ~ScopedMedium() { ReleaseStgMedium(&medium_); }
    ScopedMedium(const ScopedMedium&) = delete;
    ScopedMedium& operator=(const ScopedMedium&) = delete;

    HGLOBAL Memory() const noexcept { return medium_.hGlobal; }

  private:
    STGMEDIUM medium_;
};

// Keeps global memory locked until the end of its scope.
class ScopedGlobalLock {
  public:
    explicit ScopedGlobalLock(HGLOBAL memory) noexcept
        : memory_(memory), content_(GlobalLock(memory)) {}
    ~ScopedGlobalLock() {
        if (IsLocked()) {
            GlobalUnlock(memory_);
        }
    }
    ScopedGlobalLock(const ScopedGlobalLock&) = delete;
    ScopedGlobalLock& operator=(const ScopedGlobalLock&) = delete;

    bool IsLocked() const noexcept { return content_ != nullptr; }

  private:
    HGLOBAL memory_;
    void* content_;
};

Selection Failed(std::wstring why) {
    return {{}, std::move(why)};
}

Selection ReadDropList(HGLOBAL memory) {
    const ScopedGlobalLock lock(memory);
    if (!lock.IsLocked()) {
        return Failed(L"Initialize GlobalLock failed");
    }
    auto* const drop = reinterpret_cast<HDROP>(memory);
    constexpr UINT kCountFiles = 0xFFFFFFFF;
    const UINT count = DragQueryFileW(drop, kCountFiles, nullptr, 0);
    if (count != 1) {
        std::wstring why = L"Initialize ignored selection count=";
        AppendNumber(why, count);
        return Failed(std::move(why));
    }
    wchar_t path[MAX_PATH] = {};
    if (DragQueryFileW(drop, 0, path, MAX_PATH) == 0) {
        return Failed(L"Initialize DragQueryFileW failed");
    }
    return {path, {}};
}

}  // namespace

Selection ReadSelection(IDataObject& dataObject) {
    FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    STGMEDIUM received = {};
    if (FAILED(dataObject.GetData(&format, &received))) {
        return Failed(L"Initialize GetData failed");
    }
    const ScopedMedium medium(received);
    return ReadDropList(medium.Memory());
}

}  // namespace kelvaro
