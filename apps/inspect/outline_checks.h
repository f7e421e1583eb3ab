// outline_checks.h: what every contour of a nominal file must have: `require_area`,
// `has_area`.
#pragma once

#include <cstddef>

#include "inspect/contour.h"
#include "inspect/text_source.h"

namespace velm::inspect {

/// Throws `Failure` (input), naming the line where the contour starts, unless it goes round an
/// area: three different vertices at least that are not all on one line, or arcs that don't just
/// lead back the same way; within what a double can hold.
void require_area(const TextSource& source, std::size_t line, const Contour& contour);

/// Whether `require_area` lets the contour pass.
bool has_area(const Contour& contour);

} // namespace velm::inspect
