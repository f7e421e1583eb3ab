// convert_face: a face as a trimmed surface of the library.
#pragma once

#include "cad/cad_document.h"

#include "velm/surfaces/trimmed_surface.h"

#include <string>

namespace velm::cad {

struct ConvertedFace {
    t_SmartPtr<ERTrimmedSurface> surface; ///< null: `why` says why the face can't be taken
    std::string why;
    double gap = 0.0; ///< the largest in the face's boundary, see face_conversion.cpp
};

/// The face's surface with the file's own parameter curves as boundaries; a face without bounds
/// gets the rectangle of its limits. Going along the outer boundary the face is to the left in the
/// parameters where dP/du ^ dP/dv points out of the material, else to the right.
ConvertedFace convert_face(const CadFace& face);

} // namespace velm::cad
