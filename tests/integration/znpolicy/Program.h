// Runs znpolicy as a user would, from outside.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"

using Json = nlohmann::ordered_json;

// Exit statuses of the program.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Runs znpolicy without any ZN_ variable but those in `options`.
inline ProcessResult RunZnpolicy(std::vector<std::string> arguments, ProcessOptions options = {}) {
    arguments.insert(arguments.begin(), ZNPOLICY);
    for (const char* const name :
         {"ZN_POLICY_STORE", "ZN_LOG_LEVEL", "ZN_LOG_FILE", "ZN_PROCESS_DIRECTORY"}) {
        options.environment.emplace(name, std::nullopt);  // keeps one that is there
    }
    return RunProgram(arguments, options);
}

// Tests of commands, with a store of each test's own.
class CommandTest : public testing::Test {
   protected:
    ProcessResult Run(std::vector<std::string> arguments, const ProcessOptions& options = {}) {
        arguments.insert(arguments.begin(), {"--store", store_, "--process-dir", process_});
        return RunZnpolicy(std::move(arguments), options);
    }

    // Runs a command that must succeed and write nothing to standard error. Returns its output.
    std::string Output(const std::vector<std::string>& arguments,
                       const ProcessOptions& options = {}) {
        const ProcessResult result = Run(arguments, options);
        EXPECT_EQ(result.exitCode, kDone) << testing::PrintToString(arguments);
        EXPECT_EQ(result.err, "") << testing::PrintToString(arguments);
        return result.out;
    }

    // Runs a command that must fail with one line on standard error. Returns the line.
    std::string Failure(const std::vector<std::string>& arguments,
                        const ProcessOptions& options = {}) {
        const ProcessResult result = Run(arguments, options);
        EXPECT_EQ(result.exitCode, kFailed) << testing::PrintToString(arguments);
        EXPECT_EQ(result.out, "") << testing::PrintToString(arguments);
        EXPECT_THAT(result.err, testing::MatchesRegex("znpolicy: [^\n]+\n"));
        return result.err;
    }

    // Publishes a document, which may have mistakes.
    void Publish(const std::string& id, const std::string& xml) {
        Output({"policy", "publish", "--quiet", id, "-"}, Input(xml));
    }

    static ProcessOptions Input(const std::string& text) {
        ProcessOptions options;
        options.input = text;
        return options;
    }

    static ProcessOptions Variables(std::map<std::string, std::optional<std::string>> environment) {
        ProcessOptions options;
        options.environment = std::move(environment);
        return options;
    }

    static ProcessOptions InDirectory(const std::string& directory) {
        ProcessOptions options;
        options.directory = directory;
        return options;
    }

    const TemporaryDirectory directory_;
    const std::string store_ = directory_ / "store";
    const std::string process_ = directory_ / "process";
};
