#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "ChildProcess.h"
#include "ZnLogger.h"

namespace {

TEST(ZnLoggerContractTest, InstanceIsTheSameOnEveryCallAndThread) {
    ZnLogger* const here = ZnLogger::GetInstance();
    ZnLogger* there = nullptr;
    std::thread([&] { there = ZnLogger::GetInstance(); }).join();
    EXPECT_NE(here, nullptr);
    EXPECT_EQ(here, there);
    EXPECT_EQ(here, ZnLogger::GetInstance());
}

TEST(ZnLoggerContractTest, RecordsOfEveryKindAreAccepted) {
    const ProcessResult result = RunInChild([] {
        const std::string big(100000, 'x');
        ZnLogger* const logger = ZnLogger::GetInstance();
        for (const LogLevel level : {LogLevelError, LogLevelWarning, LogLevelInfo, LogLevelDebug}) {
            logger->Log("/src/File.cpp", 1, "Function", " ", "", level, "%d %s", -1, big.c_str());
        }
        logger->Log(nullptr, 1, nullptr, nullptr, nullptr, LogLevelError, "text");
    });
    EXPECT_TRUE(result.Succeeded()) << "exit code " << result.exitCode;
}

TEST(ZnLoggerContractTest, ErrnoIsKept) {
    errno = EXDEV;
    ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelInfo, "text");
    EXPECT_EQ(errno, EXDEV);
}

TEST(ZnLoggerContractTest, RecordsAreAcceptedWhileProcessEnds) {
    const ProcessResult result = RunInChild([] {
        (void)atexit([] {
            ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelError, "last words");
        });
        ZnLogger::GetInstance()->Log("f", 1, "F", " ", "", LogLevelError, "first");
    });
    EXPECT_TRUE(result.Succeeded()) << result;
}

}  // namespace
