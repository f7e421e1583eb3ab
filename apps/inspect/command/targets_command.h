// targets_command.h: the subcommand `targets` on the command line.
#pragma once

#include "inspect/command/section_command.h"

namespace velm::inspect {

/// Adds `targets TABLE` to the program; when it is chosen, `command` becomes its run.
void add_targets_command(CLI::App& app, Command& command);

} // namespace velm::inspect
