#include "setup/change.h"

#include <windows.h>

#include <algorithm>

#include "common/owners.h"
#include "common/path.h"
#include "common/text.h"
#include "i18n/languages.h"
#include "setup/failure.h"
#include "setup/files.h"
#include "setup/registry.h"

namespace setup {
namespace {

constexpr wchar_t kUnfinished[] = L"Unfinished";

// The entry that describes the unfinished change: a value beside the user's backup of the
// registration. Counts from the moment in which it is written.
class Journal {
  public:
    Journal() {
        Check(RegCreateKeyExW(HKEY_CURRENT_USER, kBackupKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              key_.Put(), nullptr));
    }

    void Write(const Change& change) const {
        std::wstring lines;
        const auto append = [&lines](const std::wstring& line) { lines += line + L'\0'; };
        append(change.directory);
        append(change.number);
        for (const auto* list : {&change.present, &change.created}) {
            append(std::to_wstring(list->size()));
            std::for_each(list->begin(), list->end(), append);
        }
        const auto size = static_cast<DWORD>((lines.size() + 1) * sizeof(wchar_t));
        Check(RegSetValueExW(key_.Get(), kUnfinished, 0, REG_MULTI_SZ,
                             reinterpret_cast<const BYTE*>(lines.c_str()), size));
        Check(RegFlushKey(key_.Get()));
    }

    // Returns whether there is an unfinished change, and reads it.
    bool Read(Change& change) const {
        DWORD size = 0;
        if (RegGetValueW(key_.Get(), nullptr, kUnfinished, RRF_RT_REG_MULTI_SZ, nullptr, nullptr,
                         &size) != ERROR_SUCCESS) {
            return false;
        }
        std::vector<wchar_t> data(size / sizeof(wchar_t) + 2);
        Check(RegGetValueW(key_.Get(), nullptr, kUnfinished, RRF_RT_REG_MULTI_SZ, nullptr,
                           data.data(), &size));
        const wchar_t* at = data.data();
        const auto next = [&at] {
            std::wstring line = at;
            at += line.empty() ? 0 : line.size() + 1;
            return line;
        };
        change.directory = next();
        change.number = next();
        for (auto* list : {&change.present, &change.created}) {
            for (size_t rest = std::wcstoul(next().c_str(), nullptr, 10); rest > 0; --rest) {
                list->push_back(next());
            }
        }
        return true;
    }

    // From here on the change is final.
    void Delete() const {
        Check(RegDeleteValueW(key_.Get(), kUnfinished));
        RegFlushKey(key_.Get());
        DeleteBackup();
    }

  private:
    static void Check(LSTATUS status) {
        RequireStatus(status, "change", std::wstring(L"HKEY_CURRENT_USER\\") + kBackupKey);
    }

