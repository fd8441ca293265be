#pragma once

#include <string>
#include <vector>

// File operations of setup. Paths are full, of any length and without the prefix "\\?\", which the
// functions add themselves. Those that return nothing throw Failure.
namespace setup {

// Returns the full path of `path`, without trailing separators and without "\\?\".
std::wstring FullPath(std::wstring path);

bool Exists(const std::wstring& path);
bool IsFile(const std::wstring& path);

// Returns whether two paths name the same directory. If neither exists, compares the texts.
bool IsSameDirectory(const std::wstring& left, const std::wstring& right);

// Copies a file to a name that is free and waits until the copy is on the disk. The copy is not
// read-only.
void CopyToDisk(const std::wstring& from, const std::wstring& to);

// Renames a file to a name that is free. Works while programs have the file loaded as a DLL.
void Rename(const std::wstring& from, const std::wstring& to);

void MakeDirectory(const std::wstring& path);

// Deletes a file, even if it is read-only. Returns false if a program holds it.
bool Delete(const std::wstring& path);

// Deletes a directory if it is empty.
void DeleteIfEmpty(const std::wstring& path);

// Returns the names of the files in `directory` that start with `prefix`.
std::vector<std::wstring> FilesStartingWith(const std::wstring& directory,
                                            const std::wstring& prefix);

}  // namespace setup
