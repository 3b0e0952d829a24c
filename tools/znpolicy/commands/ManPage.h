// Manual pages of the commands, in section 1.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

// Returns "znpolicy" and the names of the command groups' pages, such as "znpolicy-policy".
std::vector<std::string> ManPageNames(const CLI::App& app);

// Returns a page in the format of man(7). Throws std::runtime_error if there is none of this name.
std::string ManPage(const CLI::App& app, const std::string& name);
