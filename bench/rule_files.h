#pragma once

#include <string>

namespace bench {

// The programs that are looked up. No generated file has a rule for them.
inline constexpr wchar_t kProgram[] = L"C:\\Program Files\\Sought\\Sought Program\\sought.exe";
// Differs from the rules of OrdinaryFile and SameNameFile only by the numbers in their paths.
inline constexpr wchar_t kSimilarProgram[] = L"C:\\Program Files\\Maker\\Application\\program.exe";

// A rule file as the application writes it, with one member per line. One rule in five is for a
// folder, one in ten is disabled. Each target has a folder and a file name of its own.
std::string OrdinaryFile(int rules);
// The same, but all targets have the file name of kSimilarProgram.
std::string SameNameFile(int rules);

// Adversarial shapes, which the application does not write.
std::string OneObject(size_t size);          // one rule with a note of `size` bytes
std::string OpeningBraces(size_t size);      // only opening braces
std::string BareKeys(int count);             // one object with `count` keys without values
std::string EscapesEverywhere(size_t size);  // rules with every byte of the target escaped

}  // namespace bench
