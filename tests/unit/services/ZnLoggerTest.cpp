#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "Platform.h"
#include "RaisedProbe.h"
#include "TemporaryDirectory.h"
#include "ZnLogger.h"

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr uintmax_t kFileLimit = 10485760;

using Environment = std::vector<std::pair<const char*, std::string>>;

// Runs `body` in a process that starts with `environment` and no other ZN_ variables, so that its
// logger is a fresh one. A logger that hangs is killed after a minute.
ProcessResult LogInChild(const Environment& environment, const std::function<void()>& body) {
    ProcessOptions options;
    options.environment = {{"ZN_LOG_LEVEL", std::nullopt}, {"ZN_LOG_FILE", std::nullopt}};
    for (const auto& [name, value] : environment) {
        options.environment[name] = value;
    }
    return RunInChild(
        [&] {
            alarm(60);
            body();
        },
        options);
}

void LogText(const std::string& text, LogLevel level = LogLevelError) {
    ZnLogger::GetInstance()->Log("/build/dir/File.cpp", 12, "Function", " ", "", level, "%s",
                                 text.c_str());
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    if (start < text.size()) {
        lines.push_back(text.substr(start) + "<no line end>");
    }
    return lines;
}

// What follows the function name in each line that LogText wrote; other lines come back whole.
std::vector<std::string> Texts(const std::string& log) {
    const std::string mark = " File.cpp:12 Function ";
    std::vector<std::string> texts = Lines(log);
    for (std::string& text : texts) {
        const size_t at = text.find(mark);
        if (at != std::string::npos) {
            text = text.substr(at + mark.size());
        }
    }
    return texts;
}

// What the logger makes of `text`.
std::string Shown(const std::string& text) {
    const std::vector<std::string> texts = Texts(LogInChild({}, [&] { LogText(text); }).err);
    return texts.size() == 1 ? texts[0] : "<not one line>";
}

}  // namespace

TEST(ZnLoggerTest, RecordIsOneLineWithAllFields) {
    const ProcessResult outcome = LogInChild({}, [] {
        ZnLogger::GetInstance()->Log("/build/dir/File.cpp", 12, "Function", " ", "", LogLevelInfo,
                                     "id=%d,%s", 7, "x");
        std::cout << getpid() << '/' << CurrentThreadId();
    });
    const std::string time = "....-..-..T..:..:..\\....[+-]..:..";

    EXPECT_THAT(Lines(outcome.err), ElementsAre(MatchesRegex(time + " info " + outcome.out +
                                                             " File\\.cpp:12 Function id=7,x")));
}

TEST(ZnLoggerTest, BlankTagsAreNotShown) {
    const ProcessResult outcome = LogInChild({}, [] {
        ZnLogger* logger = ZnLogger::GetInstance();
        logger->Log("f", 1, "F", " ", "", LogLevelError, "none");
        logger->Log("f", 2, "F", "\t\n", nullptr, LogLevelError, "none");
        logger->Log("f", 3, "F", "one", "", LogLevelError, "first");
        logger->Log("f", 4, "F", " ", "two", LogLevelError, "second");
        logger->Log("f", 5, "F", "one", "two", LogLevelError, "both");
    });

    EXPECT_THAT(Lines(outcome.err),
                ElementsAre(EndsWith(" f:1 F none"), EndsWith(" f:2 F none"),
                            EndsWith(" f:3 F [one] first"), EndsWith(" f:4 F [two] second"),
                            EndsWith(" f:5 F [one] [two] both")));
}

TEST(ZnLoggerTest, NullStringsCountAsEmpty) {
    const ProcessResult outcome = LogInChild({}, [] {
        const char* null = nullptr;
        ZnLogger::GetInstance()->Log(null, 1, null, null, null, LogLevelError, "text");
    });

    EXPECT_THAT(Lines(outcome.err), ElementsAre(EndsWith(" :1  text")));
}

TEST(ZnLoggerTest, EveryFieldIsEscaped) {
    const ProcessResult outcome = LogInChild({}, [] {
        ZnLogger::GetInstance()->Log("a\nb", 1, "c\nd", "e\nf", "g\nh", LogLevelError, "i");
    });

    EXPECT_THAT(Lines(outcome.err), ElementsAre(EndsWith(R"( a\nb:1 c\nd [e\nf] [g\nh] i)")));
}

TEST(ZnLoggerTest, LongRecordIsWrittenCompletely) {
    for (const size_t size :
         std::initializer_list<size_t>{1022, 1023, 1024, 1025, 4096, 70000, 3000000}) {
        const std::string text = std::string(size - 1, 'a') + 'z';
        EXPECT_EQ(Shown(text), text) << size;
    }
}

