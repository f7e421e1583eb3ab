// record_colour.h: the colours of records by what was found: `put_colour`.
#pragma once

#include <optional>

#include "velm/store/db_object.h"

namespace velm::inspect {

/// Green in tolerance, red out of it, dark where nothing was judged: a palette number as CAD
/// systems have it, and red, green, blue.
void put_colour(ERDBObject& record, const std::optional<bool>& in_tolerance);

} // namespace velm::inspect
