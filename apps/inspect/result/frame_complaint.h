// frame_complaint.h: why numbers make no frame of a section, in words: `frame_complaint`.
#pragma once

#include "velm/inspection/section_frame.h"

namespace velm::inspect {

/// "the first axis runs along the normal"
const char* frame_complaint(FrameFault fault);

} // namespace velm::inspect
