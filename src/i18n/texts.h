#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// A text of the language file: where it stands and what it is when the file does not have it.
struct TextKey {
    std::wstring_view section;
    std::wstring_view key;
    std::wstring_view defaultText;
};

// Everything the extension ever shows.
inline constexpr TextKey kProductName = {L"Product", L"Product short Name", L"Vorandel Kelvaro"};
inline constexpr TextKey kMenuLock = {L"ShellExt", L"menu.lock", L"Lock with {product}"};
inline constexpr TextKey kMenuUnlock = {L"ShellExt", L"menu.unlock", L"Unlock with {product}"};
inline constexpr TextKey kHelp = {L"ShellExt", L"help", L"Toggle lock state via {product}"};
inline constexpr TextKey kPromptNotFound = {L"ShellExt", L"msg.prompt_not_found",
                                            L"Cannot find KelvaroAuthPrompt.exe."};
inline constexpr TextKey kLaunchFailed = {L"ShellExt", L"msg.launch_failed",
                                          L"Failed to launch Kelvaro command."};

// The text `key` in section `section` of the current language file, `defaultText` where the file or
// the entry is missing. The file is read anew each time. Throws std::bad_alloc.
std::wstring LoadText(std::wstring_view section, std::wstring_view key,
                      std::wstring_view defaultText);
inline std::wstring LoadText(const TextKey& text) {
    return LoadText(text.section, text.key, text.defaultText);
}

// The product's name in the interface language.
std::wstring GetProductName();

// The menu item's text for a program that is locked or not, product name filled in.
std::wstring GetMenuText(bool locked);

// The menu item's help text, product name filled in.
std::wstring GetHelpText();

// `text` with its first "{product}" replaced by `product`.
std::wstring FillProductName(std::wstring text, std::wstring_view product);

}  // namespace kelvaro
