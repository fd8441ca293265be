#include "setup/commands.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "common/code_page.h"
#include "common/path.h"
#include "setup/change.h"
#include "setup/failure.h"
#include "setup/files.h"
#include "setup/library.h"
#include "setup/registry.h"

namespace setup {
namespace {

using kelvaro::JoinPath;

void CheckSource(const std::wstring& source, const std::vector<std::wstring>& names) {
    for (const std::wstring& name : names) {
        if (!IsFile(JoinPath(source, name))) {
            throw Failure("Unpack the whole archive first: " + kelvaro::Utf8FromWide(name) +
                          " is not beside this program.");
        }
    }
}

// Throws Failure if `path`, where a directory or a file is needed, names the other kind.
void RequireFree(const std::wstring& path, bool needsDirectory) {
    if (Exists(path) && IsFile(path) == needsDirectory) {
        throw Failure("Cannot create " + Quoted(path) + ": a " +
                      (needsDirectory ? "file" : "directory") +
                      " has this name. Rename it or choose another directory.");
    }
}

// Registers the DLL in `directory`. Throws Failure unless it is registered there afterwards.
void RegisterLibrary(const std::wstring& directory) {
    const std::wstring library = JoinPath(directory, kLibraryName);
    LoadLibraryApart(library, true);
    if (!IsRegistered(directory)) {
        throw Failure(
            "Cannot register " + Quoted(library) +
            ": the DLL reports success but is not registered. Use another version of it.");
    }
}

std::string Register(const std::wstring& directory) {
    CheckSource(directory, {kLibraryName});
    LoadLibraryApart(JoinPath(directory, kLibraryName), false);
    MakeChange(directory, [&](const Change&) { RegisterLibrary(directory); });
    return "Registered the extension in " + Quoted(directory) +
           " for the current user. Right-click a program to see it.\n";
}

std::string Install(const std::wstring& directory, const std::wstring& source) {
    const std::vector<std::wstring> names = FileNames();
    CheckSource(source, names);
    if (IsSameDirectory(directory, source)) {
        return Register(directory);
    }
    for (const std::wstring& name : names) {
        RequireFree(JoinPath(directory, name), false);
    }
    RequireFree(JoinPath(directory, L"Lang"), true);
    RequireFree(directory, true);
    MakeChange(directory, [&](const Change& change) {
        std::for_each(change.created.rbegin(), change.created.rend(), MakeDirectory);
        for (const std::wstring& name : names) {
            CopyToDisk(JoinPath(source, name), change.NewPath(name));
        }
        LoadLibraryApart(change.NewPath(kLibraryName), false);
        for (const std::wstring& name : names) {
            if (IsFile(change.Path(name))) {
                Rename(change.Path(name), change.OldPath(name));
            }
            Rename(change.NewPath(name), change.Path(name));
        }
        RegisterLibrary(directory);
    });
    return "Installed the extension in " + Quoted(directory) +
           " and registered it for the current user. Right-click a program to see it.\n";
}

// Removes the registration of `directory` and, if `removesFiles` is set, the files in it.
std::string Remove(const std::wstring& directory, bool removesFiles) {
    std::string report;
    std::string others;
    std::vector<HKEY> roots;
    for (const HKEY root : kRoots) {
        const std::optional<std::wstring> registered = RegisteredDirectory(root);
        if (registered && IsSameDirectory(*registered, directory)) {
            roots.push_back(root);
        } else if (registered) {
            others += "The extension in " + Quoted(*registered) + " stays registered.\n";
        }
    }
    MakeChange(directory, [&](const Change& change) {
        std::for_each(roots.begin(), roots.end(), RemoveRegistration);
        if (!removesFiles) {
            return;
        }
        for (const std::wstring& name : change.present) {
            Rename(change.Path(name), change.OldPath(name));
            report = "Removed the extension's files from " + Quoted(directory) + ".\n";
        }
        DeleteIfEmpty(change.Path(L"Lang"));
    });
    if (!roots.empty()) {
        NotifyShell();
        report += "Removed the registration of the extension in " + Quoted(directory) + ".\n";
    }
    if (report.empty()) {
        report = "The extension is not " + std::string(removesFiles ? "installed" : "registered") +
                 " in " + Quoted(directory) + ".\n";
    }
    return report + others;
}

}  // namespace

std::string RunCommand(const Options& options, const std::wstring& source) {
    const std::wstring& target = options.directory.empty() ? source : options.directory;
    std::string report;
    if (UndoUnfinishedChange()) {
        report = "Undid the changes of an earlier run that was interrupted.\n";
    }
    RestoreRenamedLibrary(target);
    DeleteOldFiles(target);
    report += options.action == Action::install ? Install(target, source)
              : options.action == Action::registerLibrary
                  ? Register(target)
                  : Remove(target, options.action == Action::uninstall);
    for (const std::wstring& file : DeleteOldFiles(target)) {
        report += "A program still uses " + Quoted(file) +
                  ". Run setup again when it has ended to delete the file.\n";
    }
    return report;
}

}  // namespace setup
