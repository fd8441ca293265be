#include "i18n/language_location.h"

#include "common/file.h"
#include "common/module_path.h"
#include "common/path.h"
#include "i18n/ui_locale.h"
#include "server/module.h"

namespace kelvaro {
namespace {

constexpr std::wstring_view kSpecialOfferFolder = L"Lang_Harrowdelle_SpecialOffer";
constexpr std::wstring_view kDefaultFolder = L"Lang";
constexpr std::wstring_view kChineseFile = L"Chinese(Simplified).ini";
constexpr std::wstring_view kEnglishFile = L"English.ini";

}  // namespace

std::wstring GetModuleDirectory(HMODULE module) {
    std::wstring path = ReadModulePath(module).path;
    path.resize(ParentPath(path).size());
    return path;
}

std::wstring_view GetLanguageFileName() noexcept {
    return GetUiLocale() == kChinese ? kChineseFile : kEnglishFile;
}

std::wstring FindLanguageDirectory() {
    const std::wstring directory = GetModuleDirectory(g_moduleHandle);
    if (directory.empty()) {
        return {};
    }
    std::wstring special = JoinPath(directory, kSpecialOfferFolder);
    if (PathExists(JoinPath(special, GetLanguageFileName()).c_str())) {
        return special;
    }
    std::wstring standard = JoinPath(directory, kDefaultFolder);
    if (PathExists(JoinPath(standard, GetLanguageFileName()).c_str())) {
        return standard;
    }
    return PathExists(special.c_str()) ? special : standard;
}

std::wstring GetLanguageFilePath() {
    const std::wstring directory = FindLanguageDirectory();
    return directory.empty() ? directory : JoinPath(directory, GetLanguageFileName());
}

}  // namespace kelvaro
