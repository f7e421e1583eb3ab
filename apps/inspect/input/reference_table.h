// reference_table.h: tables of reference points: `ReferenceRow`, `read_references`.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// A reference point as its table has it.
struct ReferenceRow {
    std::string id; ///< of the measured point
    ERPoint3D nominal;
    std::optional<ERVector3D> direction; ///< unit, out of the material
    std::string face;                    ///< else its direction is the normal of this face there
    bool holds_normal = false;           ///< holds its place along the direction
    bool holds_axis[3]{};                ///< holds its place along x, y, z
    std::size_t line = 0;
};

/// Reads a table with a header that names id, x, y, z, and i, j, k or face, and holds: letters of
/// N, along the direction, and of X, Y, Z, along the axes; N without it. Fields are separated by
/// comma, semicolon or tab; blank lines and comments after # are skipped. Throws `Failure`: (file),
/// or (input) with the line and the cause.
std::vector<ReferenceRow> read_references(const std::string& path);

} // namespace velm::inspect
