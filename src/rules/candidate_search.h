#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "rules/anchor_search.h"

namespace kelvaro {

// Prefilter for the lookup: finds the positions in a rule file where a rule for one path can be.
// Never skips a matching rule. A hit must still be parsed.
class CandidateSearch {
  public:
    // Throws std::bad_alloc.
    explicit CandidateSearch(std::wstring_view canonicalPath);

    // Returns the position of the first hit at or after `from`, npos if there is none.
    size_t Next(std::string_view rules, size_t from) const noexcept;

  private:
    std::string path_;  // in UTF-8; zero where the file can contain other bytes
    std::optional<Anchor> anchor_;
};

}  // namespace kelvaro
