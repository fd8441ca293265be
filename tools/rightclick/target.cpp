#include "rightclick/target.h"

#include "common/file.h"
#include "console/console.h"

namespace rightclick {

using console::Utf8;
using kelvaro::FileKind;

Target ReadTarget(const std::wstring& file) {
    Target target = {kelvaro::KindOfFile(file), {}, kelvaro::ResolveShortcutTarget(file)};
    if (target.kind == FileKind::shortcut) {
        target.stored = kelvaro::ReadStoredTarget(file);
    }
    return target;
}

std::string ExplainNoProgram(const std::wstring& file, const Target& target) {
    if (!target.program.empty()) {
        return {};
    }
    const std::string name = FileName(file);
    if (target.kind == FileKind::other) {
        return name + " is neither a program (.exe) nor a shortcut (.lnk)";
    }
    if (!kelvaro::PathExists(file.c_str())) {
        return name + " does not exist";
    }
    if (target.stored.empty()) {
        return name + " is not a readable shortcut, or it does not lead to a file";
    }
    return name + " leads to " + Utf8(target.stored) + ", which is not a program (.exe)";
}

bool StoresVariable(const std::wstring& path) {
    size_t begin = path.find(L'%');
    while (begin != std::wstring::npos) {
        const size_t end = path.find_first_of(L"%\\/", begin + 1);
        if (end != std::wstring::npos && path[end] == L'%' && end > begin + 1) {
            return !kelvaro::PathExists(path.c_str());
        }
        begin = path.find(L'%', begin + 1);
    }
    return false;
}

std::string FileName(const std::wstring& file) {
    const std::wstring name = file.substr(file.find_last_of(L"\\/") + 1);
    return Utf8(name.empty() ? file : name);
}

}  // namespace rightclick
