// Command lines that cannot be parsed.
#pragma once

#include <CLI/App.hpp>
#include <string>

struct UsageError {
    std::string message;
    std::string suggestion;  // what was probably meant, or ""
    std::string help;        // the command that prints the help
};

// Says what is wrong with the command line whose parsing by `app` threw `error`. A request for help
// is wrong if the line has unknown words.
UsageError DescribeUsageError(const CLI::App& app, const CLI::ParseError& error);
