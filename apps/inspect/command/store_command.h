// store_command.h: the subcommand `store` on the command line.
#pragma once

#include <CLI/CLI.hpp>

#include "inspect/command/section_command.h"

namespace velm::inspect {

/// Adds `store FILE` to the program; when it is chosen, `command` becomes its run.
void add_store_command(CLI::App& app, Command& command);

} // namespace velm::inspect
