#include "rightclick/target.h"

#include "common/code_page.h"
#include "common/file.h"
#include "common/owners.h"

namespace rightclick {

using kelvaro::FileKind;
using kelvaro::Utf8FromWide;

Target ReadTarget(const std::wstring& file) {
    Target target = {kelvaro::KindOfFile(file), {}, kelvaro::ResolveShortcutTarget(file)};
    if (target.kind == FileKind::shortcut) {
        target.stored = kelvaro::ReadStoredTarget(file);
    }
    return target;
}

std::string ExplainSelection(const std::vector<std::wstring>& files) {
    if (files.size() != 1) {
        return std::to_string(files.size()) +
               " files are selected; the extension takes exactly one";
    }
    const std::wstring& file = files.front();
    if (kelvaro::KindOfFile(file) == FileKind::other) {
        return ExplainNoProgram(file, {});
    }
    if (file.size() >= MAX_PATH) {
        return "the path has " + std::to_string(file.size()) +
               " characters; the extension reads at most " + std::to_string(MAX_PATH - 1);
    }
    return {};
}

std::string ExplainNoProgram(const std::wstring& file, const Target& target) {
    const std::string name = FileName(file);
    if (target.kind == FileKind::other) {
        return name + " is neither a program (.exe) nor a shortcut (.lnk)";
    }
    if (const std::string absence = ExplainAbsence(file); !absence.empty()) {
        return name + " " + absence;
    }
    if (target.stored.empty()) {
        return name + " is not a readable shortcut, or it does not lead to a file";
    }
    if (target.stored.size() == MAX_PATH - 1) {
        return name + " leads to a path that is cut after " + std::to_string(MAX_PATH - 1) +
               " characters, the most that the extension reads";
    }
    return name + " leads to " + Utf8FromWide(target.stored) + ", which is not a program (.exe)";
}

std::string ExplainAbsence(const std::wstring& path) {
    if (kelvaro::PathExists(path.c_str())) {
        return {};
    }
    const bool known = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    const DWORD error = GetLastError();
    if (!known && error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) {
        return "cannot be found or accessed";
    }
    const size_t begin = path.find(L'%');
    const size_t end = path.find_first_of(L"%\\/", begin + 1);
    const bool namesVariable = begin != std::wstring::npos && end != std::wstring::npos &&
                               path[end] == L'%' && end > begin + 1;
    return namesVariable ? "does not exist: environment variables are not expanded"
                         : "does not exist";
}

std::optional<DWORD> OpenError(const wchar_t* path, DWORD access) {
    const kelvaro::ScopedHandle file(
        CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = GetLastError();
    return file ? std::nullopt
                : std::optional(error == ERROR_PATH_NOT_FOUND ? ERROR_FILE_NOT_FOUND : error);
}

std::vector<std::string> NotesOnFiles(const std::vector<std::wstring>& files) {
    std::vector<std::string> notes;
    for (const std::wstring& file : files) {
        const DWORD attributes = GetFileAttributesW(file.c_str());
        if (const std::string absence = ExplainAbsence(file); !absence.empty()) {
            notes.push_back(FileName(file) + " " + absence + "; Explorer could not have shown it");
        } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            notes.push_back(FileName(file) +
                            " is a folder; Explorer never loads the extension for folders");
        }
    }
    return notes;
}

std::string FileName(const std::wstring& file) {
    const std::wstring name = file.substr(file.find_last_of(L"\\/") + 1);
    return Utf8FromWide(name.empty() ? file : name);
}

}  // namespace rightclick
