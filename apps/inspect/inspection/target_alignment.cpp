#include "inspect/inspection/target_alignment.h"

#include "inspect/base/failure.h"
#include "inspect/report/alignment_report.h"
#include "velm/transforms/transformed_values.h"

namespace velm::inspect {
namespace {

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

AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name) {
    std::vector<gmTargetPoint> targets;
    targets.reserve(rows.size());
    for (const TargetRow& row : rows)
        targets.push_back(row.target);
    const velm::AlignmentOptions options;
    const velm::Alignment found = velm::align(targets, options);
    if (!found.converged)
        throw Failure(ExitCode::input, name + ": " + unconverged_text(found, options));

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
