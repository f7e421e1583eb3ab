// probed_points.h: `ProbedPoints`, measured points of space from a table or a scan.
#pragma once

#include "inspect/base/progress.h"
#include "inspect/base/repeated_ids.h"
#include "inspect/input/measured_reader.h"
#include "inspect/input/ply_reader.h"
#include "velm/inspection/surface_result.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velm::inspect {

/// How measured points of space are read.
struct ProbedOptions {
    double diameter = 0.0;              ///< of the ball if the file has none
    std::optional<Tolerance> tolerance; ///< completes limits that rows give in part
    TableOptions table;
    bool turns_directions = false; ///< i, j, k point into the material
};

/// Reads points one by one, in constant memory but for the ids that were seen: a table as
/// `MeasuredReader` has it, with z; lines of three or six numbers; or a PLY file, recognised by its
/// first bytes. Throws `Failure` (input), with file, place and cause.
class ProbedPoints {
public:
    /// Reads the header. The options must outlive this.
    ProbedPoints(const std::string& path, const ProbedOptions& options);

    /// The next point, where it was measured, with its direction, and nothing compared; false after
    /// the last, if there is one.
    bool next(SurfaceRow& row);

    const std::string& name() const { return name_; }
    bool has_directions() const;
    /// Titles, units and what else the table says.
    void describe(SurfaceHead& head) const;
    /// Sentences about the points, at the end.
    std::vector<std::string> notes() const;
    void show(Progress& progress) const;
    /// The number of points that follow, as far as the file says it: that of a scan, and the lines
    /// of a table that is a regular file with one point per line; 0 where it isn't known.
    std::uint64_t announced() const;

private:
    bool next_of_table(SurfaceRow& row);
    bool next_of_scan(SurfaceRow& row);
    void set_direction(SurfaceRow& row, const ERVector3D& direction) const;

    const ProbedOptions& options_;
    std::string path_, name_;
    std::uint64_t size_ = 0;
    std::optional<PlyReader> scan_;
    std::optional<TextSource> source_;
    std::optional<MeasuredReader> table_;
    MeasuredPoint point_; // the row of the table
    RepeatedIds repeated_;
    std::uint64_t count_ = 0;
};

} // namespace velm::inspect
