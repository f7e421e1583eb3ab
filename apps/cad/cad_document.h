// read_cad: the faces of a STEP, IGES or BREP file in their places, with the names that lead to
// them.
//
//     const CadDocument part = read_cad("bracket.step");
//     for (const CadFace& face : part.faces) ... face.path ... // "/bracket/plate/face 3"
//
// Reading and healing are Open CASCADE's. All lengths are millimetres.
#pragma once

#include <TopoDS_Face.hxx>

#include <optional>
#include <string>
#include <vector>

namespace velm::cad {

/// A face, located and oriented as its instance has it.
struct CadFace {
    TopoDS_Face shape;
    std::string path; ///< instances and products from the top, then the face; all differ
    std::optional<unsigned long> colour; ///< 0xRRGGBB
    std::string layer;
    long entity = 0;             ///< its number in the file, 0 without one
    bool bounds_a_solid = false; ///< else its side is only the file's
};

struct CadDocument {
    std::string format;    ///< "STEP", "IGES" or "BREP"
    std::string file_unit; ///< of lengths, as the file names it; empty: not named
    std::vector<CadFace> faces;
    std::vector<long>
        lost; ///< numbers of entities that should be faces, of which the kernel made none
};

/// Reads a file by what it holds, not by its name. Throws Failure: of the lane `file` if it can't
/// be read, of `input` if it isn't understood or has no faces.
CadDocument read_cad(const std::string& path);

} // namespace velm::cad
