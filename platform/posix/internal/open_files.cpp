#include "internal/open_files.h"

#include <winbase.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace compat {
namespace {

std::mutex g_mutex;

std::vector<const OpenFile*>& Entries() {
    // Never destroyed, because a static object may close its handle at process exit.
    static auto& entries = *new std::vector<const OpenFile*>;
    return entries;
}

}  // namespace

std::unique_ptr<OpenFile> OpenFile::Add(FileId file, DWORD access, DWORD share) {
    auto entry = std::make_unique<OpenFile>(file, access, share);
    const std::lock_guard lock(g_mutex);
    auto& entries = Entries();
    const bool refused = std::any_of(entries.begin(), entries.end(), [&](const OpenFile* other) {
        return other->file_ == file && (other->Excludes(access) || entry->Excludes(other->access_));
    });
    if (refused) {
        return nullptr;
    }
    entries.push_back(entry.get());
    return entry;
}

OpenFile::OpenFile(FileId file, DWORD access, DWORD share) noexcept
    : file_(file), access_(access), share_(share) {}

OpenFile::~OpenFile() {
    const std::lock_guard lock(g_mutex);
    std::erase(Entries(), this);
}

bool OpenFile::Excludes(DWORD access) const noexcept {
    return access_ != 0 && (((access & GENERIC_READ) != 0 && (share_ & FILE_SHARE_READ) == 0) ||
                            ((access & (GENERIC_WRITE | FILE_APPEND_DATA)) != 0 &&
                             (share_ & FILE_SHARE_WRITE) == 0));
}

bool OpenFile::IsOpen(FileId file) {
    const std::lock_guard lock(g_mutex);
    return std::any_of(Entries().begin(), Entries().end(),
                       [file](const OpenFile* entry) { return entry->file_ == file; });
}

bool OpenFile::SharesDeletion(FileId file) {
    const std::lock_guard lock(g_mutex);
    return std::all_of(Entries().begin(), Entries().end(), [file](const OpenFile* entry) {
        return !(entry->file_ == file) || entry->access_ == 0 ||
               (entry->share_ & FILE_SHARE_DELETE) != 0;
    });
}

}  // namespace compat
