// Processes that fork while other threads use the services.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "IsolatedCheck.h"
#include "TemporaryDirectory.h"
#include "ZnCrypto.h"
#include "ZnIni.h"
#include "ZnLogger.h"

namespace {

constexpr int kThreads = 4;
constexpr int kForks = 40;

// Whether `use` works in children that are forked while other threads are inside `meanwhile`.
bool WorksAfterFork(const std::function<bool()>& use, const std::function<void()>& meanwhile) {
    std::atomic<bool> isDone = false;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            while (!isDone) {
                meanwhile();
            }
        });
    }
    int failures = 0;
    for (int i = 0; i < kForks; ++i) {
        const ProcessResult child = RunInChild([&] {
            alarm(10);  // ends a child that hangs
            _exit(use() ? 0 : 1);
        });
        if (!child.Succeeded()) {
            std::cerr << child;
            ++failures;
        }
    }
    isDone = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    return failures == 0;
}

// Whether `use` works in children that are forked while other threads are inside it.
bool WorksAfterFork(const std::function<bool()>& use) {
    return WorksAfterFork(use, use);
}

bool LogText() {
    ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelInfo, "text");
    return true;
}

}  // namespace

TEST(ForkTest, ChildOfThreadedProcessLogs) {
    const TemporaryDirectory dir;
    ProcessOptions options;
    options.environment["ZN_LOG_FILE"] = dir / "zn.log";
    ExpectHolds(InChild([] { return WorksAfterFork(LogText); }, options));
}

// Another thread may hold the C library's lock for time zones.
TEST(ForkTest, ChildOfProcessThatConvertsTimesLogs) {
    const TemporaryDirectory dir;
    ProcessOptions options;
    options.environment["ZN_LOG_FILE"] = dir / "zn.log";
    ExpectHolds(InChild(
        [] {
            return WorksAfterFork(LogText, [] {
                const std::time_t now = std::time(nullptr);
                std::tm local = {};
                localtime_r(&now, &local);
            });
        },
        options));
    const std::string log = ReadFile(dir / "zn.log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), kForks);
}

TEST(ForkTest, ChildOfThreadedProcessReadsIniFiles) {
    const TemporaryDirectory dir;
    WriteFile(dir / "a.ini", "[s]\nkey=1\n");
    WriteFile(dir / "b.ini", "[s]\nkey=1\n");
    ExpectHolds(InChild([&] {
        return WorksAfterFork([&] {
            return IniGetInt("s", "key", 0, (dir / "a.ini").c_str()) == 1 &&
                   IniGetInt("s", "key", 0, (dir / "b.ini").c_str()) == 1;
        });
    }));
}

TEST(ForkTest, ChildOfThreadedProcessHashesFiles) {
    const TemporaryDirectory dir;
    WriteFile(dir / "file", "contents");
    ExpectHolds(InChild([&] {
        return WorksAfterFork([&] { return ZnSha256::FileSha256Value(dir / "file").size() == 64; });
    }));
}
