#include <pthread.h>
#include <windows.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "internal/drive.h"
#include "internal/encoding.h"
#include "support/fixture.h"
#include "support/message_boxes.h"
#include "support/platform.h"
#include "support/thread.h"
#include "testing/resources.h"
#include "testing/watch.h"

namespace fs = std::filesystem;

#ifdef KELVARO_INSTRUMENTED
// The runtime of the coverage counters loses one copy of a file name when the library is unloaded.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:strdup\n";
}
#endif

namespace platform {
namespace {

// The directory for drive C:. Emptied before every test, removed at the end of the process.
class TemporaryDrive {
  public:
    TemporaryDrive() {
        std::array<char, 64> pattern = {"/tmp/kelvaro-drive-XXXXXX"};
        path_ = mkdtemp(pattern.data());
        setenv(compat::kDriveVariable, path_.c_str(), 1);
        setenv("TZ", "<+0530>-5:30", 1);  // where local and universal time differ
    }
    ~TemporaryDrive() { fs::remove_all(path_); }
    TemporaryDrive(const TemporaryDrive&) = delete;
    TemporaryDrive& operator=(const TemporaryDrive&) = delete;

    const fs::path& Path() const { return path_; }

  private:
    fs::path path_;
};

}  // namespace

void Reset() {
    static const TemporaryDrive drive;
    for (const auto& entry : fs::directory_iterator(drive.Path())) {
        fs::remove_all(entry.path());
    }
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        unsetenv(variable);
    }
}

std::string HeldResources() {
    return compat::HeldResources();
}

bool IsWine() {
    return false;
}

fs::path NativePath(const std::wstring& path) {
    return compat::ToLinuxPath(path.c_str()).path;
}

std::wstring BuiltFile(const char* path) {
    return compat::FromLinuxPath(path);
}

}  // namespace platform

void RunOnThread(const std::function<void()>& work, size_t stack) {
    const auto run = [](void* copy) -> void* {
        (*static_cast<std::function<void()>*>(copy))();
        return nullptr;
    };
    std::function<void()> copy = work;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, stack);
    pthread_t thread = {};
    if (pthread_create(&thread, &attributes, run, &copy) != 0) {
        throw std::runtime_error("cannot create a thread");
    }
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

static std::unique_ptr<compat::Watch<&MessageBoxW>> g_watch;

MessageBoxes::MessageBoxes() {
    g_watch = std::make_unique<compat::Watch<&MessageBoxW>>(
        [this](auto... arguments) { Add(arguments...); });
}

MessageBoxes::~MessageBoxes() {
    g_watch.reset();
}
