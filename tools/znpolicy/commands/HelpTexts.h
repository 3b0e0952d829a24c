// What every help text and manual page says besides the command tree.
#pragma once

#include <string>
#include <vector>

struct HelpEntry {
    std::string label;
    std::string text;
};

// Returns the environment variables that the program reads.
const std::vector<HelpEntry>& EnvironmentVariables();

// Returns the exit statuses of the command with this path ("policy diff").
const std::vector<HelpEntry>& ExitStatuses(const std::string& path = "");

// Returns command lines and what they do, for the command with this path ("policy list"); none if
// the command is not known here.
const std::vector<HelpEntry>& ExamplesOf(const std::string& path);
