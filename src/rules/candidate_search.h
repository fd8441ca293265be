#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "rules/anchor_search.h"

namespace kelvaro {

// Finds the places in a rule file where a rule for one path can be. A necessary condition that
// looks at bytes alone: what it passes by is no such rule, what it finds has yet to be read as one.
class CandidateSearch {
  public:
    explicit CandidateSearch(std::wstring_view canonicalPath);

    // The index of the first such place at `from` or later, npos when there is none.
    size_t Next(std::string_view rules, size_t from) const noexcept;

  private:
    std::string path_;  // in UTF-8, kAnything where bytes cannot tell
    std::optional<Anchor> anchor_;
};

}  // namespace kelvaro
