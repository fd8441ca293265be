#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kelvaro {

// The content of a file. Not a `std::string`, which would zero-fill the buffer first.
class FileBytes {
  public:
    FileBytes() noexcept = default;
    FileBytes(std::unique_ptr<char[]> bytes, size_t size) noexcept
        : bytes_(std::move(bytes)), size_(size) {}

    std::string_view View() const noexcept { return {bytes_.get(), size_}; }

  private:
    std::unique_ptr<char[]> bytes_;
    size_t size_ = 0;
};

// Returns the content of the file at `path`. Empty if the file cannot be opened or has more than
// `limit` bytes; the bytes read so far if reading fails. Other programs can read, write, rename and
// delete the file meanwhile. Throws std::bad_alloc.
FileBytes ReadFileBytes(const wchar_t* path, uint64_t limit = UINT64_MAX);

// Returns whether `path` names an existing file or directory. Follows links. Every failure counts
// as absent.
bool PathExists(const wchar_t* path) noexcept;

// Appends `bytes` (less than 4 GiB) to the file at `path` in one write. Creates the file if it is
// missing. Returns false if the file cannot be opened or written.
bool AppendToFile(const wchar_t* path, std::string_view bytes) noexcept;

// Creates the directory `path` and its missing parents. Returns true if the directory exists
// afterwards. Throws std::bad_alloc.
bool CreateDirectories(const std::wstring& path);

}  // namespace kelvaro
