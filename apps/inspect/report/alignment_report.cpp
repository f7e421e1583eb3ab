#include "inspect/report/alignment_report.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace velm::inspect {

std::string unconverged_text(const velm::AlignmentReport& report,
                             const velm::AlignmentOptions& options) {
    return "the alignment doesn't converge: after " + std::to_string(report.iterations) +
           " iterations the points still move by " + shortest(report.last_step) +
           " of their extent, more than " + shortest(options.threshold);
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