TEST(ZnLoggerTest, LevelSelectsWhatIsWritten) {
    struct {
        const char* level;
        std::vector<std::string> written;
    } const cases[] = {
        {"off", {}},
        {"error", {"e"}},
        {"warning", {"e", "w"}},
        {"info", {"e", "w", "i"}},
        {"debug", {"e", "w", "i", "d"}},
        {"DEBUG", {"e", "w", "i", "d"}},
        {"0", {}},
        {"1", {"e"}},
        {"2", {"e", "w"}},
        {"3", {"e", "w", "i"}},
        {"4", {"e", "w", "i", "d"}},
        {"", {"e", "w", "i"}},
    };
    for (const auto& c : cases) {
        const ProcessResult outcome = LogInChild({{"ZN_LOG_LEVEL", c.level}}, [] {
            LogText("e", LogLevelError);
            LogText("w", LogLevelWarning);
            LogText("i", LogLevelInfo);
            LogText("d", LogLevelDebug);
        });
        EXPECT_EQ(Texts(outcome.err), c.written) << c.level;
    }
}

TEST(ZnLoggerTest, DefaultLevelIsInfo) {
    const ProcessResult outcome = LogInChild({}, [] {
        LogText("i", LogLevelInfo);
        LogText("d", LogLevelDebug);
    });

    EXPECT_THAT(Texts(outcome.err), ElementsAre("i"));
}

TEST(ZnLoggerTest, RecordNamesItsLevel) {
    const ProcessResult outcome = LogInChild({{"ZN_LOG_LEVEL", "debug"}}, [] {
        LogText("", LogLevelError);
        LogText("", LogLevelWarning);
        LogText("", LogLevelInfo);
        LogText("", LogLevelDebug);
    });

    EXPECT_THAT(Lines(outcome.err), ElementsAre(HasSubstr(" error "), HasSubstr(" warning "),
                                                HasSubstr(" info "), HasSubstr(" debug ")));
}

TEST(ZnLoggerTest, UnknownLevelIsNotedOnceAndInfoIsUsed) {
    for (const char* level : {"loud", "5", "-1", "3 ", "warn\n"}) {
        const ProcessResult outcome = LogInChild({{"ZN_LOG_LEVEL", level}}, [] {
            LogText("i", LogLevelInfo);
            LogText("d", LogLevelDebug);
        });
        EXPECT_THAT(Texts(outcome.err), ElementsAre(HasSubstr("ZN_LOG_LEVEL is \""), "i")) << level;
    }
}

TEST(ZnLoggerTest, EnvironmentIsReadOnce) {
    const TemporaryDirectory directory;
    const ProcessResult outcome = LogInChild({{"ZN_LOG_LEVEL", "error"}}, [&] {
        ZnLogger::GetInstance();
        setenv("ZN_LOG_LEVEL", "debug", 1);
        setenv("ZN_LOG_FILE", (directory / "log").c_str(), 1);
        LogText("e", LogLevelError);
        LogText("d", LogLevelDebug);
    });

    EXPECT_THAT(Texts(outcome.err), ElementsAre("e"));
    EXPECT_FALSE(fs::exists(directory / "log"));
}

TEST(ZnLoggerTest, EnvironmentIsIgnoredWithRaisedPrivileges) {
    const TemporaryDirectory directory;
    const auto outcome = RunRaisedProbe(directory, [&] {
        setenv("ZN_LOG_FILE", (directory / "log").c_str(), 1);
        setenv("ZN_LOG_LEVEL", "off", 1);
    });
    if (!outcome) {
        GTEST_SKIP() << kNoRaisedPrivileges;
    }

    EXPECT_THAT(Lines(outcome->err),
                ElementsAre(HasSubstr("ZN_LOG_LEVEL is ignored"),
                            HasSubstr("ZN_LOG_FILE is ignored"), EndsWith(" main probe")));
    EXPECT_FALSE(fs::exists(directory / "log"));
}

TEST(ZnLoggerTest, InstanceIsTheSameOnEveryCallAndThread) {
    const ProcessResult outcome = LogInChild({}, [] {
        const ZnLogger* here = ZnLogger::GetInstance();
        const ZnLogger* there = nullptr;
        std::thread([&] { there = ZnLogger::GetInstance(); }).join();
        exit(here != nullptr && here == there && here == ZnLogger::GetInstance() ? 0 : 1);
    });

    EXPECT_TRUE(outcome.Succeeded());
}

