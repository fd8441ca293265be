#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace rightclick {

// A field of an object, read more leniently than the extension reads it, to find out what its
// author meant. All texts are views into the object.
struct LooseField {
    std::string_view key;
    std::string_view keyQuote;  // the quotation mark before the key; empty if there is none
    std::string_view raw;       // the value without its quotation marks; escapes are not decoded
    std::string_view quote;     // the quotation mark before the value; empty if there is none
    bool inList = false;        // the value is an element of a list
};

// Returns the fields of `object`, one for each element of a list. Accepts single, typographic and
// missing quotation marks and texts with escaped quotation marks.
std::vector<LooseField> ReadLooseFields(std::string_view object);

// An object that can be a rule.
struct Rule {
    explicit Rule(std::string_view object) : text(object), fields(ReadLooseFields(object)) {}

    std::string_view text;
    std::vector<LooseField> fields;
};

// Returns the length of the quoted text at the start of `text`, up to the quotation mark `closing`.
size_t QuotedLength(std::string_view text, std::string_view closing);

// Returns whether authors of rules use `key` for the path of a program: "target" in any case,
// "path", "file" and so on.
bool IsTargetKey(std::string_view key);

// Returns `text` with A to Z in lower case.
std::string LowerCase(std::string_view text);

// Returns `bytes` of a rule file as valid UTF-8 that is short enough for a message.
std::string Shown(std::string_view bytes);

// Returns the same in double quotation marks.
std::string Quoted(std::string_view bytes);

}  // namespace rightclick
