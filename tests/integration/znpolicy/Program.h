// Runs znpolicy as a user would, from outside.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"

struct ProgramResult {
    int status = -1;  // exit status; -1 when the program did not end by itself
    std::string output;
    std::string errors;
};

// Environment variables as NAME=VALUE, for the program alone.
using Environment = std::vector<std::string>;

class Program {
   public:
    // Where standard output goes instead of ProgramResult::output.
    std::string outputFile;

    // What the program reads from standard input.
    std::string input;

    // Runs znpolicy without any ZN_ variable but those in `environment`.
    ProgramResult Run(const std::vector<std::string>& arguments,
                      const Environment& environment = {}) const {
        const TemporaryDirectory files;
        const std::string outputName = outputFile.empty() ? files / "output" : outputFile;
        WriteFile(files / "input", input);
        const pid_t child = fork();
        if (child == 0) {
            Redirect(STDIN_FILENO, files / "input", O_RDONLY);
            Redirect(STDOUT_FILENO, outputName, O_WRONLY | O_CREAT);
            Redirect(STDERR_FILENO, files / "errors", O_WRONLY | O_CREAT);
            Execute(arguments, environment);
        }
        int status = 0;
        waitpid(child, &status, 0);
        ProgramResult result;
        result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.output = outputFile.empty() ? ReadFile(outputName) : "";
        result.errors = ReadFile(files / "errors");
        return result;
    }

   private:
    static void Redirect(int target, const std::string& file, int flags) {
        const int opened = open(file.c_str(), flags, 0600);
        if (opened < 0 || dup2(opened, target) < 0) {
            _exit(126);
        }
    }

    [[noreturn]] static void Execute(const std::vector<std::string>& arguments,
                                     const Environment& environment) {
        for (const char* name :
             {"ZN_POLICY_STORE", "ZN_LOG_LEVEL", "ZN_LOG_FILE", "ZN_PROCESS_DIRECTORY"}) {
            unsetenv(name);
        }
        for (const std::string& variable : environment) {
            const std::size_t equals = variable.find('=');
            setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
        }
        std::vector<char*> words = {const_cast<char*>("znpolicy")};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        execv(ZNPOLICY, words.data());
        _exit(127);
    }
};