TEST(ZnLoggerTest, InstanceIsValidUntilProcessEnds) {
    const TemporaryDirectory directory;
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", directory / "log"}}, [] {
        (void)atexit([] { LogText("after all static objects are gone"); });
        LogText("first");
    });

    EXPECT_TRUE(outcome.Succeeded());
    EXPECT_THAT(Texts(ReadFile(directory / "log")),
                ElementsAre("first", "after all static objects are gone"));
}

TEST(ZnLoggerTest, ThreadsWriteWholeLines) {
    constexpr int kThreads = 8;
    constexpr int kRecords = 1000;
    const TemporaryDirectory directory;
    for (const bool toFile : {true, false}) {
        const Environment environment =
            toFile ? Environment{{"ZN_LOG_FILE", directory / "log"}} : Environment{};
        const ProcessResult outcome = LogInChild(environment, [] {
            std::vector<std::thread> threads;
            threads.reserve(kThreads);
            for (int thread = 0; thread < kThreads; ++thread) {
                threads.emplace_back([thread] {
                    for (int i = 0; i < kRecords; ++i) {
                        const std::string end = std::to_string(thread) + ":" + std::to_string(i);
                        LogText(std::string(static_cast<size_t>(i % 200), 'x') + end);
                    }
                });
            }
            for (std::thread& thread : threads) {
                thread.join();
            }
        });
        ASSERT_TRUE(outcome.Succeeded());

        std::set<std::string> expected;
        for (int thread = 0; thread < kThreads; ++thread) {
            for (int i = 0; i < kRecords; ++i) {
                expected.insert(std::string(static_cast<size_t>(i % 200), 'x') +
                                std::to_string(thread) + ":" + std::to_string(i));
            }
        }
        const std::vector<std::string> texts =
            Texts(toFile ? ReadFile(directory / "log") : outcome.err);
        EXPECT_EQ(texts.size(), size_t{kThreads} * kRecords);
        EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()), expected);
    }
}

TEST(ZnLoggerTest, KeepsErrno) {
    const TemporaryDirectory directory;
    const ProcessResult outcome =
        LogInChild({{"ZN_LOG_FILE", directory / "missing/zn.log"}, {"ZN_LOG_LEVEL", "loud"}}, [] {
            close(STDERR_FILENO);
            errno = EXDEV;
            ZnLogger* const logger = ZnLogger::GetInstance();
            const bool isKept = errno == EXDEV;
            logger->Log("f", 1, "F", " ", "", LogLevelError, "text");
            exit(isKept && errno == EXDEV ? 0 : 1);
        });

    EXPECT_TRUE(outcome.Succeeded()) << outcome;
}

TEST(ZnLoggerTest, ShowsCallingProcessAndThreadAfterFork) {
    const ProcessResult parent = LogInChild({}, [] {
        LogText("parent");
        const ProcessResult child = RunInChild([] {
            LogText("child");
            std::cout << getpid() << '/' << CurrentThreadId();
        });
        std::cout << child.out;
        std::cerr << child.err;
    });

    EXPECT_THAT(Lines(parent.err), ElementsAre(Not(HasSubstr(" " + parent.out + " ")),
                                               HasSubstr(" " + parent.out + " ")));
}

TEST(ZnLoggerTest, AppendsToFileInsteadOfStandardError) {
    const TemporaryDirectory directory;
    for (const char* text : {"one", "two"}) {
        const ProcessResult outcome =
            LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [&] { LogText(text); });
        EXPECT_EQ(outcome.err, "");
    }

    EXPECT_THAT(Texts(ReadFile(directory / "zn.log")), ElementsAre("one", "two"));
}

TEST(ZnLoggerTest, RelativeFileDoesNotFollowWorkingDirectory) {
    const TemporaryDirectory directory;
    fs::create_directory(directory / "elsewhere");
    LogInChild({{"ZN_LOG_FILE", "zn.log"}}, [&] {
        fs::current_path(directory.Path());
        ZnLogger::GetInstance();
        fs::current_path(directory / "elsewhere");
        LogText("text");
    });

    EXPECT_THAT(Texts(ReadFile(directory / "zn.log")), ElementsAre("text"));
}

TEST(ZnLoggerTest, RecordSurvivesCrash) {
    const TemporaryDirectory directory;
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [] {
        LogText("last words", LogLevelInfo);
        (void)raise(SIGKILL);
    });

    EXPECT_TRUE(outcome.signal != 0);
    EXPECT_THAT(Texts(ReadFile(directory / "zn.log")), ElementsAre("last words"));
}

