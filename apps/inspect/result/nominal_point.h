// nominal_point.h: the nominal points of a table as objects of a CAD model: `nominal_point`.
#pragma once

#include "velm/inspection/target_result.h"
#include "velm/measure/cad_object_id.h"

namespace velm::inspect {

/// The identifier of the nominal point of a row: a named one with the numbers 0 and that of the row
/// among those used, from 1; in a group of the table's name without folders, as in /panel.csv; of
/// the type ERPoint3D, in the name space of the table's file.
CADObjectID nominal_point(const TargetHead& head, int row);

} // namespace velm::inspect
