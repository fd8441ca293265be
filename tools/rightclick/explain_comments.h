#pragma once

#include <string_view>
#include <vector>

namespace rightclick {

// The comments of a rule file: from // or /* on, and lines that begin with #. The extension reads
// rules in them, too.
class Comments {
  public:
    explicit Comments(std::string_view rules);

    // Returns whether `part` of the rule file begins in a comment.
    bool Contain(std::string_view part) const;

  private:
    std::vector<std::string_view> comments_;  // in the order of the file
};

}  // namespace rightclick
