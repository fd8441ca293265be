#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace compat {

// What a .lnk file says of its target.
struct LinkTarget {
    std::wstring path;     // spelt by the shell's item list, or from the link info; may be empty
    std::wstring rawPath;  // with environment variables, where the file has such a form
};

// Reads the bytes of a .lnk file; nothing when they are none or their lengths lead outside.
std::optional<LinkTarget> ReadLinkFile(std::string_view bytes);

}  // namespace compat
