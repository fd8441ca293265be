#pragma once

#include <string>
#include <string_view>

namespace rightclick {

// Finds the file name of a program in a rule file, in any letter case and with any escapes,
// even with other blanks or unseen characters, or with letters beyond ASCII in another encoding
// than UTF-8.
class NameSearch {
  public:
    explicit NameSearch(std::wstring_view canonicalPath);

    // Returns whether the bytes of a rule file `text` contain the name, and not only as the end of
    // another name. Takes linear time.
    bool IsIn(std::string_view text) const;

  private:
    // Returns whether `text` begins with the name.
    bool IsAtStartOf(std::string_view text) const;

    std::wstring name_;  // folded
};

}  // namespace rightclick
