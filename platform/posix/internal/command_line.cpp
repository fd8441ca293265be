#include "internal/command_line.h"

#include <algorithm>

namespace compat {
namespace {

constexpr std::wstring_view kBlanks = L" \t";

std::wstring TakeProgram(std::wstring_view& line) {
    const bool quoted = line.starts_with(L'"');
    line.remove_prefix(quoted ? 1 : 0);
    const size_t end =
        std::min(quoted ? line.find(L'"') : line.find_first_of(kBlanks), line.size());
    std::wstring program(line.substr(0, end));
    line.remove_prefix(std::min(end + (quoted ? 1 : 0), line.size()));
    return program;
}

// Removes the units in `set` from the front of `line` and returns how many there were.
size_t TakeAll(std::wstring_view& line, std::wstring_view set) noexcept {
    const size_t count = std::min(line.find_first_not_of(set), line.size());
    line.remove_prefix(count);
    return count;
}

std::wstring TakeArgument(std::wstring_view& line) {
    std::wstring argument;
    size_t quotes = 0;  // 1 inside of quotes, else 0
    while (!line.empty() && (quotes > 0 || kBlanks.find(line[0]) == std::wstring_view::npos)) {
        if (const size_t backslashes = TakeAll(line, L"\\"); backslashes > 0) {
            const bool beforeQuote = line.starts_with(L'"');
            argument.append(beforeQuote ? backslashes / 2 : backslashes, L'\\');
            if (beforeQuote && backslashes % 2 == 1) {
                argument.push_back(L'"');
                line.remove_prefix(1);
            }
        } else if (line[0] == L'"') {
            // Counting the opening quote, every third quote of a run is literal and closes the
            // quoted part.
            quotes += TakeAll(line, L"\"");
            argument.append(quotes / 3, L'"');
            quotes = quotes % 3 == 1 ? 1 : 0;
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
    for (TakeAll(line, kBlanks); !line.empty(); TakeAll(line, kBlanks)) {
        arguments.push_back(TakeArgument(line));
    }
    return arguments;
}

std::wstring JoinCommandLine(const std::vector<std::wstring>& arguments) {
    std::wstring line;
    for (const std::wstring& argument : arguments) {
        line += line.empty() ? L"" : L" ";
        line += Quote(argument);
    }
    return line;
}

}  // namespace compat
