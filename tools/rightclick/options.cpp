#include "rightclick/options.h"

#include <cwchar>

#include "console/console.h"

namespace rightclick {

const char* const kHelp =
    R"(rightclick - does what the desktop shell does when somebody right-clicks a file

usage: rightclick [options] FILE...
       rightclick --explain FILE
       rightclick --register LIBRARY | --unregister LIBRARY

FILE... is one selection: Windows paths (C:\Apps\Tool.exe) or paths of this machine. The handler
that is registered for the first file's class is loaded, asked for its menu item and unloaded.

  --choose              choose the item too
  --verb NAME           choose the command called NAME, whatever the item
  --popup               show the menu on the screen, at the pointer, and carry out what is chosen
                        there (the Windows program only)
  --flags HEX           menu flags for the handler (1: default item only)
  --library FILE        ask this library instead of the registered one
  --log                 print the log lines that this right-click added
  --json                print one JSON object
  --explain             say which rule locks the program, or what keeps the nearest ones from it
  --register LIBRARY    make LIBRARY register itself
  --unregister LIBRARY  make LIBRARY remove its registration
  --help, --version

The JSON object has: files, offered, then text, verb and help (or reason), selection (who made the
data object), load, initialize, query and invoke (results in hex, as far as it came), unloadable, log
(with --log) and note. Colours are for terminals only, and not where NO_COLOR is set.

exit status: 0 an item was offered (or the registration succeeded), 1 none was, 2 wrong usage or
nothing registered
)";

namespace {

std::wstring FullPath(const std::wstring& path) {
    std::wstring full(32768, L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(length < full.size() ? length : 0);
    return full.empty() ? path : full;
}

bool ParseFlags(const std::wstring& text, UINT& flags) {
    wchar_t* end = nullptr;
    const unsigned long value = std::wcstoul(text.c_str(), &end, 16);
    flags = static_cast<UINT>(value);
    return !text.empty() && *end == L'\0' && value <= 0xFFFFFFFFUL;
}

// Walks over the arguments; what is wrong with them ends up in the options.
class Parser {
  public:
    explicit Parser(const std::vector<std::wstring>& arguments) : arguments_(arguments) {}

    Options Parse() {
        while (options_.error.empty() && at_ < arguments_.size()) {
            TakeOne(arguments_[at_++]);
        }
        const bool needsFile =
            options_.action == Action::rightClick || options_.action == Action::explain;
        if (needsFile && options_.error.empty() && options_.files.empty()) {
            options_.error = "which file?";
        }
        return std::move(options_);
    }

  private:
    void TakeOne(const std::wstring& argument) {
        if (onlyFiles_ || !argument.starts_with(L"-")) {
            options_.files.push_back(FullPath(argument));
        } else if (argument == L"--") {
            onlyFiles_ = true;
        } else if (!TakeSwitch(argument) && !TakeSetting(argument)) {
            options_.error = "unknown option " + console::Utf8(argument);
        }
    }

    bool TakeSwitch(const std::wstring& name) {
        if (name == L"--help") {
            options_.action = Action::help;
        } else if (name == L"--version") {
            options_.action = Action::version;
        } else if (name == L"--choose") {
            options_.choose = true;
        } else if (name == L"--explain") {
            options_.action = Action::explain;
        } else if (name == L"--popup") {
            options_.popup = true;
        } else if (name == L"--json") {
            options_.json = true;
        } else if (name == L"--log") {
            options_.log = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeSetting(const std::wstring& name) {
        const bool registers = name == L"--register";
        const bool unregisters = name == L"--unregister";
        if (registers || unregisters || name == L"--library") {
            options_.library = FullPath(Value(name));
            options_.action = registers     ? Action::registerLibrary
                              : unregisters ? Action::unregisterLibrary
                                            : options_.action;
        } else if (name == L"--verb") {
            options_.verb = Value(name);
        } else if (name == L"--flags") {
            if (const std::wstring text = Value(name);
                options_.error.empty() && !ParseFlags(text, options_.flags)) {
                options_.error = "--flags takes a hexadecimal number";
            }
        } else {
            return false;
        }
        return true;
    }

    std::wstring Value(const std::wstring& name) {
        if (at_ < arguments_.size()) {
            return arguments_[at_++];
        }
        options_.error = console::Utf8(name) + " needs a value";
        return {};
    }

    const std::vector<std::wstring>& arguments_;
    size_t at_ = 0;
    bool onlyFiles_ = false;
    Options options_;
};

}  // namespace

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    return Parser(arguments).Parse();
}

}  // namespace rightclick
