// The manual pages against the programs that format them.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "Program.h"

namespace {

class ManPages : public CommandTest {
   protected:
    // Writes the generated pages. Returns their paths and those of the others.
    std::vector<std::string> Pages() {
        std::vector<std::string> pages;
        std::istringstream names(Output({"man"}));
        for (std::string name; std::getline(names, name);) {
            pages.push_back(directory_ / (name + ".1"));
            WriteFile(pages.back(), Output({"man", name}));
        }
        EXPECT_GT(pages.size(), 1U);
        for (const auto& entry : std::filesystem::directory_iterator(MAN_PAGES)) {
            pages.push_back(entry.path());
        }
        return pages;
    }

    // Expects that `command` says nothing about any page.
    void ExpectAccepted(const std::string& command) {
        for (const std::string& page : Pages()) {
            const ProcessResult result =
                RunProgram({"/bin/sh", "-c", command + " '" + page + "' 2>&1 >/dev/null"},
                           Variables({{"LC_ALL", "C.UTF-8"}, {"MANWIDTH", "80"}}));
            EXPECT_TRUE(result.Succeeded()) << page << result;
            EXPECT_EQ(result.out, "") << page;
        }
    }

    static bool IsInstalled(const std::string& program) {
        return RunProgram({"/bin/sh", "-c", "command -v " + program}).Succeeded();
    }
};

TEST_F(ManPages, GroffHasNoWarnings) {
    if (!IsInstalled("groff")) {
        GTEST_SKIP() << "groff is missing";
    }
    ExpectAccepted("groff -man -ww -Tutf8");
}

TEST_F(ManPages, ManHasNoWarnings) {
    if (!IsInstalled("man")) {
        GTEST_SKIP() << "man is missing";
    }
    ExpectAccepted("man --warnings -l");
}

TEST_F(ManPages, MandocHasNoWarnings) {
    if (!IsInstalled("mandoc")) {
        GTEST_SKIP() << "mandoc is missing";
    }
    for (const std::string& page : Pages()) {
        const ProcessResult result = RunProgram({"mandoc", "-Tlint", "-Wwarning", page});
        EXPECT_EQ(result.exitCode, 0) << page << result;
    }
}

TEST_F(ManPages, NumberOfProcessorsIsNotPartOfThem) {
    const std::string page = Output({"man", "znpolicy-policy"});
    EXPECT_NE(page.find("one per processor"), std::string::npos) << page;
}

TEST_F(ManPages, UnknownPageFails) {
    EXPECT_EQ(Failure({"man", "bogus"}), "znpolicy: there is no manual page \"bogus\"\n");
}

}  // namespace
