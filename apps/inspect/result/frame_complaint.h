// frame_complaint.h: the fault of numbers that make no frame of a section: `frame_complaint`.
#pragma once

#include "velm/inspection/section_frame.h"

namespace velm::inspect {

/// "the first axis runs along the normal"
const char* frame_complaint(FrameFault fault);

} // namespace velm::inspect
