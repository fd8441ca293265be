#include "internal/linux_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace compat {

bool ReadLinuxFile(const std::string& path, std::string& content) {
    content.clear();
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    std::array<char, 16384> buffer = {};
    ssize_t got = 0;
    while ((got = read(file, buffer.data(), buffer.size())) > 0) {
        content.append(buffer.data(), static_cast<size_t>(got));
    }
    close(file);
    return got == 0;
}

bool IsDirectory(const std::string& path) noexcept {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace compat
