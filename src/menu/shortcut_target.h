#pragma once

#include <string>

namespace kelvaro {

enum class FileKind { program, shortcut, other };

// Classifies `path` by its extension, ignoring case. Throws std::bad_alloc.
FileKind KindOfFile(const std::wstring& path);

// Returns the target stored in the shortcut at `path`, at most 259 units: not expanded, not
// searched for, not checked for existence. Empty if there is none or a call fails. The calling
// thread must have initialised COM. Throws std::bad_alloc.
std::wstring ReadStoredTarget(const std::wstring& path);

// Returns the program that `path` leads to: `path` itself for a program, the stored target for a
// shortcut to a program. Empty for other files and on every failure. The calling thread must have
// initialised COM. Throws std::bad_alloc.
std::wstring ResolveShortcutTarget(const std::wstring& path);

}  // namespace kelvaro
