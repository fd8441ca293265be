#include <windows.h>

#include <objbase.h>

#include <cstdlib>

#include "console/console.h"
#include "menu/shortcut_target.h"
#include "registration/keys.h"
#include "rightclick/explain_report.h"
#include "rightclick/handler.h"
#include "rightclick/log_lines.h"
#include "rightclick/options.h"
#include "rightclick/platform.h"
#include "rightclick/report.h"
#include "rightclick/result_text.h"
#include "rightclick/right_click.h"
#include "rightclick/target.h"
#include "rules/lock_lookup.h"
#include "server/clsid.h"
#include "shell_host/library.h"

namespace rightclick {
namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = 1;
constexpr int kNotPossible = 2;  // wrong usage, or nothing is registered

int FailUsage(const std::string& what) {
    console::Print(stderr, "rightclick: " + what);
    return kNotPossible;
}

int ChangeRegistration(const Options& options) {
    const char* const name =
        options.action == Action::registerLibrary ? "DllRegisterServer" : "DllUnregisterServer";
    const HRESULT result = shell_host::CallRegistration(options.library, name);
    console::Print(stdout, std::string(name) + ": " + DescribeResult(result) + "\n");
    return SUCCEEDED(result) ? kSuccess : kFailure;
}

// Returns the library of the command line, or the registered handler.
std::optional<Handler> ChooseHandler(const Options& options, std::string& problem) {
    if (!options.library.empty()) {
        return Handler{kelvaro::kShellExtClsid, options.library};
    }
    const std::wstring& file = options.files.front();
    auto handler = FindHandler(ClassOfFile(file), &problem);
    // The shell does not load the extension for other files. Then the file is the reason, not the
    // registration.
    if (!handler && kelvaro::KindOfFile(file) == kelvaro::FileKind::other) {
        handler = FindHandler(std::wstring(kelvaro::kProgramClass), &problem);
        problem = handler ? "" : ExplainSelection(options.files);
    }
    return handler;
}

int ReportRightClick(const Options& options, bool colour) {
    if (options.popup && !HasScreen()) {
        return FailUsage("--popup needs the Windows program and a screen\n");
    }
    Surroundings surroundings;
    surroundings.colour = colour && std::getenv("NO_COLOR") == nullptr;
    surroundings.notes = NotesOnFiles(options.files);
    if (ExplainSelection(options.files).empty()) {
        surroundings.target = ReadTarget(options.files.front());
        surroundings.locked = kelvaro::IsTargetLocked(surroundings.target->program);
    }
    const auto handler = ChooseHandler(options, surroundings.problem);
    const size_t logSize = LogSize();
    const Outcome outcome = handler ? RightClick(*handler, options) : Outcome{};
    surroundings.logLines = LogLinesFrom(logSize);
    if (surroundings.logLines.empty() && SUCCEEDED(outcome.load)) {
        const std::string unwritable = ExplainUnwritableLog();
        surroundings.notes.push_back(unwritable.empty()
                                         ? "no line was added to the log"
                                         : "the log cannot be written: " + unwritable);
    }
    console::Print(stdout, options.json ? ReportAsJson(options, outcome, surroundings).dump() + "\n"
                                        : ReportAsText(options, outcome, surroundings));
    if (!handler) {
        return kNotPossible;
    }
    return outcome.item ? kSuccess : kFailure;
}

int Explain(const Options& options) {
    const auto explanation = ExplainFile(options.files.front());
    console::Print(stdout, options.json ? explanation.dump() + "\n" : ReportAsText(explanation));
    return ExitStatus(explanation);
}

int Run(const Options& options, bool colour) {
    if (!options.error.empty()) {
        return FailUsage(options.error);
    }
    switch (options.action) {
        case Action::print:
            console::Print(stdout, options.output);
            return kSuccess;
        case Action::registerLibrary:
        case Action::unregisterLibrary:
            return ChangeRegistration(options);
        case Action::explain:
            return Explain(options);
        case Action::rightClick:
            break;
    }
    return ReportRightClick(options, colour);
}

}  // namespace
}  // namespace rightclick

int main() {
    const console::Session session;
    std::vector<std::wstring> arguments = console::Arguments();
    arguments.erase(arguments.begin());
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);  // as the shell does for its threads
    const int status = rightclick::Run(rightclick::ParseOptions(arguments), session.HasColours());
    CoUninitialize();
    return status;
}
