#include "inspect/picture/deviation_envelope.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

// Of all contours together: on a drawing some 1,000 units wide a stretch is as small as can be seen
// apart from its neighbours.
constexpr double stretches_in_all = 720.0;
// A small bore has one for every 30 degrees.
constexpr int fewest_in_contour = 12;

} // namespace

DeviationEnvelope::DeviationEnvelope(const Outline& outline) {
    double whole = 0.0;
    for (const Contour& contour : outline.contours) {
        std::vector<double> way{0.0};
        for (int i = 0; i < contour.size(); ++i)
            way.push_back(way.back() + contour.length(i));
        whole += way.back();
        way_.push_back(std::move(way));
    }
    for (const std::vector<double>& way : way_) {
        const int count = static_cast<int>(std::lround(stretches_in_all * (way.back() / whole)));
        stretches_.emplace_back(static_cast<std::size_t>(std::max(count, fewest_in_contour)));
    }
}

void DeviationEnvelope::add(const SectionRow& row) {
    const OutlineComparison& found = row.comparison;
    const std::vector<double>& way = way_[static_cast<std::size_t>(found.contour)];
    std::vector<Stretch>& stretches = stretches_[static_cast<std::size_t>(found.contour)];
    const auto edge = static_cast<std::size_t>(found.edge);
    const double at = (way[edge] + found.parameter * (way[edge + 1] - way[edge])) / way.back();
    const auto count = static_cast<double>(stretches.size());
    Stretch& stretch =
        stretches[static_cast<std::size_t>(std::clamp(at * count, 0.0, count - 1.0))];
    const Extreme extreme{found.foot, found.outward, row.deviation, row.in_tolerance == false};
    if (stretch.count == 0 || row.deviation < stretch.least.deviation) stretch.least = extreme;
    if (stretch.count == 0 || row.deviation > stretch.greatest.deviation)
        stretch.greatest = extreme;
    stretch.sum += row.deviation;
    ++stretch.count;
}

} // namespace velm::inspect
