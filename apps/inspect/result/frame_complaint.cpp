#include "inspect/result/frame_complaint.h"

namespace velm::inspect {

const char* frame_complaint(FrameFault fault) {
    switch (fault) {
    case FrameFault::not_nine:
        return "expected nine numbers, an origin, a normal and a first axis";
    case FrameFault::normal_without_length:
        return "the normal has no length";
    case FrameFault::axis_without_length:
        return "the first axis has no length";
    case FrameFault::axis_along_normal:
        return "the first axis runs along the normal";
    default:
        return "";
    }
}

} // namespace velm::inspect
