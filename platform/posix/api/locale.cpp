#include <winbase.h>

#include <cstdlib>
#include <ctime>
#include <string_view>

namespace {

std::string_view HostLocale() noexcept {
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

}  // namespace

LANGID GetUserDefaultUILanguage() noexcept {
    constexpr LANGID kChinese = 0x0804;
    constexpr LANGID kAmericanEnglish = 0x0409;
    return HostLocale().starts_with("zh") ? kChinese : kAmericanEnglish;
}

void GetLocalTime(SYSTEMTIME* time) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local = {};
    localtime_r(&now.tv_sec, &local);
    *time = {static_cast<WORD>(local.tm_year + 1900), static_cast<WORD>(local.tm_mon + 1),
             static_cast<WORD>(local.tm_wday),        static_cast<WORD>(local.tm_mday),
             static_cast<WORD>(local.tm_hour),        static_cast<WORD>(local.tm_min),
             static_cast<WORD>(local.tm_sec),         static_cast<WORD>(now.tv_nsec / 1'000'000)};
}
