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

    // Chooses the colours of messages about a command line that cannot be parsed.
    void ApplyColor() const;

   private:
    CLI::Option* colorOption_ = nullptr;
    std::optional<std::string> store_;
    std::optional<std::string> processDirectory_;
    std::optional<std::string> logLevel_;
    std::optional<std::string> logFile_;
    std::string color_ = "auto";
};
