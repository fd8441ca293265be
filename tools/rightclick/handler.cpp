#include "rightclick/handler.h"

#include <objbase.h>

#include "common/code_page.h"
#include "common/owners.h"
#include "common/text.h"
#include "menu/shortcut_target.h"
#include "registration/keys.h"
#include "rightclick/platform.h"

namespace rightclick {
namespace {

using kelvaro::Concat;
using kelvaro::kProgramClass;
using kelvaro::kShortcutClass;
using kelvaro::Utf8FromWide;

std::wstring ReadDefaultValue(HKEY root, const std::wstring& path) {
    kelvaro::ScopedKey key;
    wchar_t text[1024] = {};
    DWORD size = sizeof text - sizeof *text;
    DWORD type = REG_NONE;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), nullptr, nullptr, &type, reinterpret_cast<BYTE*>(text),
                         &size) != ERROR_SUCCESS) {
        return {};
    }
    return type == REG_SZ ? text : type == REG_EXPAND_SZ ? ExpandVariables(text) : L"";
}

// Returns the default value of a class key. Reads the user's classes first, because Wine does not
// merge them into HKEY_CLASSES_ROOT.
std::wstring ReadClassValue(const std::wstring& path) {
    const std::wstring own = ReadDefaultValue(HKEY_CURRENT_USER, Concat({kelvaro::kClasses, path}));
    return own.empty() ? ReadDefaultValue(HKEY_CLASSES_ROOT, path) : own;
}

std::wstring ReadHandler(std::wstring_view fileClass) {
    return ReadClassValue(Concat({fileClass, kelvaro::kHandlerKey}));
}

// Explains why nothing is registered for `fileClass`.
std::string ExplainNoHandler(const std::wstring& fileClass) {
    const std::string nothing =
        "nothing is registered for " + Utf8FromWide(fileClass) + " for this user";
    if (fileClass == kProgramClass || fileClass == kShortcutClass) {
        return nothing + kHowToRegister;
    }
    const bool usual = !ReadHandler(kProgramClass).empty() && !ReadHandler(kShortcutClass).empty();
    return nothing + "; the extension registers for exefile and lnkfile only" +
           (usual ? ", and is registered there" : "") +
           "; to restore these classes, run as administrator: assoc .exe=exefile and assoc "
           ".lnk=lnkfile";
}

}  // namespace

std::wstring ClsidText(const CLSID& clsid) {
    kelvaro::ScopedComText text;
    return SUCCEEDED(StringFromCLSID(clsid, text.Put())) ? text.Get() : L"";
}

std::wstring ClassOfFile(const std::wstring& file) {
    const size_t dot = file.find_last_of(L".\\/");
    if (dot == std::wstring::npos || file[dot] != L'.') {
        return {};
    }
    const std::wstring known = ReadClassValue(file.substr(dot));
    const kelvaro::FileKind kind = kelvaro::KindOfFile(file);
    return !known.empty()                        ? known
           : kind == kelvaro::FileKind::program  ? std::wstring(kProgramClass)
           : kind == kelvaro::FileKind::shortcut ? std::wstring(kShortcutClass)
                                                 : L"";
}

std::optional<Handler> FindHandler(const std::wstring& fileClass, std::string* problem) {
    const std::wstring clsid = ReadHandler(fileClass);
    const std::string name = Utf8FromWide(fileClass);
    Handler handler = {};
    std::string reason;
    if (clsid.empty()) {
        reason = ExplainNoHandler(fileClass);
    } else if (FAILED(CLSIDFromString(clsid.c_str(), &handler.clsid))) {
        reason = "\"" + Utf8FromWide(clsid) + "\" is registered for " + name +
                 "; it is not a class identifier" + kHowToRegister;
    } else {
        handler.library = ReadClassValue(Concat({kelvaro::kClassKey, clsid, kelvaro::kServerKey}));
        std::erase(handler.library, L'"');  // COM ignores them
        if (!handler.library.empty()) {
            return handler;
        }
        reason = "the class " + Utf8FromWide(clsid) + " is registered for " + name +
                 ", but without a library" + kHowToRegister;
    }
    if (problem != nullptr) {
        *problem = reason;
    }
    return {};
}

}  // namespace rightclick
