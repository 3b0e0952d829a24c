// The program's command tree, for tests.
#pragma once

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <functional>

#include "CommandLine.h"
#include "CommandTree.h"

class CommandLineTest : public testing::Test {
   protected:
    CommandLineTest() {
        AddCommandLine(app_, options_, context_);
    }

    // Calls `visit` with the root and every visible command.
    void ForEachCommand(const std::function<void(const CLI::App&)>& visit) {
        Visit(app_, visit);
    }

    CLI::App app_;
    GlobalOptions options_;
    Context context_;

   private:
    static void Visit(const CLI::App& command, const std::function<void(const CLI::App&)>& visit) {
        visit(command);
        for (const CLI::App* child : CommandsOf(command)) {
            Visit(*child, visit);
        }
    }
};