    kelvaro::ScopedKey key_;
};

bool Contains(const std::vector<std::wstring>& list, const std::wstring& name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

// Each step can be repeated, so that undoing can be interrupted as well. A registered directory has
// its library back before the registration is restored, and loses it afterwards. If a new file is
// still there, the file in its final place is somebody else's and stays.
void Undo(const Journal& journal, const Change& change) {
    const auto takeBack = [&change](const std::wstring& name) {
        if (IsFile(change.Path(name)) && !Exists(change.NewPath(name))) {
            Rename(change.Path(name), change.NewPath(name));
        }
    };
    for (const std::wstring& name : change.present) {
        if (!IsFile(change.OldPath(name))) {
            continue;
        }
        takeBack(name);
        const std::wstring folder(kelvaro::ParentPath(change.Path(name)));
        if (!Exists(folder)) {
            MakeDirectory(folder);
        }
        if (!Exists(change.Path(name))) {
            Rename(change.OldPath(name), change.Path(name));
        }
    }
    RestoreRegistration(change.directory);
    for (const std::wstring& name : FileNames()) {
        if (!Contains(change.present, name)) {
            takeBack(name);
        }
    }
    DeleteOldFiles(change.directory);
    std::for_each(change.created.begin(), change.created.end(), DeleteIfEmpty);
    journal.Delete();
}

Change Plan(const std::wstring& directory) {
    Change change = {directory, {}, {}, {}};
    const std::vector<std::wstring> names = FileNames();
    std::copy_if(names.begin(), names.end(), std::back_inserter(change.present),
                 [&](const std::wstring& name) { return IsFile(change.Path(name)); });
    std::wstring missing = change.Path(L"Lang");
    for (; !Exists(missing) && kelvaro::ParentPath(missing) != missing;
         missing = kelvaro::ParentPath(missing)) {
        change.created.push_back(missing);
    }
    const auto isUsed = [&change](const std::wstring& name) {
        return Exists(change.NewPath(name)) || Exists(change.OldPath(name));
    };
    int number = 0;
    do {
        change.number = std::to_wstring(++number);
    } while (std::any_of(names.begin(), names.end(), isUsed));
    return change;
}

std::wstring BaseName(const std::wstring& name) {
    return name.substr(name.find(L'\\') + 1);
}

// Returns the number in a name such as "NAME.1.old". 0 if `name` has not this form.
unsigned long NumberOf(const std::wstring& file, const std::wstring& name,
                       std::wstring_view suffix) {
    const size_t begin = name.size() + 1;
    const size_t end = file.find_first_not_of(L"0123456789", begin);
    const bool matches = end != std::wstring::npos && end > begin &&
                         kelvaro::EqualsIgnoringCase(file.substr(end), suffix);
    return matches ? std::wcstoul(file.c_str() + begin, nullptr, 10) : 0;
}

}  // namespace

std::vector<std::wstring> FileNames() {
    std::vector<std::wstring> names;
    for (const kelvaro::Language& language : kelvaro::kLanguages) {
        names.push_back(kelvaro::Concat({L"Lang\\", language.fileName}));
    }
    names.emplace_back(kLibraryName);
    return names;
}

std::wstring Change::Path(const std::wstring& name) const {
    return kelvaro::JoinPath(directory, name);
}

std::wstring Change::NewPath(const std::wstring& name) const {
    return Path(BaseName(name)) + L'.' + number + L".new";
}

std::wstring Change::OldPath(const std::wstring& name) const {
    return Path(BaseName(name)) + L'.' + number + L".old";
}

void MakeChange(const std::wstring& directory, const std::function<void(const Change&)>& steps) {
    DeleteBackup();
    const Journal journal;
    const Change change = Plan(directory);
    try {
        BackUpRegistration();
        journal.Write(change);
    } catch (const std::exception&) {
        DeleteBackup();
        throw;
    }
    try {
        steps(change);
        journal.Delete();
    } catch (const std::exception& failure) {
        try {
            Undo(journal, change);
        } catch (const std::exception& second) {
            throw Failure(
                std::string(failure.what()) + '\n' + second.what() +
                    "\nThe former state is not restored yet. Run setup again to restore it.",
                false);
        }
        throw;
    }
}

bool UndoUnfinishedChange() {
    const Journal journal;
    Change change;
    if (!journal.Read(change)) {
        DeleteBackup();
        return false;
    }
    Undo(journal, change);
    return true;
}

void RestoreRenamedLibrary(const std::wstring& directory) {
    const std::wstring library = kelvaro::JoinPath(directory, kLibraryName);
    if (!IsRegistered(directory) || Exists(library)) {
        return;
    }
    unsigned long latest = 0;
    for (const std::wstring& file : FilesStartingWith(directory, kLibraryName)) {
        latest = std::max(latest, NumberOf(file, kLibraryName, L".old"));
    }
    if (latest > 0) {
        Rename(library + L'.' + std::to_wstring(latest) + L".old", library);
    }
}

std::vector<std::wstring> DeleteOldFiles(const std::wstring& directory) {
    std::vector<std::wstring> held;
    for (const std::wstring& name : FileNames()) {
        const std::wstring base = BaseName(name);
        for (const std::wstring& file : FilesStartingWith(directory, base)) {
            const bool isOld = NumberOf(file, base, L".old") > 0 ||
                               NumberOf(file, base, L".new") > 0 ||
                               // Scripts before version 1.2 named it so.
                               file == kLibraryName + std::wstring(L".new");
            if (isOld && !Delete(kelvaro::JoinPath(directory, file))) {
                held.push_back(kelvaro::JoinPath(directory, file));
            }
        }
    }
    return held;
}

}  // namespace setup
