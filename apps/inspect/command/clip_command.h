// clip_command.h: the subcommand `clip` on the command line.
#pragma once

#include "inspect/command/section_command.h"

namespace velm::inspect {

/// Adds `clip REGION POLYLINE` to the program; when it is chosen, `command` becomes its run.
void add_clip_command(CLI::App& app, Command& command);

} // namespace velm::inspect