TEST(ZnLoggerTest, EndsIncompleteLineInFileFirst) {
    const TemporaryDirectory directory;
    WriteFile(directory / "zn.log", "cut off");
    LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [] { LogText("next"); });

    EXPECT_THAT(Texts(ReadFile(directory / "zn.log")), ElementsAre("cut off", "next"));
}

TEST(ZnLoggerTest, CommandsDoNotInheritFile) {
    const TemporaryDirectory directory;
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [] {
        LogText("text");
        const ProcessResult list = RunProgram({"ls", "-l", DescriptorDirectory() + "/"});
        std::cout << list.out;
        exit(list.exitCode);
    });

    EXPECT_TRUE(outcome.Succeeded());
    EXPECT_THAT(outcome.out, HasSubstr("0 -> "));
    EXPECT_THAT(outcome.out, Not(HasSubstr("zn.log")));
}

TEST(ZnLoggerTest, FileIsRotatedAndFourOlderOnesAreKept) {
    const TemporaryDirectory directory;
    const int count = 7 * 1024;
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [] {
        const std::string padding(10000, '.');
        for (int i = 0; i < count; ++i) {
            LogText(padding + std::to_string(i));
        }
    });
    EXPECT_EQ(outcome.err, "");

    const std::set<std::string> expected = {directory / "zn.log", directory / "zn.1.log",
                                            directory / "zn.2.log", directory / "zn.3.log",
                                            directory / "zn.4.log"};
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory.Path())) {
        names.insert(entry.path());
        EXPECT_LE(entry.file_size(), kFileLimit) << entry.path();
    }
    ASSERT_EQ(names, expected);

    int next = count;  // from the newest record backwards, none may be missing or cut
    for (const char* name : {"zn.log", "zn.1.log", "zn.2.log", "zn.3.log", "zn.4.log"}) {
        const std::vector<std::string> texts = Texts(ReadFile(directory / name));
        for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
            ASSERT_EQ(*text, std::string(10000, '.') + std::to_string(--next));
        }
    }
    EXPECT_GT(count - next, 4 * 1000);
}

TEST(ZnLoggerTest, RecordLargerThanFileLimitIsWrittenCompletely) {
    const TemporaryDirectory directory;
    const std::string text(kFileLimit + 1000, 'a');
    LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [&] {
        LogText("before");
        LogText(text);
        LogText("after");
    });

    EXPECT_THAT(Texts(ReadFile(directory / "zn.2.log")), ElementsAre("before"));
    EXPECT_TRUE(Texts(ReadFile(directory / "zn.1.log")) == std::vector<std::string>{text});
    EXPECT_THAT(Texts(ReadFile(directory / "zn.log")), ElementsAre("after"));
}

TEST(ZnLoggerTest, LinkIsFollowedAndNeverRotated) {
    const TemporaryDirectory directory;
    WriteFile(directory / "target", std::string(kFileLimit, '\n'));
    fs::create_symlink("target", directory / "zn.log");
    const ProcessResult outcome =
        LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [] { LogText("text"); });

    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(fs::is_symlink(directory / "zn.log"));
    EXPECT_FALSE(fs::exists(directory / "zn.1.log"));
    EXPECT_GT(fs::file_size(directory / "target"), kFileLimit);
}

TEST(ZnLoggerTest, FileThatCannotBeOpenedIsNotedAndRecordsGoToStandardError) {
    const TemporaryDirectory directory;
    WriteFile(directory / "file", "");
    for (const std::string& file :
         {directory / "missing/zn.log", directory.Path(), directory / "file/zn.log"}) {
        const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", file}}, [] {
            LogText("one");
            LogText("two");
        });
        EXPECT_TRUE(outcome.Succeeded());
        EXPECT_THAT(Texts(outcome.err), ElementsAre(HasSubstr("log file " + file), "one", "two"));
    }
    EXPECT_FALSE(fs::exists(directory / "missing"));
}

TEST(ZnLoggerTest, FifoWithoutReaderDoesNotBlock) {
    const TemporaryDirectory directory;
    ASSERT_EQ(mkfifo((directory / "pipe").c_str(), 0600), 0);
    const ProcessResult outcome =
        LogInChild({{"ZN_LOG_FILE", directory / "pipe"}}, [] { LogText("text"); });

    EXPECT_THAT(Texts(outcome.err), ElementsAre(HasSubstr("log file "), "text"));
}

TEST(ZnLoggerTest, FullDeviceIsNotedOnceAndRecordsGoToStandardError) {
    if (!kLinux) {
        GTEST_SKIP() << "this system has no device that is always full";
    }
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", "/dev/full"}}, [] {
        for (const char* text : {"one", "two", "three"}) {
            LogText(text);
        }
    });

    EXPECT_TRUE(outcome.Succeeded());
    EXPECT_THAT(Texts(outcome.err),
                ElementsAre(HasSubstr("log file /dev/full"), "one", "two", "three"));
}

