// fit_command.h: the subcommand `fit`: its options and help.
#pragma once

#include "inspect/command/arguments.h"
#include "inspect/command/section_command.h"

namespace velm::inspect {

/// Adds `fit plane|line|circle POINTS` to the program; when it is chosen, `command` runs it.
void add_fit_command(CLI::App& app, Command& command);

} // namespace velm::inspect
