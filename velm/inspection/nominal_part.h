// NominalPart: a part of a CAD file in an object file: its faces with their paths, as
// velm-cad-import writes them.
//
//     ERDataBase data;
//     if (data.Open("bracket.velm", 0) != gmSuccess) return;
//     velm::save_part(data, part);
//
//     const velm::NominalPart part = velm::read_part("bracket.velm");
//     for (const velm::NominalFace& face : part.faces)
//         use(face.path, *face.surface, velm::outward_side(*face.surface));
//
// The records: a head, then one for each face, which refers to its trimmed surface.
// docs/file-format.md lists the keys.
#pragma once

#include "velm/export.h"
#include "velm/inspection/record_fault.h"
#include "velm/measure/cad_object_id.h"
#include "velm/store/database.h"
#include "velm/surfaces/trimmed_surface.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm {

/// The name of a surface's kind, of what is trimmed or offset in it: "plane", "cylinder", "cone",
/// "sphere", "torus", "revolution", "offset", "bezier", "nurbs"; "surface" for any other.
VELM_API std::string_view surface_kind(const ERAnyBoundedSurface& surface);

/// The side of the material's outside: 1 where dP/du ^ dP/dv points out of it, -1 where it points
/// inside. It is 1 if the face is to the left of its outer boundary, seen in the parameters, and
/// for a face without one. 0 for a boundary that encloses nothing.
VELM_API int outward_side(const ERTrimmedSurface& face);

struct NominalFace {
    std::string path; ///< the groups from the top, then the face: "/bracket/plate/face 3"
    t_SmartPtr<ERTrimmedSurface> surface;
    std::optional<unsigned long> colour; ///< 0xRRGGBB
    std::string layer;
    long entity = 0;             ///< its number in the CAD file, 0 without one
    bool bounds_a_solid = false; ///< else its outward side is only what the file says

    /// The identifier by which a host finds the face again: kind named, the path as the group
    /// structure, the kind of the surface as type, H the hash of the path, S the entity.
    CADObjectID id() const;
};

/// A face that could not be taken.
struct LeftOutFace {
    std::string path;
    long entity = 0;
    std::string reason;
};

/// Lengths are millimetres.
struct NominalPart {
    std::string source;       ///< the CAD file
    std::string format;       ///< "STEP", "IGES" or "BREP"
    std::string file_unit;    ///< of lengths in it, as it names it
    double largest_gap = 0.0; ///< between neighbouring trims, and between trims and edges
    std::vector<NominalFace> faces;
    std::vector<LeftOutFace> left_out;
};

/// Saves a part after what the database holds. Raises CFileException*.
VELM_API void save_part(ERDataBase& data, const NominalPart& part);

/// Reads the last part of an object file. Raises CFileException* for files; throws RecordFault
/// where there is none, or where a record of it is lost or damaged.
VELM_API NominalPart read_part(const std::string& path);

} // namespace velm
