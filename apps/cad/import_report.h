// import_json, summary_text, left_out_text: what an import took and left out.
#pragma once

#include "velm/inspection/nominal_part.h"

#include <string>

namespace velm::cad {

std::string import_json(const NominalPart& part);
/// Faces by kind, the gap, the sides that are only the file's; a line each.
std::string summary_text(const NominalPart& part, const std::string& result);
/// "face /a/b (entity 12) is left out: why".
std::string left_out_text(const LeftOutFace& face);

} // namespace velm::cad
