#include <winbase.h>

#include <cstdlib>
#include <ctime>
#include <string_view>

namespace {

struct Language {
    std::string_view tag;
    LANGID id;
};

// Prefixes of the host's locale names, longer ones first: two variants of one language, and one
// that the library does not have.
constexpr Language kLanguages[] = {{"zh_TW", 0x0404}, {"zh", 0x0804}, {"de", 0x0407}};
constexpr LANGID kAmericanEnglish = 0x0409;

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
    const std::string_view locale = HostLocale();
    for (const auto& [tag, id] : kLanguages) {
        if (locale.starts_with(tag)) {
            return id;
        }
    }
    return kAmericanEnglish;
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
