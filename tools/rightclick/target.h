#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "menu/shortcut_target.h"

namespace rightclick {

// How the extension classifies and resolves a selected file.
struct Target {
    kelvaro::FileKind kind = kelvaro::FileKind::other;
    std::wstring stored;   // the target that a shortcut stores
    std::wstring program;  // the program that rules can lock; empty if there is none
};

// Returns the target of `file`. The calling thread must have initialised COM.
Target ReadTarget(const std::wstring& file);

// Returns why the extension rejects the selection `files`, in the user's terms. Empty if it accepts
// it, or if the paths do not show the reason.
std::string ExplainSelection(const std::vector<std::wstring>& files);

// Returns why `target`, the target of `file`, has no program.
std::string ExplainNoProgram(const std::wstring& file, const Target& target);

// Returns why there is no file or folder at `path`: it does not exist or cannot be accessed. Empty
// if there is one.
std::string ExplainAbsence(const std::wstring& path);

// Opens the file at `path` for `access`. Returns the system error code of a failure; std::nullopt
// on success. A file in a missing folder counts as ERROR_FILE_NOT_FOUND.
std::optional<DWORD> OpenError(const wchar_t* path, DWORD access);

// Returns what is unusual about `files` for a right-click: Explorer does not show them, or not as
// files.
std::vector<std::string> NotesOnFiles(const std::vector<std::wstring>& files);

// Returns the name of `file` without its folder, as UTF-8; the whole path if it has no name.
std::string FileName(const std::wstring& file);

}  // namespace rightclick
