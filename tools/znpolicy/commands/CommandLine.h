// The whole command line of the program.
#pragma once

#include <CLI/App.hpp>

#include "Commands.h"
#include "GlobalOptions.h"

// Adds the global options and all commands to `app`, which must not outlive `options` and
// `context`.
void AddCommandLine(CLI::App& app, GlobalOptions& options, Context& context);
