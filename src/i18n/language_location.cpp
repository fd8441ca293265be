#include "i18n/language_location.h"

#include <algorithm>
#include <iterator>

#include "common/file.h"
#include "common/module_path.h"
#include "common/path.h"
#include "i18n/languages.h"
#include "i18n/ui_locale.h"
#include "server/module.h"

namespace kelvaro {
namespace {

constexpr std::wstring_view kSpecialOfferFolder = L"Lang_Harrowdelle_SpecialOffer";
constexpr std::wstring_view kDefaultFolder = L"Lang";

}  // namespace

std::wstring_view GetLanguageFileName() noexcept {
    const std::wstring_view tag = GetUiLocale();
    const auto* const found =
        std::find_if(std::begin(kLanguages), std::end(kLanguages),
                     [tag](const Language& language) { return language.tag == tag; });
    return found->fileName;  // GetUiLocale returns no other tags.
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
