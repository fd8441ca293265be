#include "rightclick/options.h"

#include <cwchar>

#include "console/console.h"

namespace rightclick {

const char* const kHelp =
    R"(rightclick - performs the desktop shell's calls for a right-click on a file

usage: rightclick [options] FILE...
       rightclick --explain FILE
       rightclick --register LIBRARY | --unregister LIBRARY

FILE... is one selection: Windows paths (C:\Apps\Tool.exe) or paths of this machine. rightclick loads
the handler that is registered for the class of the first file, requests its menu item and unloads it.

  --choose              also choose the item
  --verb NAME           choose the command with the verb NAME, even if there is no item
  --popup               show the menu at the pointer and run the item that is chosen there (only the
                        Windows program)
  --flags HEX           flags for QueryContextMenu (1: default item only)
  --library FILE        use this library instead of the registered one
  --log                 print the log lines that this right-click added
  --json                print one JSON object
  --explain             explain which rule locks the program, or why similar rules do not match
  --register LIBRARY    call DllRegisterServer of LIBRARY
  --unregister LIBRARY  call DllUnregisterServer of LIBRARY
  --help                print this text
  --version             print the version

The JSON object has the keys files and offered; text, verb and help, or reason; selection (the origin
of the data object); load, initialize, query and invoke (results in hexadecimal, as far as the calls
were made); unloadable; log (with --log); and note. Colours are used only on a terminal and only if
NO_COLOR is not set.

exit status: 0 if an item was offered (or the registration succeeded), 1 if not, 2 for wrong usage or
if nothing is registered
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

// Parses the arguments. The first error is stored in the options.
class Parser {
  public:
    explicit Parser(const std::vector<std::wstring>& arguments) : arguments_(arguments) {}

    Options Parse() {
        while (options_.error.empty() && at_ < arguments_.size()) {
            ParseArgument(arguments_[at_++]);
        }
        const bool needsFile =
            options_.action == Action::rightClick || options_.action == Action::explain;
        if (needsFile && options_.error.empty() && options_.files.empty()) {
            options_.error = "no file is given";
        }
        return std::move(options_);
    }

  private:
    void ParseArgument(const std::wstring& argument) {
        if (onlyFiles_ || !argument.starts_with(L"-")) {
            options_.files.push_back(FullPath(argument));
        } else if (argument == L"--") {
            onlyFiles_ = true;
        } else if (!ParseSwitch(argument) && !ParseSetting(argument)) {
            options_.error = "unknown option " + console::Utf8(argument);
        }
    }

    bool ParseSwitch(const std::wstring& name) {
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

    bool ParseSetting(const std::wstring& name) {
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
