// point_files.h: `PlyReport` and `VtpReport`, the points of an inspected part for programs that
// draw points in space.
#pragma once

#include "inspect/base/output_set.h"
#include "inspect/base/spool.h"
#include "inspect/picture/mesh_colours.h"
#include "inspect/picture/report_head.h"
#include "velm/inspection/surface_result.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace velm::inspect {

/// Points with `deviation`, `distance`, `face` and `verdict` as properties of binary PLY: the face
/// is a number, from 0, whose path a comment names, -1 where no place belongs to the point; the
/// verdict is that of `PointState`. `scalar_deviation` is the deviation again, under the name by
/// which some programs colour points at once. Verdict, head and alignment stand in comments.
/// Numbers that a point doesn't have are NaN. Memory doesn't grow with the points.
class PlyReport {
public:
    /// The head must outlive the report.
    PlyReport(Output& output, const SurfaceHead& head) : output_(output), head_(head) {}
    void add(const SurfaceRow& row);
    void finish(const ReportHead& shown);

private:
    Output& output_;
    const SurfaceHead& head_;
    Spool points_;
    std::uint64_t count_ = 0;
};

/// The triangles of the part with the deviations at their corners, and the points, in one polydata
/// of VTK's XML form, with the same properties; those of the part's corners have `distance` NaN.
class VtpReport {
public:
    /// The head must outlive the report.
    VtpReport(Output& output, const SurfaceHead& head, const NominalMesh& mesh)
        : output_(output), head_(head), colours_(mesh) {}
    void add(const SurfaceRow& row);
    void finish(const ReportHead& shown);

private:
    struct Array {
        const char *section, *type, *name;
        int components;
        std::uint64_t size; // in bytes
        std::function<void()> write;
    };
    std::vector<Array> arrays();

    Output& output_;
    const SurfaceHead& head_;
    MeshColours colours_;
    // Of the points.
    Spool places_, deviations_, distances_, faces_, verdicts_;
    std::uint64_t count_ = 0;
};

} // namespace velm::inspect
