// commands.h: the commands of the program. A command is one function and one line of `commands`.
#pragma once

#include "inspect/command/command_line.h"

namespace velm::inspect {

void add_section_command(Program& program);
void add_clip_command(Program& program);
void add_surface_command(Program& program);
void add_targets_command(Program& program);
void add_fit_command(Program& program);
void add_store_command(Program& program);
void add_report_command(Program& program);

/// In the order of the help.
inline constexpr void (*commands[])(Program& program) = {
    add_section_command, add_surface_command, add_clip_command,  add_targets_command,
    add_fit_command,     add_store_command,   add_report_command};

} // namespace velm::inspect
