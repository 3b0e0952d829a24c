// znpolicy: publishes policies, shows what the library makes of them, handles plugin packages.
#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

#include "Commands.h"
#include "EscapeText.h"
#include "Table.h"

namespace {

// Options that hold for every command. They reach the library through the environment, as they
// would from outside.
struct GlobalOptions {
    std::optional<std::string> store;
    std::optional<std::string> processDirectory;
    std::optional<std::string> logLevel;
    std::optional<std::string> logFile;

    void AddTo(CLI::App& app) {
        app.add_option("--store", store, "Directory of the policy store")
            ->type_name("DIR")
            ->check(NotEmpty);
        app.add_option("--process-dir", processDirectory,
                       "Directory that stands for the running program's")
            ->type_name("DIR")
            ->check(NotEmpty);
        app.add_option("--log-level", logLevel, "Show log records up to this level")
            ->check(CLI::IsMember({"off", "error", "warning", "info", "debug"}));
        app.add_option("--log-file", logFile, "Write log records to this file")
            ->type_name("FILE")
            ->check(NotEmpty);
    }

    void Apply() const {
        Set("ZN_POLICY_STORE", store);
        Set("ZN_PROCESS_DIRECTORY", processDirectory);
        Set("ZN_LOG_FILE", logFile);
        Set("ZN_LOG_LEVEL", logLevel);
        if (!IsSet("ZN_LOG_LEVEL") && !IsSet("ZN_LOG_FILE")) {
            setenv("ZN_LOG_LEVEL", "off", 1);  // nobody asked for records
        }
    }

   private:
    static bool IsSet(const char* name) {
        const char* const value = std::getenv(name);
        return value != nullptr && *value != '\0';
    }

    static void Set(const char* name, const std::optional<std::string>& value) {
        if (value) {
            setenv(name, value->c_str(), 1);
        }
    }
};

// Understands the command line, prepares the library's surroundings and runs the command.
int RunCommandLine(int argc, char** argv) {
    CLI::App app("Publishes policies, shows what sessions make of them, handles plugin packages.",
                 "znpolicy");
    app.set_version_flag("--version", std::string("znpolicy ") + ZN_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // global options may stand after the command as well
    GlobalOptions options;
    options.AddTo(app);
    Context context;
    AddPolicyCommands(app, context);
    AddSessionCommand(app, context);
    AddVcCommands(app, context);
    AddUpdateCommands(app, context);
    AddPackageCommands(app, context);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitDone : kExitWrongUsage;
    }
    options.Apply();
    return context.run();
}

}  // namespace

std::string NotEmpty(const std::string& value) {
    return value.empty() ? "must not be empty" : "";
}

// Ids are decimal only: "010" is neither 8 nor 10.
std::string IsId(const std::string& value) {
    int id = 0;
    std::from_chars(value.data(), value.data() + value.size(), id);
    return value == std::to_string(id) ? "" : "\"" + value + "\" is not a decimal 32-bit integer";
}

void AddIdArgument(CLI::App& command, int& id, const std::string& description) {
    command.add_option("ID", id, description)->required()->check(IsId);
}

void AddJsonOption(CLI::App& command, Context& context) {
    command.add_flag("--json", context.json, "Answer in JSON");
}

int main(int argc, char** argv) {
    try {
        const int status = RunCommandLine(argc, argv);
        std::cout.flush();
        if (!std::cout) {
            throw std::runtime_error("cannot write to standard output");
        }
        return status;
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << "znpolicy: " << Escaped(error.what()) << '\n';
        return kExitFailed;
    }
}
