// Completion of command lines in shells.
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

struct Completion {
    struct Candidate {
        std::string text;
        std::string description;
    };
    enum class Paths { kNone, kFiles, kDirectories };

    std::vector<Candidate> candidates;
    Paths paths = Paths::kNone;  // what the shell itself completes
};

// Completes the last of the words that follow the program's name on a command line. "=" may be a
// word of its own, as in bash.
Completion Complete(const CLI::App& app, const std::vector<std::string>& words);

// Returns the script that lets bash, zsh or fish complete command lines of the program.
std::string CompletionScript(const std::string& shell);
