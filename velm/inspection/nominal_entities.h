// NominalEntities, nominal_point: the nominal side of an inspection as objects of a CAD model, each
// with a named identifier.
//
//     const velm::NominalEntities entities(outline, head.title, head.nominal);
//     const CADObjectID identifier = entities.identifier(contour, edge);
#pragma once

#include "velm/export.h"
#include "velm/frame/smart_pointer.h"
#include "velm/inspection/target_result.h"
#include "velm/measure/cad_object_id.h"
#include "velm/planar/contour.h"

#include <string>
#include <vector>

namespace velm {

/// The name of a contour of an outline: "outer", "hole 1", "hole 2", "outer 3", ...
VELM_API std::string contour_name(const Outline& outline, int contour);

/// The entity and the identifier of each edge. The identifier is a named one: its numbers are the
/// contour, H, and the edge on it, S, both from 0; its place is a group of the outline's title, or
/// of the file's name if there is no title, and in it one of the contour, as in /wing/outer; its
/// type is the class of the entity, and its name space the nominal file.
class VELM_API NominalEntities {
public:
    /// The outline must outlive the entities. `file` is the nominal file as it was given.
    NominalEntities(const Outline& outline, const std::string& title, const std::string& file);

    /// An ERSegment2D, ERArc2D or ERCpoleNURBS2D, or an ERCircle2D if an arc is a contour of its
    /// own.
    t_SmartPtr<ERObject> entity(int contour, int edge) const;
    CADObjectID identifier(int contour, int edge) const;

private:
    const Outline& outline_;
    std::vector<gmCADGroupStructure> groups_; // by contour
    std::string file_;
};

/// The identifier of the nominal point of a row: a named one with the numbers 0 and that of the row
/// among those used, from 1; in a group of the table's name without folders, as in /panel.csv; of
/// the type ERPoint3D, in the name space of the table's file.
VELM_API CADObjectID nominal_point(const TargetHead& head, int row);

} // namespace velm
