// The program with a product's own libZnXml in the place of ours. LD_LIBRARY_PATH puts it there, so
// this is for Linux only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"

namespace {

using testing::ContainsRegex;

class ForeignZnXmlTest : public testing::Test {
   protected:
    ProcessResult Run(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {ZNPOLICY, "--store", directory_ / "store"});
        ProcessOptions options;
        options.input =
            "<Policy><IntelligentDataTransportFlag>7</IntelligentDataTransportFlag></Policy>";
        options.environment["LD_LIBRARY_PATH"] = FOREIGN_DIRECTORY;
        options.environment["LD_BIND_NOW"] = "1";
        return RunProgram(arguments, options);
    }

    // Returns the output of a command that must succeed.
    std::string OutputOf(const std::vector<std::string>& arguments) const {
        const ProcessResult result = Run(arguments);
        EXPECT_TRUE(result.Succeeded()) << result;
        return result.out;
    }

    const TemporaryDirectory directory_;
};

TEST_F(ForeignZnXmlTest, ReadersUseTheForeignStore) {
    EXPECT_THAT(OutputOf({"session", "1001"}),
                ContainsRegex("intelligent data transport flag +77\n"));
}

TEST_F(ForeignZnXmlTest, PolicyCommandsUseOurStore) {
    OutputOf({"policy", "publish", "1001", "-"});
    EXPECT_THAT(OutputOf({"policy", "list"}), ContainsRegex("\n1001 [^\n]* ok\n"));
    EXPECT_EQ(OutputOf({"policy", "show", "1001", "IntelligentDataTransportFlag"}), "7\n");
    OutputOf({"policy", "remove", "1001"});
    EXPECT_NE(Run({"policy", "show", "1001"}).exitCode, 0);
}

}  // namespace
