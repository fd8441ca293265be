#pragma once

#include <functional>
#include <string>
#include <vector>

// Changes of an installation that are made completely or not at all, even if the run is killed.
// Before the first step everything that undoing needs is written into the user's registry: the
// directory, which files and directories exist, and the registration. The change is final when that
// entry is deleted. Until then a failure, or the next run, undoes it.
//
// A new file is first named "NAME.1.new" (or the next free number), one that it replaces
// "NAME.1.old", both in the directory itself. Later runs delete every file with such a name that no
// program holds.
namespace setup {

inline constexpr wchar_t kLibraryName[] = L"KelvaroShellExt.dll";

// Returns the names of the extension's files, relative to its directory.
std::vector<std::wstring> FileNames();

// A change of the installation in a directory.
struct Change {
    std::wstring directory;
    std::wstring number;                // for the names of new and replaced files
    std::vector<std::wstring> present;  // the names of the files that exist before the change
    std::vector<std::wstring> created;  // the directories that are missing before it, deepest first

    std::wstring Path(const std::wstring& name) const;
    std::wstring NewPath(const std::wstring& name) const;
    std::wstring OldPath(const std::wstring& name) const;
};

// Runs `steps`. If they throw Failure, undoes what they did and throws it on.
void MakeChange(const std::wstring& directory, const std::function<void(const Change&)>& steps);

// Undoes a change that an earlier run has left unfinished. Returns whether there was one. Throws
// Failure if it cannot be undone.
bool UndoUnfinishedChange();

// Gives the DLL in `directory` its name back if it is registered but was only renamed, as a run of
// another user or of the scripts before version 1.2 leaves it if it is killed.
void RestoreRenamedLibrary(const std::wstring& directory);

// Deletes the files of earlier changes in `directory`. Returns the paths of those that programs
// hold.
std::vector<std::wstring> DeleteOldFiles(const std::wstring& directory);

}  // namespace setup
