// surface.h: the inspection of a part's surfaces: `SurfaceOptions`, `inspect_surface`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/base/output_paths.h"
#include "inspect/base/progress.h"
#include "inspect/input/probed_points.h"
#include "inspect/inspection/inspection_end.h"
#include "inspect/inspection/nominal_surfaces.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// How the measured points are moved first.
struct MovingOptions {
    bool best_fit = false;
    std::array<bool, 6> held{};            ///< shifts along x, y, z and turns about these
    std::optional<std::string> references; ///< a table of reference points
};

struct SurfaceOptions {
    NominalOptions nominal;
    std::string measured;
    ProbedOptions probed;
    double max_angle = 60.0;            ///< degrees, of a point's direction and its place's normal
    std::optional<double> max_distance; ///< of a place from the ball
    MovingOptions moving;
    std::vector<NamedText> info;
    std::optional<int> decimals;
    int threads = 1;
    OutputPaths paths;
};

/// Why the points can't be compared.
enum class SurfaceFault {
    reversed_directions, ///< more than half belong to the part the other way round
    none_assigned,       ///< no point belongs to a place
    too_many_to_store,   ///< more than the object file has room for
};
struct SurfaceRefusal {
    SurfaceFault fault;
    std::string measured; ///< the name of the file
    /// Points that there are, 0 if that isn't known, and that the object file has room for.
    std::uint64_t count = 0, most = 0;
    bool turned_directions = false; ///< i, j, k were said to point into the material
};

/// Compares the measured points with the faces of the nominal part, and writes the table, the
/// summary and the reports wanted. All outputs appear together at the end or not at all. Memory
/// doesn't grow with the number of points, except for the set of ids, and where points are aligned
/// or drawn on a page. Returns what it found. Throws `Failure`, `SurfaceRefusal`.
InspectionEnd inspect_surface(const SurfaceOptions& options, Progress& progress);

} // namespace velm::inspect
