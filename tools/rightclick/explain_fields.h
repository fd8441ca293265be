#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rightclick {

// A field of an object, read more leniently than the extension reads it, to find out what its
// author meant.
struct LooseField {
    std::string key;
    std::string_view keyQuote;  // the quotation mark before the key; empty if there is none
    std::string raw;            // the value without its quotation marks; escapes are not decoded
    std::string_view quote;     // the quotation mark before the value; empty if there is none
    bool inList = false;        // the value is the first element of a list
};

// Returns the fields of `object`. Accepts single, typographic and missing quotation marks and texts
// with escaped quotation marks.
std::vector<LooseField> ReadLooseFields(std::string_view object);

// Returns whether authors of rules use `key` for the path of a program: "target" in any case,
// "path", "file" and so on.
bool IsTargetKey(const std::string& key);

// Returns `text` with A to Z in lower case.
std::string LowerCase(std::string text);

}  // namespace rightclick
