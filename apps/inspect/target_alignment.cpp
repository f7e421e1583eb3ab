#include "inspect/target_alignment.h"

#include <cmath>
#include <numbers>

#include "inspect/failure.h"
#include "inspect/number_text.h"
#include "inspect/report_json.h"
#include "inspect/text_escape.h"
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

// Half the sine of the angle times the axis, from the antisymmetric part of the matrix.
ERVector3D turning(const ERVector3D (&rotation)[3]) {
    return ERVector3D(rotation[2].j() - rotation[1].k(), rotation[0].k() - rotation[2].i(),
                      rotation[1].i() - rotation[0].j()) *
           0.5;
}

} // namespace

double AppliedAlignment::angle() const {
    const double trace = rotation[0].i() + rotation[1].j() + rotation[2].k();
    return std::atan2(std::sqrt(turning(rotation).norme2()), (trace - 1.0) / 2.0);
}

ERVector3D AppliedAlignment::axis() const {
    const ERVector3D turn = turning(rotation);
    return turn.norme2() > 0.0 ? turn.getnormalized() : ERVector3D();
}

AppliedAlignment align_targets(std::span<TargetRow> rows, const std::string& name) {
    std::vector<gmTargetPoint> targets;
    targets.reserve(rows.size());
    for (const TargetRow& row : rows)
        targets.push_back(row.target);
    const velm::Alignment found = velm::align(targets);
    if (!found.converged)
        throw Failure(ExitCode::input, name + ": the alignment doesn't converge: after " +
                                           std::to_string(found.iterations) +
                                           " iterations the points still move by " +
                                           shortest(found.last_step) + " of their extent");
    for (TargetRow& row : rows)
        row.target = moved(row.target, found.motion);

    AppliedAlignment applied{found, {}, found.motion >> ERPoint3D(0, 0, 0), 0.0, 0.0};
    const ERVector3D x = found.motion >> ERVector3D(1, 0, 0),
                     y = found.motion >> ERVector3D(0, 1, 0),
                     z = found.motion >> ERVector3D(0, 0, 1);
    applied.rotation[0] = ERVector3D(x.i(), y.i(), z.i());
    applied.rotation[1] = ERVector3D(x.j(), y.j(), z.j());
    applied.rotation[2] = ERVector3D(x.k(), y.k(), z.k());
    const double count = static_cast<double>(rows.size());
    applied.rms_before = std::sqrt(found.squares_before / count);
    applied.rms_after = std::sqrt(found.squares_after / count);
    return applied;
}

void append_alignment(std::string& out, const AppliedAlignment& alignment) {
    out += ",\n \"alignment\":{\"method\":\"bestfit\",\"iterations\":" +
           std::to_string(alignment.report.iterations) + ",\"rotation\":";
    char before = '[';
    for (const ERVector3D& row : alignment.rotation) {
        out += before;
        append_list(out, {row.i(), row.j(), row.k()});
        before = ',';
    }
    out += "],\"translation\":";
    const ERPoint3D& t = alignment.translation;
    append_list(out, {t.x(), t.y(), t.z()});
    out += ",\"rms_before\":" + shortest(alignment.rms_before) +
           ",\"rms_after\":" + shortest(alignment.rms_after) + ",\"held\":[";
    for (const velm::HeldFreedom& freedom : alignment.report.held) {
        if (out.back() != '[') out += ',';
        append_json_string(out, freedom.name());
    }
    out += "]}";
}

std::vector<std::pair<std::string, std::string>>
alignment_lines(const AppliedAlignment& alignment) {
    const auto triple = [](double a, double b, double c) {
        return fixed(a, 6) + ", " + fixed(b, 6) + ", " + fixed(c, 6);
    };
    const ERVector3D axis = alignment.axis();
    const ERPoint3D& t = alignment.translation;
    std::vector<std::pair<std::string, std::string>> lines{
        {"aligned by best fit", std::to_string(alignment.report.iterations) + " iterations"},
        {"turned by", fixed(alignment.angle() * 180.0 / std::numbers::pi, 6) + " degrees about <" +
                          triple(axis.i(), axis.j(), axis.k()) + ">"},
        {"moved at the origin by", triple(t.x(), t.y(), t.z())},
        {"root mean square before", fixed(alignment.rms_before, 6)},
        {"root mean square after", fixed(alignment.rms_after, 6)}};
    for (const velm::HeldFreedom& freedom : alignment.report.held)
        lines.emplace_back("held", freedom.name());
    return lines;
}

} // namespace velm::inspect
