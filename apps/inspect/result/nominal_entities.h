// nominal_entities.h: the edges of an outline as objects of a CAD model: `NominalEntities`.
#pragma once

#include <string>
#include <vector>

#include "velm/frame/smart_pointer.h"
#include "velm/measure/cad_object_id.h"
#include "velm/planar/contour.h"

namespace velm::inspect {

/// What a contour of an outline is called: "outer", "hole 1", "hole 2", "outer 3", ...
std::string contour_name(const Outline& outline, int contour);

/// Each edge has an entity and an identifier. The identifier is a named one: its numbers are the
/// contour, H, and the edge on it, S, both from 0; its place is a group of the outline's title, or
/// of the file's name where there is no title, and in it one of the contour, as in /wing/outer; its
/// type is the class of the entity, and its name space the nominal file.
class NominalEntities {
public:
    /// The outline must outlive the entities. `file` is the nominal file as it was given.
    NominalEntities(const Outline& outline, const std::string& title, const std::string& file);

    /// An ERSegment2D, an ERArc2D, or an ERCircle2D where the edge is a contour of its own.
    t_SmartPtr<ERObject> entity(int contour, int edge) const;
    CADObjectID identifier(int contour, int edge) const;

private:
    const Outline& outline_;
    std::vector<gmCADGroupStructure> groups_; // by contour
    gmIDNameSpace file_;
};

} // namespace velm::inspect
