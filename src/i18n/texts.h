#pragma once

#include <string>
#include <string_view>

namespace kelvaro {

// A text: its section, its key and its default.
struct TextKey {
    std::wstring_view section;
    std::wstring_view key;
    std::wstring_view defaultText;
};

// All texts that the extension shows, except for the help text of ANSI hosts.
inline constexpr TextKey kProductName = {L"Product", L"Product short Name", L"Vorandel Kelvaro"};
inline constexpr TextKey kMenuLock = {L"ShellExt", L"menu.lock", L"Lock with {product}"};
inline constexpr TextKey kMenuUnlock = {L"ShellExt", L"menu.unlock", L"Unlock with {product}"};
inline constexpr TextKey kHelp = {L"ShellExt", L"help", L"Toggle lock state via {product}"};
inline constexpr TextKey kPromptNotFound = {L"ShellExt", L"msg.prompt_not_found",
                                            L"Cannot find KelvaroAuthPrompt.exe."};
inline constexpr TextKey kLaunchFailed = {L"ShellExt", L"msg.launch_failed",
                                          L"Failed to launch Kelvaro command."};

// Returns the text `key` in section `section` of the current language file, or `defaultText` if the
// file or the entry is missing. Reads the file on every call. Throws std::bad_alloc, like the
// functions below.
std::wstring LoadText(std::wstring_view section, std::wstring_view key,
                      std::wstring_view defaultText);
inline std::wstring LoadText(const TextKey& text) {
    return LoadText(text.section, text.key, text.defaultText);
}

// Returns the product name in the interface language.
std::wstring GetProductName();

// Returns the text of the menu item for a locked or an unlocked program, with the product name
// filled in.
std::wstring GetMenuText(bool locked);

// Returns the help text of the menu item, with the product name filled in.
std::wstring GetHelpText();

// Returns `text` with its first "{product}" replaced by `product`.
std::wstring FillProductName(std::wstring text, std::wstring_view product);

}  // namespace kelvaro
