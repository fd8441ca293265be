#pragma once

#include <optional>
#include <string_view>

namespace kelvaro {

// The bytes between two braces of a rule file, or between a brace and one end of the file, with the
// opening brace before them and the closing brace after them if there are any.
struct RulePiece {
    std::string_view text;
    bool opened;  // an opening brace is before it
    bool closed;  // a closing brace is after it

    // A flat object has no brace between its own two. Only flat objects can be rules.
    bool IsFlatObject() const noexcept { return opened && closed; }
};

// Iterates over the pieces of a rule file, front to back.
class RulePieces {
  public:
    explicit RulePieces(std::string_view rules) noexcept : rules_(rules) {}

    // Returns the next piece; std::nullopt at the end of the file.
    std::optional<RulePiece> Next() noexcept { return Find(next_); }

    // Returns the piece that contains the byte at `position` and skips those before it. `position`
    // must not be before the next piece.
    std::optional<RulePiece> Find(size_t position) noexcept;

    // The position of the next piece.
    size_t Position() const noexcept { return next_; }

  private:
    std::string_view rules_;
    size_t next_ = 0;
};

}  // namespace kelvaro
