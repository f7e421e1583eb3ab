// inspection_end.h: what an inspection leaves to the command: `InspectionEnd`.
#pragma once

#include <string>
#include <vector>

namespace velm::inspect {

struct InspectionEnd {
    bool is_in_tolerance = true;
    std::vector<std::string> notes; ///< sentences for the user about the inputs
};

} // namespace velm::inspect
