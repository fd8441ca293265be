#pragma once

#include <string>

namespace compat {

// The content of a file of the host. False when it cannot be read, as a directory cannot.
bool ReadHostFile(const std::string& path, std::string& content);

}  // namespace compat
