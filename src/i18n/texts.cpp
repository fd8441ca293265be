#include "i18n/texts.h"

#include "i18n/language_file.h"
#include "i18n/language_location.h"

namespace kelvaro {
namespace {

constexpr std::wstring_view kPlaceholder = L"{product}";

std::wstring LoadFilledText(const TextKey& text) {
    const std::wstring product = GetProductName();
    return FillProductName(LoadText(text), product);
}

}  // namespace

std::wstring LoadText(std::wstring_view section, std::wstring_view key,
                      std::wstring_view defaultText) {
    const std::wstring path = GetLanguageFilePath();
    const std::wstring text = path.empty() ? path : ReadLanguageText(path);
    return std::wstring(FindIniValue(text, section, key).value_or(defaultText));
}

std::wstring GetProductName() {
    return LoadText(kProductName);
}

std::wstring GetMenuText(bool locked) {
    return LoadFilledText(locked ? kMenuUnlock : kMenuLock);
}

std::wstring GetHelpText() {
    return LoadFilledText(kHelp);
}

std::wstring FillProductName(std::wstring text, std::wstring_view product) {
    const size_t at = text.find(kPlaceholder);
    if (at != std::wstring::npos) {
        text.replace(at, kPlaceholder.size(), product);
    }
    return text;
}

}  // namespace kelvaro
