#pragma once

#include <string>

namespace kelvaro {

enum class FileKind { program, shortcut, other };

// What the name of the file at `path` makes it, in any letter case.
FileKind KindOfFile(const std::wstring& path);

// The program that `path` stands for: itself for a program, the stored target of a shortcut to one
// (taken as saved: not expanded, not searched for, not tested). Empty for anything else and on
// every failure. The calling thread has COM initialised.
std::wstring ResolveShortcutTarget(const std::wstring& path);

}  // namespace kelvaro
