#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <csignal>
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

// Every version of the rule file locks the same one of the two programs.
TEST_F(Load, ThreadsRightClickWhileAnotherProcessChangesRulesAndLog) {
    constexpr int kThreads = 16;
    constexpr int kRightClicks = 2000;
    const std::string rules = R"({"type":"exe","target":"C:\\Apps\\Locked.exe"})";
    WriteRules(rules);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        const std::wstring replacement = std::wstring(kRules) + L".new";
        std::mt19937 random(20261124);
        while (getppid() == parent) {
            Write(replacement, std::string(random() % 5000, ' ') + rules);
            MoveFileExW(replacement.c_str(), kRules, MOVEFILE_REPLACE_EXISTING);
            WriteLog(std::wstring(random() % 300, L'.'));
        }
        _exit(0);
    }
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
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0) << "the other process has ended";
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(wrong, 0);
    std::map<std::string, int> lines;
    for (const std::string& message : Messages()) {
        ++lines[message.starts_with('.') ? message.substr(message.find_last_of('.') + 1) : message];
    }
    for (const char* const line :
         {"Initialize ok selected=C:\\Apps\\Locked.exe target=C:\\Apps\\Locked.exe locked=1",
          "Initialize ok selected=C:\\Apps\\Free.exe target=C:\\Apps\\Free.exe locked=0",
          "QueryContextMenu add item locked=1", "QueryContextMenu add item locked=0"}) {
        EXPECT_EQ(lines[line], kThreads / 2 * kRightClicks) << line;
    }
    EXPECT_GT(lines[""], 0) << "of the other process";
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
