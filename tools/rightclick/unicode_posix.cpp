#include <utf8proc.h>
#include <windows.h>

#include <cstdlib>
#include <memory>

#include "common/code_page.h"
#include "console/console.h"
#include "rightclick/unicode.h"

namespace rightclick {
namespace {

std::wstring Map(std::wstring_view text, utf8proc_option_t options) {
    const std::string bytes = console::Utf8(text);
    utf8proc_uint8_t* mapped = nullptr;
    const utf8proc_ssize_t size =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                     static_cast<utf8proc_ssize_t>(bytes.size()), &mapped, options);
    if (size < 0) {
        return std::wstring(text);
    }
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(mapped, &std::free);
    return kelvaro::WideFromBytes(
        CP_UTF8, 0, {reinterpret_cast<const char*>(mapped), static_cast<size_t>(size)});
}

}  // namespace

std::wstring Compose(std::wstring_view text) {
    return Map(text, UTF8PROC_COMPOSE);
}

std::wstring FoldCase(std::wstring_view text) {
    return Map(text, static_cast<utf8proc_option_t>(UTF8PROC_CASEFOLD | UTF8PROC_STABLE));
}

}  // namespace rightclick
