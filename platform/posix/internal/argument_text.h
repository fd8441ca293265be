#pragma once

#include <guiddef.h>
#include <windef.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

namespace compat {

// How arguments of platform calls are written in the record of calls.

// Text in UTF-8, "null" for a null pointer.
std::string ArgumentText(const wchar_t* text);
std::string ArgumentText(const char* text);

// An address in hexadecimal, "null" for a null pointer.
std::string ArgumentText(const void* pointer);

// {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}.
std::string ArgumentText(REFGUID id);

// Signed numbers are decimal. Unsigned numbers, mostly flags, are hexadecimal if above 9.
std::string SignedText(int64_t number);
std::string UnsignedText(uint64_t number);

// A number, or what a function returns. The function is called only if somebody records the call.
template <class Argument>
std::string ArgumentText(const Argument& argument) {
    if constexpr (std::is_invocable_v<Argument>) {
        return argument();
    } else if constexpr (std::is_pointer_v<Argument>) {
        return ArgumentText(static_cast<const void*>(argument));
    } else if constexpr (std::is_signed_v<Argument>) {
        return SignedText(argument);
    } else {
        return UnsignedText(argument);
    }
}

// Returns `format` with each "{}" replaced by the next of `texts`.
std::string FillIn(std::string_view format, std::initializer_list<std::string> texts);

}  // namespace compat
