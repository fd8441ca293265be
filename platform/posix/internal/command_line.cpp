#include "internal/command_line.h"

#include <algorithm>

namespace compat {
namespace {

constexpr std::wstring_view kBlanks = L" \t";

std::wstring_view SkipBlanks(std::wstring_view line) noexcept {
    return line.substr(std::min(line.find_first_not_of(kBlanks), line.size()));
}

std::wstring TakeProgram(std::wstring_view& line) {
    const bool quoted = line.starts_with(L'"');
    line.remove_prefix(quoted ? 1 : 0);
    const size_t end =
        std::min(quoted ? line.find(L'"') : line.find_first_of(kBlanks), line.size());
    std::wstring program(line.substr(0, end));
    line.remove_prefix(std::min(end + (quoted ? 1 : 0), line.size()));
    return program;
}

std::wstring TakeArgument(std::wstring_view& line) {
    std::wstring argument;
    bool quoted = false;
    while (!line.empty() && (quoted || kBlanks.find(line[0]) == std::wstring_view::npos)) {
        const size_t backslashes = std::min(line.find_first_not_of(L'\\'), line.size());
        const bool beforeQuote = backslashes < line.size() && line[backslashes] == L'"';
        if (backslashes > 0) {
            argument.append(beforeQuote ? backslashes / 2 : backslashes, L'\\');
            line.remove_prefix(backslashes);
            if (beforeQuote && backslashes % 2 == 1) {
                argument.push_back(L'"');
                line.remove_prefix(1);
            }
        } else if (beforeQuote) {
            const bool doubled = quoted && line.size() > 1 && line[1] == L'"';
            if (doubled) {
                argument.push_back(L'"');
            } else {
                quoted = !quoted;
            }
            line.remove_prefix(doubled ? 2 : 1);
        } else {
            argument.push_back(line[0]);
            line.remove_prefix(1);
        }
    }
    return argument;
}

std::wstring Quote(std::wstring_view argument) {
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"') {
            quoted.append(backslashes + 1, L'\\');
        }
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        quoted.push_back(unit);
    }
    quoted.append(backslashes, L'\\');
    quoted.push_back(L'"');
    return quoted;
}

}  // namespace

std::vector<std::wstring> ParseCommandLine(std::wstring_view line) {
    std::vector<std::wstring> arguments;
    if (line.empty()) {
        return arguments;
    }
    arguments.push_back(TakeProgram(line));
    for (line = SkipBlanks(line); !line.empty(); line = SkipBlanks(line)) {
        arguments.push_back(TakeArgument(line));
    }
    return arguments;
}

std::wstring JoinCommandLine(const std::vector<std::wstring>& arguments) {
    std::wstring line;
    for (const std::wstring& argument : arguments) {
        const bool plain =
            !argument.empty() && argument.find_first_of(L" \t\"") == std::wstring::npos;
        line += line.empty() ? L"" : L" ";
        line += plain ? argument : Quote(argument);
    }
    return line;
}

}  // namespace compat
