#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace kelvaro {

// Three consecutive plain bytes of a canonical path in UTF-8: neither white space nor control
// characters nor separators. Every rule for this path contains
// these three bytes in a row, in either case, each possibly escaped. Searching for them is cheap.
class Anchor {
  public:
    // Returns the last anchor before the path's four-character extension, which nearly all paths
    // share, or else one within the extension. std::nullopt if the path has no three plain bytes in
    // a row.
    static std::optional<Anchor> Choose(std::string_view canonicalPath) noexcept;

    // The index of the anchor in the path it was chosen from.
    size_t Position() const noexcept { return position_; }

    // Returns whether `bytes` starts with the anchor.
    bool Matches(std::string_view bytes) const noexcept;

    // Returns the index of the first match in `bytes` at or after `from`, npos if there is none.
    size_t Find(std::string_view bytes, size_t from) const noexcept;

    // Returns the same result as Find, byte by byte. Used without vector instructions and as their
    // test oracle.
    size_t FindPlain(std::string_view bytes, size_t from) const noexcept;

  private:
    Anchor(size_t position, std::array<char, 3> letters) noexcept
        : position_(position), letters_(letters) {}

    size_t position_;
    std::array<char, 3> letters_;
};

// Sets the bit that distinguishes upper from lower case letters. Comparing bytes folded this way
// reports false positives, which is harmless for a prefilter.
constexpr char LooseFold(char byte) noexcept {
    return static_cast<char>(byte | 0x20);
}

}  // namespace kelvaro
