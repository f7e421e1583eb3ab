// face_tolerances.h: faces by their paths: `is_face_called`, and tables of their limits:
// `FaceTolerance`, `read_face_tolerances`.
#pragma once

#include "velm/inspection/tolerance.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// Whether a name is that of the face, of a group that it is in, or of a run of them: "lid",
/// "lid/face 3" and "/housing/lid" all call "/housing/lid/face 3". `*` matches any text.
bool is_face_called(std::string_view name, std::string_view path);

/// One row of a table.
struct FaceTolerance {
    std::string name;
    Tolerance limits;
    std::size_t line = 0;
};

/// Reads lines of a name and its lower and upper limit, or one limit T for -T and T, separated by
/// comma, semicolon or tab; blank lines, comments after # and a header are skipped. Throws
/// `Failure`: (file), or (input) with the line and the cause.
std::vector<FaceTolerance> read_face_tolerances(const std::string& path);

} // namespace velm::inspect
