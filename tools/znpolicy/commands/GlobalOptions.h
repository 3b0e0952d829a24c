// Options of every command.
#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <string>

class GlobalOptions {
   public:
    // Adds the options to `app`, which must not outlive this object.
    void AddTo(CLI::App& app);

    // Passes the parsed options to the library through the environment. Turns the log off unless
    // something asks for it.
    void Apply() const;

   private:
    std::optional<std::string> store_;
    std::optional<std::string> processDirectory_;
    std::optional<std::string> logLevel_;
    std::optional<std::string> logFile_;
};
