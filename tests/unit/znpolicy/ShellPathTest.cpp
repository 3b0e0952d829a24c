#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "ShellPath.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Paths with every byte at the beginning, after it and at the end.
std::vector<std::string> PathsWithEveryByte() {
    std::vector<std::string> paths;
    for (int byte = 1; byte < 256; ++byte) {
        const std::string c(1, static_cast<char>(byte));
        paths.insert(paths.end(), {c + "x", "x" + c + "y", "x" + c, "/" + c + "x"});
    }
    return paths;
}

TEST(ShellPath, AcceptsOnlyWhatShellTakesLiterally) {
    std::string script = "printf '%s\\n'";
    std::string expected;
    size_t accepted = 0;
    for (const std::string& path : PathsWithEveryByte()) {
        if (ShellPathProblem(path).empty()) {
            script += " " + path;
            expected += path + "\n";
            ++accepted;
        }
    }
    EXPECT_GT(accepted, 700U);  // letters, digits, most punctuation, all of UTF-8
    EXPECT_EQ(OutputOf(script), expected);
}

TEST(ShellPath, AcceptsOrdinaryPaths) {
    for (const std::string path : {"/usr/local/P_1.0_Server.zip", "./a-b+c,d=e@f%g^h:i!.zip",
                                   "dir~1/a#b.zip", "/\xC3\xA4/\xE4\xB8\xAD.zip"}) {
        EXPECT_EQ(ShellPathProblem(path), "");
    }
}

TEST(ShellPath, NamesCharacterAndRemedy) {
    const struct {
        std::string path;
        std::string problem;
    } cases[] = {
        {"a b", "the path contains a blank, "},
        {"a\tb", "the path contains a tab, "},
        {"a\nb", "the path contains a line break, "},
        {"a\x01", "the path contains a control character, "},
        {"a\x7F", "the path contains a control character, "},
        {"a;b", "the path contains \";\", "},
        {"a[b", "the path contains \"[\", "},
        {"a\\b", "the path contains \"\\\", "},
        {"$(x)/b", "the path contains \"$\", "},
        {"~/b", "the path begins with \"~\", "},
        {"#b", "the path begins with \"#\", "},
        {"-b", "the path begins with \"-\", "},
    };
    for (const auto& c : cases) {
        EXPECT_THAT(ShellPathProblem(c.path), StartsWith(c.problem));
        EXPECT_THAT(ShellPathProblem(c.path), HasSubstr("rename the file or its directory"));
    }
}

TEST(ShellPath, RequirePlainPathNamesThePath) {
    RequirePlainPath("/a/b.zip");
    EXPECT_THAT([] { RequirePlainPath("/a b.zip"); },
                testing::ThrowsMessage<std::runtime_error>(StartsWith("/a b.zip: the path")));
}

}  // namespace
