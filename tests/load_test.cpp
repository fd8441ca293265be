#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <map>
#include <random>
#include <thread>

#include "common/owners.h"
#include "log/log.h"
#include "server/clsid.h"
#include "server/exports.h"
#include "server/module.h"
#include "support/extension.h"
#include "support/fixture.h"

namespace kelvaro {
namespace {

// Starts `count` processes. Each calls `work` with its number and exits.
template <class Work>
std::vector<pid_t> StartProcesses(int count, Work work) {
    std::vector<pid_t> processes;
    for (int number = 0; number < count; ++number) {
        const pid_t child = fork();
        if (child == 0) {
            work(number);
            _exit(0);
        }
        processes.push_back(child);
    }
    return processes;
}

void WaitForAll(const std::vector<pid_t>& processes) {
    for (const pid_t process : processes) {
        int status = -1;
        EXPECT_EQ(waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }
}

// Calls `work` with the numbers of `count` threads that start together. Waits for them.
template <class Work>
void RunThreads(int count, Work work) {
    std::barrier start(count);
    std::vector<std::jthread> threads;  // joined when they are destroyed
    threads.reserve(static_cast<size_t>(count));
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&start, &work, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
}

using Load = DriveTest;

TEST_F(Load, EightProcessesLoseNoLine) {
    constexpr int kProcesses = 8;
    constexpr int kLines = 2000;
    WaitForAll(StartProcesses(kProcesses, [](int number) {
        for (int line = 0; line < kLines; ++line) {
            WriteLog(L"process " + std::to_wstring(number) + L" line " + std::to_wstring(line) +
                     std::wstring(static_cast<size_t>(line % 300), L'.'));
        }
    }));
    const std::vector<std::string> messages = Messages();
    EXPECT_EQ(messages.size(), size_t{kProcesses} * kLines);
    std::map<std::string, int> next;
    for (const std::string& message : messages) {
        const std::string process = message.substr(0, 9);
        int& line = next[process];
        ASSERT_EQ(message, process + " line " + std::to_string(line) +
                               std::string(static_cast<size_t>(line % 300), '.'));
        ++line;
    }
}

// The log's directory is missing when all threads write their first line.
TEST_F(Load, ConcurrentFirstLinesAreAllWritten) {
    constexpr int kThreads = 4;
    for (int round = 0; round < 200; ++round) {
        RunThreads(kThreads, [](int) { WriteLog(L"first"); });
        ASSERT_EQ(Messages(), std::vector<std::string>(kThreads, "first")) << "round " << round;
        ASSERT_TRUE(DeleteFileW(kLog));
        ASSERT_TRUE(RemoveDirectoryW(kLogDirectory));
        ASSERT_TRUE(RemoveDirectoryW(kData));
    }
}

// Sixteen threads right-click while one process replaces the rule file and another writes to the
// log. Every version of the rule file locks the same one of the two programs.
TEST_F(Load, SixteenThreadsRightClickWhileFilesChange) {
    constexpr int kThreads = 16;
    constexpr int kRightClicks = 2000;
    const std::string rules = R"({"type":"exe","target":"C:\\Apps\\Locked.exe"})";
    WriteRules(rules);
    const std::wstring other = std::wstring(kRules) + L".other";
    int done[2] = {};
    ASSERT_EQ(pipe2(done, O_NONBLOCK), 0);
    const auto writers = StartProcesses(2, [&](int number) {
        close(done[1]);
        std::mt19937 random(20261124);
        char unused = 0;
        do {
            if (number == 0) {
                Write(other, std::string(random() % 5000, ' ') + rules);
                MoveFileExW(other.c_str(), kRules, MOVEFILE_REPLACE_EXISTING);
            } else {
                WriteLog(L"another process");
            }
        } while (read(done[0], &unused, 1) != 0);  // until this process closes the other end
    });
    std::atomic<int> wrong = 0;
    RunThreads(kThreads, [&wrong](int number) {
        const bool locked = number % 2 == 0;
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        for (int count = 0; count < kRightClicks; ++count) {
            Extension extension;
            extension.Select({locked ? L"C:\\Apps\\Locked.exe" : L"C:\\Apps\\Free.exe"});
            wrong += extension.MenuText().starts_with(locked ? L"Unlock" : L"Lock") ? 0 : 1;
        }
        CoUninitialize();
    });
    close(done[1]);
    close(done[0]);
    WaitForAll(writers);
    EXPECT_EQ(wrong, 0);
    std::map<std::string, int> lines;
    for (const std::string& message : Messages()) {
        ++lines[message];
    }
    for (const char* const line :
         {"Initialize ok selected=C:\\Apps\\Locked.exe target=C:\\Apps\\Locked.exe locked=1",
          "Initialize ok selected=C:\\Apps\\Free.exe target=C:\\Apps\\Free.exe locked=0",
          "QueryContextMenu add item locked=1", "QueryContextMenu add item locked=0"}) {
        EXPECT_EQ(lines[line], kThreads / 2 * kRightClicks) << line;
    }
    EXPECT_GT(lines["another process"], 0);
    EXPECT_EQ(lines.size(), 5U) << "lines were mixed";
}

TEST_F(Load, FourThreadsShareObjectsAndLoseNoCount) {
#ifdef KELVARO_INSTRUMENTED
    constexpr int kRounds = 100'000;
#else
    constexpr int kRounds = 4'000'000;
#endif
    ComPtr<IClassFactory> factory;
    ComPtr<IShellExtInit> object;
    ASSERT_EQ(DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put()), S_OK);
    const auto repeat = [](auto call) {
        RunThreads(4, [call](int) {
            for (int round = 0; round < kRounds; ++round) {
                call();
            }
        });
    };
    repeat([&] {
        factory->AddRef();
        object->AddRef();
    });
    repeat([&] {
        factory->Release();
        object->Release();
    });
    repeat([&] {
        ComPtr<IShellExtInit> another;
        factory->CreateInstance(nullptr, IID_IShellExtInit, another.Put());
        factory->LockServer(TRUE);
        factory->LockServer(FALSE);
    });
    EXPECT_EQ(g_objectCount, 2U);
    EXPECT_EQ(factory->AddRef(), 2U);
    EXPECT_EQ(factory->Release(), 1U);
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(object->Release(), 1U);
}

}  // namespace
}  // namespace kelvaro
