#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace compat {

// The target of a .lnk file.
struct LinkTarget {
    std::wstring path;     // from the item list, else from the link info; may be empty
    std::wstring rawPath;  // with environment variables unexpanded; empty if the file has none
};

// Parses a .lnk file. std::nullopt if `bytes` are not one, or if its item list, link info or
// strings extend beyond the end.
std::optional<LinkTarget> ReadLinkFile(std::string_view bytes);

}  // namespace compat
