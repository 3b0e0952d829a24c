// Help texts.
#pragma once

#include <CLI/App.hpp>
#include <cstddef>
#include <string>
#include <vector>

#include "HelpTexts.h"

// Returns the usage of a command, such as "znpolicy policy show [OPTIONS] ID [ITEM]".
std::string UsageOf(const CLI::App& command);

// Return the commands, arguments and options with their descriptions.
std::vector<HelpEntry> DescribeCommands(const CLI::App& command);
std::vector<HelpEntry> DescribeArguments(const CLI::App& command);
std::vector<HelpEntry> DescribeOptions(const CLI::App& command);

// Returns the options of the root that every command accepts.
std::vector<HelpEntry> DescribeGlobalOptions(const CLI::App& root);

// Returns the help of a command in lines of at most `width` characters, where words allow that.
std::string HelpOf(const CLI::App& command, std::size_t width);

// Formats help for the terminal's width.
class HelpFormatter : public CLI::FormatterBase {
   public:
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override;
};
