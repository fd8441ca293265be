#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace kelvaro {

// Three neighbouring plain bytes of a canonical path in UTF-8. A rule can only name that path where
// its target holds the three in a row, in either case, each perhaps escaped by a backslash: a
// necessary condition that is cheap to look for in megabytes of rules.
class Anchor {
  public:
    // The anchor that lies closest before the path's four-character extension (nearly every path
    // shares the extension), or else any; nothing when the path has no three such bytes in a row.
    static std::optional<Anchor> Choose(std::string_view canonicalPath) noexcept;

    // The index of the anchor's first letter in the path it was chosen from.
    size_t Position() const noexcept { return position_; }

    // Whether the anchor stands at the beginning of `bytes`.
    bool Matches(std::string_view bytes) const noexcept;

    // The index of the first match in `bytes` that begins at `from` or later, npos when there is
    // none.
    size_t Find(std::string_view bytes, size_t from) const noexcept;

    // The same answer as Find, byte by byte: what is used without vector instructions, and what
    // they are tested against.
    size_t FindPlain(std::string_view bytes, size_t from) const noexcept;

  private:
    Anchor(size_t position, std::array<char, 3> letters) noexcept
        : position_(position), letters_(letters) {}

    size_t position_;
    std::array<char, 3> letters_;
};

// The bit that tells a letter's cases apart. Setting it on both sides of a comparison also takes a
// few unequal bytes for equal, which a necessary condition may.
constexpr char LooseFold(char byte) noexcept {
    return static_cast<char>(byte | 0x20);
}

}  // namespace kelvaro
