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

std::string FileName(const std::wstring& file) {
    return Utf8(file.substr(file.find_last_of(L"\\/") + 1));
}

}  // namespace rightclick
