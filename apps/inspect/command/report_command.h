// report_command.h: the subcommand `report` on the command line.
#pragma once

#include <CLI/CLI.hpp>

#include "inspect/command/section_command.h"

namespace velm::inspect {

/// Adds `report STORE` to the program; when it is chosen, `command` becomes its run.
void add_report_command(CLI::App& app, Command& command);

} // namespace velm::inspect
