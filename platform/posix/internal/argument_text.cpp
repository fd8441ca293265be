#include "internal/argument_text.h"

#include <array>
#include <charconv>

#include "internal/encoding.h"
#include "internal/guid.h"

namespace compat {

std::string ArgumentText(const wchar_t* text) {
    return text == nullptr ? "null" : Utf8FromWide(text);
}

std::string ArgumentText(const char* text) {
    return text == nullptr ? "null" : text;
}

std::string ArgumentText(const void* pointer) {
    return pointer == nullptr ? "null" : UnsignedText(reinterpret_cast<uintptr_t>(pointer));
}

std::string ArgumentText(REFGUID id) {
    return FormatGuid(id);
}

std::string SignedText(int64_t number) {
    return std::to_string(number);
}

std::string UnsignedText(uint64_t number) {
    std::array<char, sizeof number* 2> digits = {};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    const std::string_view text(digits.data(), static_cast<size_t>(end - digits.data()));
    return (number < 10 ? "" : "0x") + std::string(text);
}

std::string FillIn(std::string_view format, std::initializer_list<std::string> texts) {
    std::string filled;
    for (const std::string& text : texts) {
        const size_t at = format.find("{}");
        filled.append(format.substr(0, at)).append(text);
        format.remove_prefix(at + 2);
    }
    return filled.append(format);
}

}  // namespace compat
