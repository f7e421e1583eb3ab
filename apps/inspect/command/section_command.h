// section_command.h: the subcommand `section` on the command line.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "inspect/base/failure.h"
#include "inspect/command/arguments.h"

namespace velm::inspect {

/// What the chosen subcommand does when the command line is parsed.
using Command = std::function<ExitCode()>;

/// Adds `section NOMINAL MEASURED` to the program; when it is chosen, `command` becomes its run.
void add_section_command(CLI::App& app, Command& command);

} // namespace velm::inspect
