#include "rightclick/handler.h"

#include <objbase.h>

#include <iterator>

#include "common/owners.h"
#include "common/text.h"
#include "console/console.h"

namespace rightclick {
namespace {

constexpr wchar_t kProgramClass[] = L"exefile";
constexpr wchar_t kShortcutClass[] = L"lnkfile";

std::wstring ReadDefaultValue(HKEY root, const std::wstring& path) {
    kelvaro::ScopedKey key;
    wchar_t text[1024] = {};
    DWORD size = sizeof text - sizeof *text;
    DWORD type = REG_NONE;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS ||
        RegQueryValueExW(key.Get(), nullptr, nullptr, &type, reinterpret_cast<BYTE*>(text),
                         &size) != ERROR_SUCCESS ||
        type != REG_SZ) {
        return {};
    }
    return text;
}

// Returns the default value of a class key. Reads the user's classes first, because Wine does not
// merge them into HKEY_CLASSES_ROOT.
std::wstring ReadClassValue(const std::wstring& path) {
    const std::wstring own = ReadDefaultValue(HKEY_CURRENT_USER, L"Software\\Classes\\" + path);
    return own.empty() ? ReadDefaultValue(HKEY_CLASSES_ROOT, path) : own;
}

}  // namespace

std::wstring ClassOfFile(const std::wstring& file) {
    const std::wstring name = file.substr(file.find_last_of(L"\\/") + 1);
    const size_t dot = name.rfind(L'.');
    if (dot == std::wstring::npos) {
        return {};
    }
    const std::wstring extension = kelvaro::ToLower(name.substr(dot));
    std::wstring known = ReadClassValue(extension);
    if (known.empty() && extension == L".exe") {
        known = kProgramClass;
    }
    if (known.empty() && extension == L".lnk") {
        known = kShortcutClass;
    }
    return known;
}

Registration FindRegistration(const std::wstring& fileClass) {
    const std::string forClass = "registered for " + console::Utf8(fileClass);
    const std::wstring clsid =
        ReadClassValue(fileClass + L"\\shellex\\ContextMenuHandlers\\VorandelKelvaro");
    if (clsid.empty()) {
        const bool usual = fileClass == kProgramClass || fileClass == kShortcutClass;
        return {{},
                "nothing is " + forClass + " for this user; " +
                    (usual ? "rightclick --register LIBRARY registers the extension"
                           : "the extension is registered for exefile and lnkfile, the usual "
                             "classes of .exe and .lnk files")};
    }
    Handler handler = {};
    if (FAILED(CLSIDFromString(clsid.c_str(), &handler.clsid))) {
        return {
            {},
            "\"" + console::Utf8(clsid) + "\" is " + forClass + "; it is not a class identifier"};
    }
    handler.library = ReadClassValue(L"CLSID\\" + clsid + L"\\InprocServer32");
    if (handler.library.empty()) {
        return {
            {},
            "the class " + console::Utf8(clsid) + " is " + forClass + ", but without a library"};
    }
    return {handler, {}};
}

std::optional<Handler> FindHandler(const std::wstring& fileClass) {
    return FindRegistration(fileClass).handler;
}

}  // namespace rightclick
