// The verbs of the pumex command. Each adds its subcommand to the app and
// returns the function that runs it once the command line is parsed.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace verbs {

// Runs a parsed verb; returns the process exit status.
using Runner = std::function<int()>;

Runner addProbe(CLI::App& app);
Runner addInspect(CLI::App& app);
Runner addMkfont(CLI::App& app);
Runner addPrint(CLI::App& app);

}  // namespace verbs
