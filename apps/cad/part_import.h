// import_part: a CAD file as a nominal part.
#pragma once

#include "velm/inspection/nominal_part.h"

#include <string>
#include <vector>

namespace velm::cad {

/// All faces of the file, or those whose paths are below one of `parts`. Throws Failure (input)
/// where a path leads to none, and as read_cad does.
NominalPart import_part(const std::string& source, const std::vector<std::string>& parts);

} // namespace velm::cad
