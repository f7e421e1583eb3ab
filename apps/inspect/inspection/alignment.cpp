#include "inspect/inspection/alignment.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/inspection/section_points.h"
#include "velm/transforms/transformed_values.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <vector>

namespace velm::inspect {
namespace {

// A power of two, which is exact, for parts so small that squares would leave the range of doubles.
double scale_for(std::span<const SectionRow> rows) {
    constexpr double smallest_unscaled = 1e-100;
    double largest = 0.0;
    for (const SectionRow& row : rows)
        for (const ERPoint2D& p : {row.measured, row.comparison.foot})
            largest = std::max({largest, std::fabs(p.x()), std::fabs(p.y())});
    return largest >= smallest_unscaled || largest == 0.0
               ? 1.0
               : std::ldexp(1.0, std::min(-std::ilogb(largest), 1000));
}

// "the alignment doesn't converge: after 100 iterations ..."
std::string unconverged_text(const velm::AlignmentReport& report,
                             const velm::AlignmentOptions& options) {
    return "the alignment doesn't converge: after " + std::to_string(report.iterations) +
           " iterations the points still move by " + shortest(report.last_step) +
           " of their extent, more than " + shortest(options.threshold);
}

gmTargetPoint moved(const gmTargetPoint& target, const ERPmIsometrie3D& motion) {
    const ERCMMPointWithDiameter& measured = target.measured_point();
    const ERPoint3D centre = motion >> measured.probe_center();
    const ERCMMPointWithDiameter there(centre, centre + (motion >> measured.IJK()),
                                       measured.probe_diameter(), measured.id());
    ERVector3D normal;
    return target.get_surface_normal(normal) != 0
               ? gmTargetPoint(target.target_point(), there, normal)
               : gmTargetPoint(target.target_point(), there);
}

} // namespace

AppliedAlignment align_section(std::span<SectionRow> rows, const Profile& profile, double max_angle,
                               const std::string& name) {
    const double scale = scale_for(rows);
    const double least_cosine = std::cos(max_angle * std::numbers::pi / 180.0);
    std::vector<ERPoint2D> points;
    std::vector<const SectionRow*> used; // those that have a place
    for (const SectionRow& row : rows) {
        if (!row.is_assigned) continue;
        points.push_back(row.measured * scale);
        used.push_back(&row);
    }
    const velm::NominalOf2D place = [&](std::size_t number, const ERPoint2D& p) {
        const SectionRow& row = *used[number];
        std::optional<OutlineComparison> found;
        if (row.direction) found = profile.compare(p / scale, *row.direction, least_cosine);
        if (!found) found = profile.compare(p / scale);
        const double radius = row.diameter / 2.0;
        return velm::NominalPlace2D{(found->foot + radius * found->outward) * scale,
                                    found->outward};
    };
    const velm::AlignmentOptions options;
    velm::Alignment2D found = velm::align(points, place, options);
    if (!found.converged)
        throw Failure(FailureKind::input, name + ": " + unconverged_text(found, options));

    found.motion.tx /= scale;
    found.motion.ty /= scale;
    for (velm::HeldFreedom& freedom : found.held)
        freedom.through /= scale;
    AppliedAlignment result = applied(found, options);
    RunningStatistics before, after;
    for (SectionRow& row : rows) {
        row.deviation_before = row.deviation;
        row.aligned = result.moved(row.measured);
        if (row.direction) // turns with the points
            row.direction =
                ERVector2D(result.moved(ERPoint2D(0, 0)),
                           result.moved(ERPoint2D(row.direction->i(), row.direction->j())));
        const bool was_assigned = row.is_assigned;
        if (!compare(row, profile, max_angle))
            throw Failure(FailureKind::input, name + ": the aligned points are too far from the "
                                                     "outline to be compared");
        if (was_assigned) before.add(*row.deviation_before);
        if (row.is_assigned) after.add(row.deviation);
    }
    result.before = spread_of(before);
    result.after = spread_of(after);
    return result;
}

AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name) {
    std::vector<gmTargetPoint> targets;
    targets.reserve(rows.size());
    for (const TargetRow& row : rows)
        targets.push_back(row.target);
    const velm::AlignmentOptions options;
    const velm::Alignment found = velm::align(targets, options);
    if (!found.converged)
        throw Failure(FailureKind::input, name + ": " + unconverged_text(found, options));

    AppliedAlignment result = applied(found, options);
    RunningStatistics before, after;
    for (TargetRow& row : rows) {
        row.deviation_before = deviation_of(row.target);
        row.target = moved(row.target, found.motion);
        before.add(*row.deviation_before);
        after.add(deviation_of(row.target));
    }
    result.before = spread_of(before);
    result.after = spread_of(after);
    return result;
}

} // namespace velm::inspect
