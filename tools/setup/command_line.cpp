#include "setup/command_line.h"

#include <algorithm>

#include "common/text.h"
#include "setup/failure.h"
#include "setup/files.h"

namespace setup {
namespace {

constexpr struct {
    const wchar_t* word;
    Action action;
} kCommands[] = {
    {L"install", Action::install},
    {L"uninstall", Action::uninstall},
    {L"register", Action::registerLibrary},
    {L"unregister", Action::unregisterLibrary},
    {L"--help", Action::help},
    {L"-h", Action::help},
    {L"-?", Action::help},
    {L"/?", Action::help},
    {L"--version", Action::version},
};

std::string CheckDirectory(const std::wstring& directory) {
    // The question mark of "\\?\" is no wildcard.
    if (directory.find_first_of(L"*?", directory.starts_with(L"\\\\?\\") ? 4 : 0) !=
        std::wstring::npos) {
        return Quoted(directory) + " contains a wildcard; name one directory";
    }
    return kelvaro::TrimWhitespace(directory).empty() ? "DIRECTORY is empty" : "";
}

}  // namespace

std::vector<std::wstring> SplitCommandLine(std::wstring_view commandLine) {
    std::vector<std::wstring> arguments;
    bool quoted = false;
    bool inside = false;
    for (const wchar_t unit : commandLine) {
        if (!quoted && (unit == L' ' || unit == L'\t')) {
            inside = false;
            continue;
        }
        if (!inside) {
            arguments.emplace_back();
            inside = true;
        }
        if (unit == L'"') {
            quoted = !quoted;
        } else {
            arguments.back().push_back(unit);
        }
    }
    if (!arguments.empty()) {
        arguments.erase(arguments.begin());
    }
    return arguments;
}

Options ParseOptions(std::vector<std::wstring> words) {
    Options options;
    options.quiet = std::erase(words, L"--quiet") > 0;
    if (words.empty()) {
        options.error = "a command is missing";
        return options;
    }
    const auto* const command =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [&](const auto& known) { return known.word == words[0]; });
    if (command == std::end(kCommands)) {
        options.error = Quoted(words[0]) + " is not a command";
        return options;
    }
    options.action = command->action;
    const bool takesDirectory =
        options.action == Action::install || options.action == Action::uninstall;
    if (takesDirectory && words.size() == 2 && words[1] == L"/?") {
        options.action = Action::help;
    } else if (words.size() != (takesDirectory ? 2U : 1U)) {
        options.error = takesDirectory ? Quoted(words[0]) +
                                             " takes one directory; put quotes around a path "
                                             "with blanks"
                                       : Quoted(words[0]) + " takes no arguments";
    } else if (takesDirectory) {
        options.error = CheckDirectory(words[1]);
        options.directory = options.error.empty() ? FullPath(words[1]) : L"";
    }
    return options;
}

}  // namespace setup
