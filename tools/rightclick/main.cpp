#include <windows.h>

#include <objbase.h>

#include <cstdlib>

#include "common/file.h"
#include "console/console.h"
#include "menu/shortcut_target.h"
#include "rightclick/explain_report.h"
#include "rightclick/handler.h"
#include "rightclick/library.h"
#include "rightclick/menu_screen.h"
#include "rightclick/options.h"
#include "rightclick/reason.h"
#include "rightclick/report.h"
#include "rightclick/result_text.h"
#include "rightclick/right_click.h"
#include "rightclick/target.h"
#include "rightclick/watch.h"
#include "rules/lock_lookup.h"
#include "server/clsid.h"

namespace rightclick {
namespace {

constexpr int kOffered = 0;
constexpr int kNothingOffered = 1;
constexpr int kWrongUsage = 2;

// Initialises COM for the calling thread, as the shell does for its threads.
class ComApartment {
  public:
    ComApartment() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~ComApartment() { CoUninitialize(); }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
};

int FailUsage(const std::string& what) {
    console::Print(stderr, "rightclick: " + what + "\n");
    return kWrongUsage;
}

int ChangeRegistration(const Options& options) {
    const char* const name =
        options.action == Action::registerLibrary ? "DllRegisterServer" : "DllUnregisterServer";
    const HRESULT result = CallRegistration(options.library, name);
    console::Print(stdout, std::string(name) + ": " + DescribeResult(result) + "\n");
    return SUCCEEDED(result) ? kOffered : kNothingOffered;
}

// Returns the library of the command line, or the registered handler.
Registration ChooseHandler(const Options& options) {
    if (!options.library.empty()) {
        return {Handler{kelvaro::kShellExtClsid, options.library}, {}};
    }
    const std::wstring& file = options.files.front();
    Registration found = FindRegistration(ClassOfFile(file));
    // The shell does not load the extension for other files. Then the file is the reason, not the
    // registration.
    if (!found.handler && kelvaro::KindOfFile(file) == kelvaro::FileKind::other) {
        found = FindRegistration(L"exefile");
        found.problem = found.handler ? "" : ExplainSelection(options);
    }
    return found;
}

// Returns notes on selected files that Explorer does not show or does not show as files.
std::vector<std::string> NotesOnFiles(const std::vector<std::wstring>& files) {
    std::vector<std::string> notes;
    for (const std::wstring& file : files) {
        const DWORD attributes = GetFileAttributesW(file.c_str());
        if (!kelvaro::PathExists(file.c_str())) {
            notes.push_back(FileName(file) + " does not exist; Explorer could not have shown it");
        } else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            notes.push_back(FileName(file) + " is a folder; Explorer has no such item for folders");
        }
    }
    return notes;
}

int ReportRightClick(const Options& options) {
    if (options.popup && !MenuScreen::IsThere()) {
        return FailUsage("--popup needs the Windows program and a screen");
    }
    Surroundings surroundings;
    surroundings.colour = std::getenv("NO_COLOR") == nullptr && console::IsTerminal(stdout);
    surroundings.notes = NotesOnFiles(options.files);
    if (ExplainSelection(options).empty()) {
        surroundings.target = ReadTarget(options.files.front());
        surroundings.locked = kelvaro::IsTargetLocked(surroundings.target->program);
    }
    const auto [handler, problem] = ChooseHandler(options);
    surroundings.problem = problem;
    const size_t logBegin = options.log ? ReadLog().size() : 0;
    const Outcome outcome = handler ? RightClick(*handler, options) : Outcome{};
    if (options.log) {
        surroundings.logLines = LinesAfter(ReadLog(), logBegin);
    }
    console::Print(stdout, options.json ? ReportAsJson(options, outcome, surroundings)
                                        : ReportAsText(options, outcome, surroundings));
    if (!handler) {
        return kWrongUsage;
    }
    return outcome.item ? kOffered : kNothingOffered;
}

int Explain(const Options& options) {
    const ExplainReport report = ExplainFile(options.files.front());
    console::Print(stdout, options.json ? ReportAsJson(report) : ReportAsText(report));
    return ExitStatus(report.explanation.state);
}

int Run(const Options& options) {
    if (!options.error.empty()) {
        return FailUsage(options.error + " (see rightclick --help)");
    }
    switch (options.action) {
        case Action::help:
            console::Print(stdout, HelpText());
            return kOffered;
        case Action::version:
            console::Print(stdout, "rightclick " KELVARO_VERSION "\n");
            return kOffered;
        case Action::registerLibrary:
        case Action::unregisterLibrary:
            return ChangeRegistration(options);
        case Action::explain:
            return Explain(options);
        case Action::watch:
            WatchLog();
            return kOffered;
        case Action::rightClick:
            break;
    }
    return ReportRightClick(options);
}

}  // namespace
}  // namespace rightclick

int main() {
    std::vector<std::wstring> arguments = console::Arguments();
    arguments.erase(arguments.begin());
    const rightclick::ComApartment apartment;
    return rightclick::Run(rightclick::ParseOptions(arguments));
}
