#include "inspect/result/fit_result.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace velm::inspect {

std::string_view kind_name(FitKind kind) {
    return choice_names(kind)[static_cast<std::size_t>(kind)];
}

FitHead FitResult::head() const {
    FitHead head;
    static_cast<InspectionHead&>(head) = *this;
    head.measured = measured;
    head.entity = {kind, in_space, point, axis, radius, flatness_rms, steps, last_step};
    if (ball > 0.0) head.ball = Ball{ball, side};
    head.form = form;
    head.size = size;
    head.position = position;
    return head;
}

FitRow FitResult::row(const FitPoints& points, std::size_t index) const {
    FitRow row;
    row.id = points.ids[index];
    row.measured = points.places[index];
    row.deviation = residuals[index];
    judge(row, tolerance, Limits::both, slack(largest_coordinate));
    return row;
}

const char* FitResult::form_name() const {
    return kind == FitKind::plane  ? "flatness"
           : kind == FitKind::line ? "straightness"
                                   : "roundness";
}

std::vector<std::size_t> worst_points(const FitResult& result, const FitPoints& points,
                                      std::size_t most) {
    std::vector<double> severity(points.ids.size());
    for (std::size_t n = 0; n < severity.size(); ++n)
        severity[n] =
            std::fabs(result.residuals[n] - (result.tolerance ? result.tolerance->middle() : 0.0));
    std::vector<std::size_t> order(severity.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const std::size_t kept = std::min(most, order.size());
    std::partial_sort(order.begin(), order.begin() + static_cast<std::ptrdiff_t>(kept), order.end(),
                      [&](std::size_t a, std::size_t b) {
                          return severity[a] != severity[b] ? severity[a] > severity[b] : a < b;
                      });
    order.resize(kept);
    return order;
}

} // namespace velm::inspect
