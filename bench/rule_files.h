#pragma once

#include <string>

namespace bench {

// The program that is looked up; no generated file names it.
// The second looks like all that they do name.
inline constexpr wchar_t kProgram[] = L"C:\\Program Files\\Sought\\Sought Program\\sought.exe";
inline constexpr wchar_t kAlikeProgram[] = L"C:\\Program Files\\Maker 7\\Application\\program.exe";

// A rule file as an application writes it: several lines a rule, four of five for programs, a tenth
// switched off.
std::string OrdinaryFile(int rules);

// Shapes that no application writes.
std::string OneObject(size_t size);          // one rule whose note has `size` bytes
std::string OpeningBraces(size_t size);      // nothing else
std::string BareKeys(int count);             // one object of keys without values
std::string EscapesEverywhere(size_t size);  // rules whose targets are escaped byte by byte

}  // namespace bench
