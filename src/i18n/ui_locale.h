#pragma once

#include <string_view>

namespace kelvaro {

// A language tag is always one of these two.
inline constexpr std::wstring_view kChinese = L"zh-CN";
inline constexpr std::wstring_view kEnglish = L"en-US";

// The interface language: the user's setting where there is a usable one, else the display
// language.
std::wstring_view GetUiLocale() noexcept;

// The language of the user's setting "UILocale", empty when there is no usable value.
std::wstring_view ReadRegistryLocale() noexcept;

// The language tag that any `tag` stands for: Chinese when it begins with "zh", else English.
std::wstring_view NormalizeLocale(std::wstring_view tag) noexcept;

}  // namespace kelvaro
