#include "rightclick/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "common/code_page.h"
#include "console/console.h"

namespace rightclick {
namespace {

constexpr char kDescription[] =
    R"(rightclick performs the desktop shell's calls for a right-click on a file.

It loads the handler that is registered for the class of the first FILE, requests its menu item and
unloads it.)";

constexpr char kUsage[] =
    R"(
Usage: rightclick [OPTIONS] FILE...
       rightclick --explain [--json] FILE
       rightclick --watch
       rightclick --register LIBRARY | --unregister LIBRARY
)";

constexpr char kFooter[] =
    R"(The JSON object of a right-click has the keys files and offered; text, verb and help, or reason;
selection (the origin of the data object); load, initialize, query and invoke (results in hexadecimal,
as far as the calls were made); unloadable; log (with --log); and note. The JSON object of --explain
has the keys file, target, locked (null: cannot tell), reason, remarks, compared and rule_file.

Colours are used only on a terminal and only if NO_COLOR is not set.

Exit status of a right-click: 0 if an item was offered, 1 if not, 2 if nothing is registered.
Exit status of --explain: 0 if the program is locked, 1 if not, 2 if rightclick cannot tell.
Exit status of --register and --unregister: 0 on success, 1 on failure.
Wrong usage always ends with the exit status 2.
)";

// Prints the forms of a call instead of one generated line, and no relations between options.
class HelpFormatter final : public CLI::Formatter {
  public:
    HelpFormatter() { column_width(24); }

    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
        return kUsage;
    }
    std::string make_option_opts(const CLI::Option* option) const override {
        const std::string type = option->get_type_name();
        return type.empty() ? type : " " + type;
    }
};

std::wstring Wide(std::string_view text) {
    return kelvaro::WideFromBytes(CP_UTF8, 0, text);
}

std::wstring FullPath(const std::string& text) {
    const std::wstring path = Wide(text);
    std::wstring full(32768, L'\0');
    const DWORD length =
        GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    full.resize(length < full.size() ? length : 0);
    return full.empty() ? path : full;
}

UINT ParseFlags(const std::string& text) {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 16);
    if (text.empty() || *end != '\0' || value > UINT32_MAX) {
        throw CLI::ValidationError("--flags", "\"" + text + "\" is not a hexadecimal number");
    }
    return static_cast<UINT>(value);
}

class CommandLine {
  public:
    CommandLine() : app_(kDescription, "rightclick") {
        app_.formatter(std::make_shared<HelpFormatter>());
        app_.footer(kFooter);
        app_.set_help_flag();
        app_.allow_windows_style_options(false);  // a path can begin with a slash
        AddFiles();
        AddRightClickOptions();
        AddActions();
    }

    std::string Help() const { return app_.help(); }

    Options Parse(const std::vector<std::wstring>& arguments) {
        std::vector<std::string> reversed;  // as CLI11 expects them
        for (auto argument = arguments.rbegin(); argument != arguments.rend(); ++argument) {
            reversed.push_back(console::Utf8(*argument));
        }
        try {
            app_.parse(std::move(reversed));
        } catch (const CLI::ParseError& error) {
            options_.error = error.what();
            return options_;
        }
        options_.error = CheckFiles();
        return options_;
    }

  private:
    // Returns why the number of files is wrong. Empty if it is right.
    std::string CheckFiles() const {
        const size_t count = options_.files.size();
        if (std::find(options_.files.begin(), options_.files.end(), L"") != options_.files.end()) {
            return "FILE is empty";
        }
        switch (options_.action) {
            case Action::rightClick:
                return count == 0 ? "no FILE is given" : "";
            case Action::explain:
                return count != 1 ? "--explain takes one FILE" : "";
            case Action::watch:
            case Action::registerLibrary:
            case Action::unregisterLibrary:
                return count != 0 ? "FILE is only for right-clicks and --explain" : "";
            case Action::help:
            case Action::version:
                break;
        }
        return {};
    }

    void AddFiles() {
        app_.add_option_function<std::vector<std::string>>(
                "FILE",
                [this](const std::vector<std::string>& files) {
                    for (const std::string& file : files) {
                        options_.files.push_back(FullPath(file));
                    }
                },
                "one selection: Windows paths (C:\\Apps\\Tool.exe)\nor paths of this machine")
            ->type_name("");
    }

    void AddRightClickOptions() {
        rightClickOptions_ = {
            app_.add_flag("--choose", options_.choose, "also choose the item"),
            AddText("--verb", "NAME",
                    "choose the command with the verb NAME,\neven if there is no item",
                    [this](const std::string& verb) { options_.verb = Wide(verb); }),
            app_.add_flag(
                "--popup", options_.popup,
                "show the menu at the pointer and run the item\nthat is chosen there (only the "
                "Windows program)"),
            AddText("--flags", "HEX", "flags for QueryContextMenu (1: default item only)",
                    [this](const std::string& text) { options_.flags = ParseFlags(text); }),
            AddText("--library", "LIBRARY", "use LIBRARY instead of the registered one",
                    [this](const std::string& file) { options_.library = FullPath(file); }),
            app_.add_flag("--log", options_.log,
                          "print the log lines that this right-click added")};
        app_.add_flag("--json", options_.json, "print one JSON object");
    }

    void AddActions() {
        AddAction(app_.add_flag_callback(
            "--explain", [this] { options_.action = Action::explain; },
            "explain which rule locks the program, or why\nsimilar rules do not match"));
        AddAction(app_.add_flag_callback(
            "--watch", [this] { options_.action = Action::watch; },
            "print new log lines until Ctrl+C is pressed"));
        AddAction(AddText("--register", "LIBRARY", "call DllRegisterServer of LIBRARY",
                          [this](const std::string& file) {
                              options_.action = Action::registerLibrary;
                              options_.library = FullPath(file);
                          }));
        AddAction(AddText("--unregister", "LIBRARY", "call DllUnregisterServer of LIBRARY",
                          [this](const std::string& file) {
                              options_.action = Action::unregisterLibrary;
                              options_.library = FullPath(file);
                          }));
        // The callbacks run in this order, so these two override the actions above.
        app_.add_flag_callback(
            "--version", [this] { options_.action = Action::version; }, "print the version");
        app_.add_flag_callback(
            "--help", [this] { options_.action = Action::help; }, "print this text");
    }

    CLI::Option* AddText(const std::string& name, const std::string& type,
                         const std::string& description,
                         const std::function<void(const std::string&)>& store) {
        return app_.add_option_function<std::string>(name, store, description)->type_name(type);
    }

    // At most one action can be given, and no option that has no effect on it.
    void AddAction(CLI::Option* action) {
        for (const auto* const others : {&actions_, &rightClickOptions_}) {
            for (CLI::Option* const other : *others) {
                action->excludes(other);
            }
        }
        actions_.push_back(action);
    }

    CLI::App app_;
    Options options_;
    std::vector<CLI::Option*> actions_;
    std::vector<CLI::Option*> rightClickOptions_;
};

}  // namespace

Options ParseOptions(const std::vector<std::wstring>& arguments) {
    return CommandLine().Parse(arguments);
}

std::string HelpText() {
    return CommandLine().Help();
}

}  // namespace rightclick
