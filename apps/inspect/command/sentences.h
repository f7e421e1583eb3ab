// sentences.h: what inspections return as reasons and notes, in words that name the options of the
// command line: `with_sentences`, `note_sentence`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/command/exit_code.h"
#include "inspect/inspection/inspection_end.h"

#include <functional>
#include <string>

namespace velm::inspect {

/// Does the work of a command. Each of the `...Refusal` that it throws becomes a `Failure`.
ExitCode with_sentences(const std::function<ExitCode()>& work);

/// "probed.csv: 2 points are not assigned: ..."
std::string note_sentence(const InspectionNote& note);

} // namespace velm::inspect
