#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <map>
#include <random>
#include <thread>

#include "common/owners.h"
#include "internal/registry_file.h"
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
    EXPECT_EQ(next.size(), size_t{kProcesses});
}

// The log's directory is missing when all threads write their first line.
TEST_F(Load, ConcurrentFirstLinesAreAllWritten) {
    constexpr int kRounds = 200;
    constexpr int kThreads = 4;
    for (int round = 0; round < kRounds; ++round) {
        std::barrier start(kThreads);
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&start] {
                start.arrive_and_wait();
                WriteLog(L"first");
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(Messages(), std::vector<std::string>(kThreads, "first")) << "round " << round;
        ASSERT_TRUE(DeleteFileW(kLog));
        ASSERT_TRUE(RemoveDirectoryW(kLogDirectory));
        ASSERT_TRUE(RemoveDirectoryW(L"C:\\ProgramData\\Vorandel\\Kelvaro"));
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
    ASSERT_EQ(pipe(done), 0);
    const auto writers = StartProcesses(2, [&](int number) {
        close(done[1]);
        std::mt19937 random(20261124);
        fd_set waiting;
        timeval never = {};
        do {
            if (number == 0) {
                Write(other, std::string(random() % 5000, ' ') + rules);
                MoveFileExW(other.c_str(), kRules, MOVEFILE_REPLACE_EXISTING);
            } else {
                WriteLog(L"another process");
            }
            FD_ZERO(&waiting);
            FD_SET(done[0], &waiting);
        } while (select(done[0] + 1, &waiting, nullptr, nullptr, &never) == 0);
    });
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&wrong, locked = thread % 2 == 0] {
            CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
            for (int count = 0; count < kRightClicks; ++count) {
                Extension extension;
                extension.Select({locked ? L"C:\\Apps\\Locked.exe" : L"C:\\Apps\\Free.exe"});
                const std::wstring text = extension.MenuText();
                wrong += text.starts_with(locked ? L"Unlock" : L"Lock") ? 0 : 1;
            }
            CoUninitialize();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    close(done[1]);
    close(done[0]);
    WaitForAll(writers);
    EXPECT_EQ(wrong, 0);
    std::map<std::string, int> lines;
    for (const std::string& message : Messages()) {
        ++lines[message];
    }
    constexpr int kEach = kThreads / 2 * kRightClicks;
    EXPECT_EQ(
        lines["Initialize ok selected=C:\\Apps\\Locked.exe target=C:\\Apps\\Locked.exe locked=1"],
        kEach);
    EXPECT_EQ(lines["Initialize ok selected=C:\\Apps\\Free.exe target=C:\\Apps\\Free.exe locked=0"],
              kEach);
    EXPECT_EQ(lines["QueryContextMenu add item locked=1"], kEach);
    EXPECT_EQ(lines["QueryContextMenu add item locked=0"], kEach);
    EXPECT_GT(lines["another process"], 0);
    EXPECT_EQ(lines.size(), 5U) << "lines were mixed";
}

TEST_F(Load, FourThreadsShareObjectsAndLoseNoCount) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 1'000'000;
    ComPtr<IClassFactory> factory;
    ComPtr<IShellExtInit> object;
    ASSERT_EQ(DllGetClassObject(kShellExtClsid, IID_IClassFactory, factory.Put()), S_OK);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IShellExtInit, object.Put()), S_OK);
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int round = 0; round < kRounds; ++round) {
                factory->AddRef();
                object->AddRef();
                factory->LockServer(TRUE);
                factory->LockServer(FALSE);
                object->Release();
                factory->Release();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(g_objectCount, 2U);
    EXPECT_EQ(factory->AddRef(), 2U);
    EXPECT_EQ(factory->Release(), 1U);
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(object->Release(), 1U);
}

// Each thread adds its own values to one key while it opens and closes handles of every kind.
TEST_F(Load, ThreadsLoseNoRegistryValueAndNoHandle) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 100;
    Write(L"C:\\Test\\file", "x");
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread] {
            for (int round = 0; round < kRounds; ++round) {
                const std::wstring name = std::to_wstring(thread * kRounds + round);
                ScopedKey key;
                RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Test", 0, nullptr, 0, KEY_WRITE,
                                nullptr, key.Put(), nullptr);
                EXPECT_EQ(RegSetValueExW(key.Get(), name.c_str(), 0, REG_SZ, nullptr, 0),
                          ERROR_SUCCESS);
                const ScopedHandle file(CreateFileW(L"C:\\Test\\file", GENERIC_READ, 0, nullptr,
                                                    OPEN_EXISTING, 0, nullptr));
                const HGLOBAL memory = GlobalAlloc(GHND, 1);
                EXPECT_TRUE(GlobalLock(memory) != nullptr && file);
                GlobalUnlock(memory);
                GlobalFree(memory);
                DestroyMenu(CreatePopupMenu());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto keys = compat::ParseRegistry(Read(L"C:\\registry.reg"));
    EXPECT_EQ(keys.at(L"hkey_current_user\\software\\test").values.size(),
              size_t{kThreads} * kRounds);
}

size_t ResidentKilobytes() {
    std::string status = DriveTest::Read(L"Z:\\proc\\self\\status");
    return std::stoul(status.substr(status.find("VmRSS:") + 6));
}

TEST_F(Load, OneObjectBuildsAHundredThousandMenus) {
#ifdef KELVARO_INSTRUMENTED
    constexpr int kMenus = 10'000;  // memory is not measured in instrumented builds
#else
    constexpr int kMenus = 100'000;
#endif
    WriteRules("{}");
    Extension extension;
    extension.Select({L"C:\\Apps\\Tool.exe"});
    [[maybe_unused]] size_t before = 0;
    for (int menu = 0; menu < kMenus; ++menu) {
        ASSERT_EQ(extension.MenuText().substr(0, 4), L"Lock");
        if (menu == 1000) {
            before = ResidentKilobytes();
        }
        if (menu % 1000 == 0) {
            DeleteFileW(kLog);
        }
    }
#ifndef KELVARO_INSTRUMENTED
    EXPECT_LT(ResidentKilobytes(), before + 1024);
#endif
}

}  // namespace
}  // namespace kelvaro
