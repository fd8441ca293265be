#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kelvaro {

// The bytes of a file. A buffer of its own instead of a string: a string would write every byte
// once before the read does.
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

// The content of the file at `path` as it stands, empty when it cannot be opened or holds more than
// `limit` bytes. A read that stops early gives what was read. Other programs may go on reading,
// writing, renaming and deleting the file. Throws std::bad_alloc.
FileBytes ReadFileBytes(const wchar_t* path, uint64_t limit = UINT64_MAX);

// Whether something of any kind stands at `path`, links followed; every failure counts as absent.
bool PathExists(const wchar_t* path) noexcept;

// Appends `bytes` to the file at `path` in one write, making the file where it is absent. False
// when it cannot be opened or written.
bool AppendToFile(const wchar_t* path, std::string_view bytes) noexcept;

// Makes the directory `path` and every missing one above it. False when that fails or something
// else stands there.
bool CreateDirectories(const std::wstring& path);

}  // namespace kelvaro
