// Installs, updates and removes the extension. See --help.

#include <windows.h>

#include "common/module_path.h"
#include "common/owners.h"
#include "common/path.h"
#include "console/console.h"
#include "setup/command_line.h"
#include "setup/commands.h"
#include "setup/failure.h"
#include "setup/files.h"
#include "setup/library.h"

namespace setup {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Waits until no other setup runs, on the whole machine. Throws Failure after five seconds.
class OnlySetup {
  public:
    OnlySetup() : mutex_(CreateMutexW(nullptr, FALSE, L"Global\\VorandelKelvaroSetup")) {
        constexpr DWORD kPatience = 5'000;
        // Another user's mutex cannot be opened.
        const DWORD state = mutex_ ? WaitForSingleObject(mutex_.Get(), kPatience) : WAIT_FAILED;
        if (state != WAIT_OBJECT_0 && state != WAIT_ABANDONED) {
            throw Failure("Another setup is running. Run this one again when it has ended.");
        }
    }
    ~OnlySetup() { ReleaseMutex(mutex_.Get()); }
    OnlySetup(const OnlySetup&) = delete;
    OnlySetup& operator=(const OnlySetup&) = delete;

  private:
    kelvaro::ScopedHandle mutex_;
};

void PrintError(const std::string& message) {
    console::Print(stderr, "setup: " + message + '\n');
}

int Run(const Options& options) {
    const std::wstring program = kelvaro::ReadModulePath(nullptr).path;
    Require(!program.empty(), "find", L"setup.exe");
    const std::wstring source(kelvaro::ParentPath(FullPath(program)));
    const OnlySetup only;
    const std::string report = RunCommand(options, source);
    if (!options.quiet) {
        console::Print(stdout, report);
    }
    return kDone;
}

int Main() {
    const console::Session console;
    const std::vector<std::wstring> arguments = SplitCommandLine(GetCommandLineW());
    if (arguments.size() >= 2 && arguments[0] == kLoadCommand) {
        return RunLoader(arguments[1], arguments.size() > 2);
    }
    try {
        const Options options = ParseOptions(arguments);
        if (!options.error.empty()) {
            PrintError(options.error + " (see setup --help)");
            return kWrongUsage;
        }
        if (options.action == Action::help || options.action == Action::version) {
            console::Print(stdout,
                           options.action == Action::help ? kHelp : "setup " KELVARO_VERSION "\n");
            return kDone;
        }
        return Run(options);
    } catch (const Failure& failure) {
        PrintError(failure.what() +
                   std::string(failure.IsRestored() ? "\nNothing is changed." : ""));
    } catch (const std::exception& failure) {
        PrintError(failure.what());
    }
    return kFailed;
}

}  // namespace
}  // namespace setup

int main() {
    return setup::Main();
}
