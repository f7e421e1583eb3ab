// velm::detail: fits of the rows of grids of points and poles, all at once.
#pragma once

#include "velm/curves/detail/value_fit.h"
#include "velm/curves/nurbs_fit.h"

#include <cmath>
#include <optional>
#include <valarray>
#include <vector>

namespace velm::detail {

/// The coordinates of a row of points.
using ValueRow = std::valarray<double>;

/// Parameters of [0, 1] for the points of rows of `width` numbers each: the means over all rows
/// that have a length. None if they don't ascend, and if a number isn't finite.
inline std::vector<double> mean_parameters(const std::vector<ValueRow>& rows, std::size_t width,
                                           PointParameters kind) {
    const std::size_t count = rows.front().size() / width;
    std::vector<double> mean(count, 0.0);
    double counted = 0.0;
    for (const ValueRow& row : rows) {
        std::vector<double> t{0.0};
        for (std::size_t i = 1; i < count; ++i) {
            double sum = 0.0;
            for (std::size_t k = 0; k < width; ++k) {
                const double step = row[width * i + k] - row[width * (i - 1) + k];
                sum += step * step;
            }
            if (!std::isfinite(sum)) return {};
            const double chord = std::sqrt(sum);
            t.push_back(t.back() + (kind == PointParameters::even           ? 1.0
                                    : kind == PointParameters::chord_length ? chord
                                                                            : std::sqrt(chord)));
        }
        if (!(t.back() > 0.0)) continue;
        counted += 1.0;
        for (std::size_t i = 0; i < count; ++i)
            mean[i] += t[i] / t.back();
    }
    for (std::size_t i = 0; i < count; ++i) {
        mean[i] = i + 1 == count ? 1.0 : mean[i] / counted;
        if (i > 0 && !(mean[i] > mean[i - 1])) return {};
    }
    return mean;
}

/// Replaces values at parameters by the poles of a spline through or near them, by their number,
/// and gives its knots.
inline std::optional<ERKnotVector> fit_rows(std::vector<ValueRow>& values,
                                            const std::vector<double>& t, int degree, int poles) {
    const bool through = poles == static_cast<int>(values.size());
    const ERKnotVector knots = through ? averaged_knots(t, degree) : spread_knots(t, degree, poles);
    if (!(through ? interpolate_values(knots, t, values) : approximate_values(knots, t, values)))
        return std::nullopt;
    return knots;
}

} // namespace velm::detail
