#include "inspect/result/applied_alignment.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/report/report_json.h"
#include "velm/transforms/transformed_values.h"

namespace velm::inspect {
namespace {

// The sine of the angle times the axis, from the antisymmetric part of the matrix.
ERVector3D turning(const ERVector3D (&rotation)[3]) {
    return ERVector3D(rotation[2].j() - rotation[1].k(), rotation[0].k() - rotation[2].i(),
                      rotation[1].i() - rotation[0].j()) *
           0.5;
}

double cosine(const ERVector3D (&rotation)[3]) {
    return (rotation[0].i() + rotation[1].j() + rotation[2].k() - 1.0) / 2.0;
}

AppliedAlignment with_report(const velm::AlignmentReport& found,
                             const velm::AlignmentOptions& options) {
    AppliedAlignment result;
    result.iterations = found.iterations;
    result.threshold = options.threshold;
    result.last_step = found.last_step;
    for (const velm::HeldFreedom& freedom : found.held)
        result.held.push_back(freedom.name());
    return result;
}

void append_value(std::string& out, const char* name, double value) {
    out += std::string(",\"") + name + "\":";
    append_number(out, value);
}

} // namespace

DeviationSpread spread_of(const RunningStatistics& deviations) {
    return {deviations.root_mean_square(), deviations.minimum(), deviations.maximum()};
}

double AppliedAlignment::angle() const {
    const ERVector3D turn = turning(rotation);
    return std::atan2(in_plane ? turn.k() : turn.norme(), cosine(rotation));
}

ERVector3D AppliedAlignment::axis() const {
    const ERVector3D turn = turning(rotation);
    if (turn.norme2() == 0.0 && cosine(rotation) > 0.0) return {};
    if (cosine(rotation) > 0.0) return turn.getnormalized();
    // Near a half turn the symmetric part less the cosine, a multiple of the axis' products, tells.
    ERVector3D longest;
    for (int row = 0; row < 3; ++row) {
        ERVector3D products = rotation[row];
        for (int column = 0; column < 3; ++column)
            products[column] = (rotation[row][column] + rotation[column][row]) / 2.0;
        products[row] -= cosine(rotation);
        if (products.norme2() > longest.norme2()) longest = products;
    }
    return longest.getnormalized() * (longest * turn < 0.0 ? -1.0 : 1.0);
}

ERPoint2D AppliedAlignment::moved(const ERPoint2D& p) const {
    return {rotation[0].i() * p.x() + rotation[0].j() * p.y() + translation.x(),
            rotation[1].i() * p.x() + rotation[1].j() * p.y() + translation.y()};
}

AppliedAlignment applied(const velm::Alignment& found, const velm::AlignmentOptions& options) {
    AppliedAlignment result = with_report(found, options);
    for (int column = 0; column < 3; ++column) {
        const ERVector3D image = found.motion >> ERVector3D(static_cast<Coord3D>(column));
        for (int row = 0; row < 3; ++row)
            result.rotation[row][column] = image[row];
    }
    result.translation = found.motion >> ERPoint3D(0, 0, 0);
    return result;
}

AppliedAlignment applied(const velm::Alignment2D& found, const velm::AlignmentOptions& options) {
    AppliedAlignment result = with_report(found, options);
    result.in_plane = true;
    const ERVector2D x = found.motion >> ERVector2D(1, 0), y = found.motion >> ERVector2D(0, 1);
    result.rotation[0] = ERVector3D(x.i(), y.i(), 0);
    result.rotation[1] = ERVector3D(x.j(), y.j(), 0);
    const ERPoint2D origin = found.motion >> ERPoint2D(0, 0);
    result.translation = ERPoint3D(origin.x(), origin.y(), 0);
    return result;
}

std::string unconverged_text(const velm::AlignmentReport& report,
                             const velm::AlignmentOptions& options) {
    return "the alignment doesn't converge: after " + std::to_string(report.iterations) +
           " iterations the points still move by " + shortest(report.last_step) +
           " of their extent, more than " + shortest(options.threshold);
}

void append_alignment(std::string& out, const AppliedAlignment& alignment) {
    out += ",\n \"alignment\":{\"method\":\"bestfit\",\"iterations\":" +
           std::to_string(alignment.iterations);
    append_value(out, "threshold", alignment.threshold);
    append_value(out, "last_step", alignment.last_step);
    append_value(out, "angle", alignment.angle());
    const ERVector3D(&rows)[3] = alignment.rotation;
    const ERPoint3D& t = alignment.translation;
    if (alignment.in_plane) {
        out += ",\"rotation\":[";
        append_list(out, {rows[0].i(), rows[0].j()});
        out += ',';
        append_list(out, {rows[1].i(), rows[1].j()});
        out += "],\"translation\":";
        append_list(out, {t.x(), t.y()});
    } else {
        const ERVector3D axis = alignment.axis();
        out += ",\"axis\":";
        append_list(out, {axis.i(), axis.j(), axis.k()});
        out += ",\"rotation\":";
        char before = '[';
        for (const ERVector3D& row : rows) {
            out += before;
            append_list(out, {row.i(), row.j(), row.k()});
            before = ',';
        }
        out += "],\"translation\":";
        append_list(out, {t.x(), t.y(), t.z()});
    }
    const DeviationSpread &before = alignment.before, &after = alignment.after;
    append_value(out, "rms_before", before.rms);
    append_value(out, "rms_after", after.rms);
    append_value(out, "minimum_before", before.minimum);
    append_value(out, "minimum_after", after.minimum);
    append_value(out, "maximum_before", before.maximum);
    append_value(out, "maximum_after", after.maximum);
    out += ",\"held\":[";
    for (const std::string& freedom : alignment.held) {
        if (out.back() != '[') out += ',';
        append_json_string(out, freedom, true);
    }
    out += "]}";
}

std::vector<std::pair<std::string, std::string>>
alignment_lines(const AppliedAlignment& alignment) {
    const auto listed = [](std::initializer_list<double> values, int digits) {
        double largest = 0.0;
        for (const double value : values)
            largest = std::max(largest, std::fabs(value));
        std::string out;
        for (const double value : values)
            out += (out.empty() ? "" : ", ") + fixed(value, decimals_for(largest, digits));
        return out;
    };
    const ERPoint3D& t = alignment.translation;
    const ERVector3D axis = alignment.axis();
    std::string turn = fixed(alignment.angle() * 180.0 / std::numbers::pi, 6) + " degrees";
    if (!alignment.in_plane) turn += " about <" + listed({axis.i(), axis.j(), axis.k()}, 7) + ">";
    std::vector<std::pair<std::string, std::string>> lines{
        {"aligned by best fit", std::to_string(alignment.iterations) +
                                    " iterations, the last step " +
                                    listed({alignment.last_step}, 3) +
                                    " of the extent, threshold " + shortest(alignment.threshold)},
        {"turned by", turn},
        {"moved at the origin by",
         alignment.in_plane ? listed({t.x(), t.y()}, 7) : listed({t.x(), t.y(), t.z()}, 7)}};
    for (const auto& [when, spread] :
         {std::pair("before", alignment.before), std::pair("after", alignment.after)})
        lines.emplace_back(std::string("least, greatest, root mean square ") + when,
                           listed({spread.minimum, spread.maximum, spread.rms}, 5));
    for (const std::string& freedom : alignment.held)
        lines.emplace_back("held", freedom);
    return lines;
}

std::string alignment_text(const AppliedAlignment& alignment) {
    std::string out = "\n";
    for (const auto& [name, value] : alignment_lines(alignment))
        out += name + ": " + terminal_text(value) + "\n";
    return out;
}

} // namespace velm::inspect