TEST(ZnLoggerTest, FileIsUsedAgainOnceItHasRoom) {
    const TemporaryDirectory directory;
    const rlim_t full = 1000000;
    WriteFile(directory / "zn.log", std::string(full - 11, '.') + "\n");
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", directory / "zn.log"}}, [&] {
        rlimit limit = {};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlim_t unlimited = limit.rlim_cur;
        limit.rlim_cur = full;
        setrlimit(RLIMIT_FSIZE, &limit);
        LogText("one");
        LogText("two");
        limit.rlim_cur = unlimited;
        setrlimit(RLIMIT_FSIZE, &limit);
        LogText("three");
        LogText("four");
    });

    EXPECT_TRUE(outcome.Succeeded());
    EXPECT_THAT(Texts(outcome.err), ElementsAre(HasSubstr("log file "), "one", "two"));
    std::vector<std::string> texts = Texts(ReadFile(directory / "zn.log"));
    ASSERT_GT(texts.size(), 2U);
    EXPECT_EQ(texts.back(), "four");
    EXPECT_EQ(texts[texts.size() - 2], "three");
}

TEST(ZnLoggerTest, StuckStandardErrorDoesNotBlockAndLostRecordsAreCounted) {
    const ProcessResult outcome = LogInChild({}, [] {
        int ends[2];
        if (pipe(ends) != 0) {
            exit(2);
        }
        dup2(ends[1], STDERR_FILENO);
        for (int i = 0; i < 1000; ++i) {
            LogText(std::string(1000, 'x'));
        }
        std::string log(1 << 20, '\0');
        const auto Drain = [&] {
            std::cout.write(log.data(), read(ends[0], log.data(), log.size()));
        };
        Drain();
        LogText("after");
        Drain();
    });
    ASSERT_TRUE(outcome.Succeeded()) << outcome.signal;

    const std::vector<std::string> texts = Texts(outcome.out);
    const size_t whole = texts.size() - 2;
    EXPECT_GT(whole, 10U);
    for (size_t i = 0; i + 1 < whole; ++i) {
        EXPECT_EQ(texts[i], std::string(1000, 'x'));
    }
    EXPECT_THAT(texts[whole],
                EndsWith("libZnLogger: records lost: " + std::to_string(1000 - whole)));
    EXPECT_EQ(texts[whole + 1], "after");
}

TEST(ZnLoggerTest, FifoWithStuckReaderDoesNotBlockAndNothingIsLost) {
    const TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", fifo}}, [] {
        for (int i = 0; i < 1000; ++i) {
            LogText(std::to_string(i) + std::string(1000, 'x'));
        }
    });
    std::string log(1 << 20, '\0');
    log.resize(static_cast<size_t>(read(reader, log.data(), log.size())));
    close(reader);
    ASSERT_TRUE(outcome.Succeeded()) << outcome.signal;

    std::set<std::string> texts;
    for (const std::string& text : Texts(log + outcome.err)) {
        texts.insert(text);
    }
    EXPECT_THAT(outcome.err, HasSubstr("log file " + fifo));
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(texts.count(std::to_string(i) + std::string(1000, 'x')), 1U) << i;
    }
}

TEST(ZnLoggerTest, FifoWhoseReaderIsGoneIsReplacedByStandardError) {
    const TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const ProcessResult outcome = LogInChild({{"ZN_LOG_FILE", fifo}}, [&] {
        const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        LogText("one");
        close(reader);
        LogText("two");
        LogText("three");
    });

    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_THAT(Texts(outcome.err), ElementsAre(HasSubstr("log file " + fifo), "two", "three"));
}

TEST(ZnLoggerTest, StandardErrorWithoutReaderRaisesNoSignal) {
    const ProcessResult outcome = LogInChild({}, [] {
        int ends[2];
        if (pipe(ends) != 0) {
            exit(2);
        }
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        LogText("text");
        sigset_t pending;
        sigpending(&pending);
        sigset_t mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        exit(sigismember(&pending, SIGPIPE) + sigismember(&mask, SIGPIPE));
    });

    EXPECT_TRUE(outcome.Succeeded());
}

TEST(ZnLoggerTest, ClosedStandardErrorIsIgnored) {
    const ProcessResult outcome = LogInChild({}, [] {
        close(STDERR_FILENO);
        LogText("text");
    });

    EXPECT_TRUE(outcome.Succeeded());
}
