#pragma once

#include <string>
#include <vector>

// What the test programs leave on a Windows machine, and how it is found and removed.
namespace remains {

// Returns the directory below which the tests write: a folder of the user's temporary directory.
std::wstring TestDirectory();

// Returns the path of the mark, a file beside that directory. While it exists, what Remove deletes
// is taken for the tests' own.
std::wstring MarkFile();

// Returns the files and registry keys that exist where the tests write.
std::vector<std::wstring> Find();

// Returns the folders and keys that will contain what the tests make and do not exist yet, one to
// a line: the content of a new mark.
std::wstring MissingParents();

// Deletes what Find finds.
void Remove();

// Deletes those of `parents`, lines of MissingParents, that are empty.
void RemoveParents(const std::wstring& parents);

}  // namespace remains
