#pragma once

#include <sys/types.h>
#include <windef.h>

#include <memory>

namespace compat {

// Identifies a host file independently of its path.
struct FileId {
    dev_t device;
    ino_t node;
    bool operator==(const FileId&) const = default;
};

// Enforces the sharing rules of open files, which the host does not have. It knows the handles of
// this process only. An object is the entry of one open handle.
class OpenFile {
  public:
    // Adds a handle with the given access rights and sharing. Returns null if an open handle does
    // not share the file with these rights, or the new one not with the open handle's rights. A
    // handle without rights never conflicts.
    static std::unique_ptr<OpenFile> Add(FileId file, DWORD access, DWORD share);

    OpenFile(FileId file, DWORD access, DWORD share) noexcept;
    ~OpenFile();
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    DWORD Access() const noexcept { return access_; }

    // True if any handle to `file` is open.
    static bool IsOpen(FileId file);

    // True if all handles to `file` allow renaming and deleting it.
    static bool SharesDeletion(FileId file);

  private:
    bool Excludes(DWORD access) const noexcept;

    FileId file_;
    DWORD access_;
    DWORD share_;
};

}  // namespace compat
