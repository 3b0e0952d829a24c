#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>

#include "IsolatedCheck.h"
#include "LogOutput.h"
#include "TemporaryDirectory.h"

namespace {

using testing::MatchesRegex;

// What `body` writes to standard error.
std::string ErrorOf(const std::function<void()>& body) {
    const ProcessResult result = InChild([&] {
        body();
        return true;
    });
    EXPECT_TRUE(result.Succeeded()) << result;
    return result.err;
}

// The number of lines in `text` that contain `part`.
int LinesWith(const std::string& text, const std::string& part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace

TEST(LogOutputTest, WritesToStandardErrorByDefault) {
    EXPECT_THAT(ErrorOf([] { LogOutput("").Write(spdlog::level::info, "text"); }),
                MatchesRegex("....-..-..T..:..:..\\....[+-]..:.. info [0-9]+/[0-9]+ text\n"));
}

TEST(LogOutputTest, NotesAreWarningsOfTheLogger) {
    EXPECT_THAT(ErrorOf([] { LogOutput("").WriteNote("a\nb"); }),
                MatchesRegex(".* warning [0-9]+/[0-9]+ libZnLogger: a\\\\nb\n"));
}

TEST(LogOutputTest, NotesFileErrorOnceUntilFileWorksAgain) {
    const TemporaryDirectory dir;
    const std::string error = ErrorOf([&] {
        LogOutput output(dir / "sub/zn.log");
        output.Write(spdlog::level::info, "one");
        output.Write(spdlog::level::info, "two");
        std::filesystem::create_directory(dir / "sub");
        output.Write(spdlog::level::info, "three");
        std::filesystem::remove_all(dir / "sub");
        output.Write(spdlog::level::info, "four");
    });
    EXPECT_EQ(LinesWith(error, "log file " + dir / "sub/zn.log"), 2) << error;
    EXPECT_EQ(LinesWith(error, " one\n"), 1);
    EXPECT_EQ(LinesWith(error, " two\n"), 1);
    EXPECT_EQ(LinesWith(error, " three\n"), 0);
    EXPECT_EQ(LinesWith(error, " four\n"), 1);
}

TEST(LogOutputTest, NotesFailedRotationOnce) {
    const TemporaryDirectory dir;
    WriteFile(dir / "zn.log", std::string(size_t{10} << 20, '\n'));
    for (const char* name : {"zn.1.log", "zn.2.log", "zn.3.log", "zn.4.log"}) {
        WriteFile(dir / name, "");
    }
    WriteFile(dir / "zn.5.log/in the way", "");
    const std::string error = ErrorOf([&] {
        LogOutput output(dir / "zn.log");
        output.Write(spdlog::level::info, "one");
        output.Write(spdlog::level::info, "two");
    });
    EXPECT_EQ(LinesWith(error, "it cannot be rotated"), 1) << error;
    EXPECT_EQ(LinesWith(ReadFile(dir / "zn.log"), " one\n"), 1);
    EXPECT_EQ(LinesWith(ReadFile(dir / "zn.log"), " two\n"), 1);
}

TEST(LogOutputTest, CountsLostRecordsAndNotesThemInTheFile) {
    const TemporaryDirectory dir;
    ErrorOf([&] {
        LogOutput output(dir / "sub/zn.log");
        close(STDERR_FILENO);
        output.Write(spdlog::level::info, "one");
        output.CountLost();
        std::filesystem::create_directory(dir / "sub");
        output.Write(spdlog::level::info, "three");
        output.Write(spdlog::level::info, "four");
    });
    EXPECT_THAT(ReadFile(dir / "sub/zn.log"),
                MatchesRegex(".* libZnLogger: records lost: 2\n.* three\n.* four\n"));
}
