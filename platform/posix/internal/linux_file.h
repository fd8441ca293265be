#pragma once

#include <string>

namespace compat {

// Reads a whole Linux file into `content`. False if it cannot be read or is a directory.
bool ReadLinuxFile(const std::string& path, std::string& content);

bool IsDirectory(const std::string& path) noexcept;

}  // namespace compat
