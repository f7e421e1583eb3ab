// velm::detail: fits of B-splines through and near values at parameters, for the points of a curve
// and for whole rows of a grid of points. Value is anything with +=, -=, a difference and a product
// with a double, such as a point or a std::valarray.
//
// The NURBS Book, 9.2.1 (interpolation, knots by averaging) and 9.4.1 (least squares with the ends
// held).
#pragma once

#include "velm/curves/detail/band_matrix.h"
#include "velm/curves/knot_vector.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velm::detail {

inline constexpr int highest_fit_degree = 25;

/// degree + 1 copies of 0 and of 1 around the inner knots.
inline ERKnotVector clamped_knots(int degree, const std::vector<double>& inner) {
    ERVec<double> knots;
    for (int i = 0; i <= degree; ++i)
        knots.append(0.0);
    for (const double knot : inner)
        knots.append(knot);
    for (int i = 0; i <= degree; ++i)
        knots.append(1.0);
    return ERKnotVector(degree, knots);
}

/// For interpolation at these parameters of [0, 1]: each inner knot is the mean of `degree` of
/// them.
inline ERKnotVector averaged_knots(const std::vector<double>& t, int degree) {
    std::vector<double> inner;
    for (std::size_t j = 1; j + std::size_t(degree) < t.size(); ++j) {
        double sum = 0.0;
        for (std::size_t i = j; i < j + std::size_t(degree); ++i)
            sum += t[i];
        inner.push_back(sum / degree);
    }
    return clamped_knots(degree, inner);
}

/// For least squares (The NURBS Book, 9.68 and 9.69): each span holds at least one parameter.
inline ERKnotVector spread_knots(const std::vector<double>& t, int degree, int poles) {
    std::vector<double> inner;
    const double step = static_cast<double>(t.size()) / (poles - degree);
    for (int j = 1; j < poles - degree; ++j) {
        const double place = j * step;
        const auto i = static_cast<std::size_t>(place);
        const double part = place - static_cast<double>(i);
        inner.push_back((1.0 - part) * t[i - 1] + part * t[i]);
    }
    return clamped_knots(degree, inner);
}

/// The basis functions at a parameter: degree + 1 values from pole `first` on.
struct BasisRow {
    int first;
    std::vector<double> values;
};

inline std::vector<BasisRow> basis_rows(const ERKnotVector& knots, const std::vector<double>& t) {
    std::vector<BasisRow> rows;
    for (const double at : t) {
        BasisRow row;
        const int span = knots.FindSpan(at);
        row.first = span - knots.degree();
        row.values.resize(static_cast<std::size_t>(knots.degree()) + 1);
        knots.BasisFunsBuffer(span, at, row.values.data());
        rows.push_back(std::move(row));
    }
    return rows;
}

/// The poles of the spline with these values at the parameters, in their place, the ends exactly.
/// REQUIRES averaged_knots. Returns false, rarely, for parameters that rounding makes singular.
template <class Value>
bool interpolate_values(const ERKnotVector& knots, const std::vector<double>& t,
                        std::vector<Value>& values) {
    const int degree = knots.degree();
    BandMatrix matrix(static_cast<int>(t.size()), degree, degree);
    const std::vector<BasisRow> rows = basis_rows(knots, t);
    for (int i = 0; i < static_cast<int>(t.size()); ++i) {
        const BasisRow& row = rows[static_cast<std::size_t>(i)];
        for (int k = 0; k <= degree; ++k) {
            // All outside the band is zero: the matrix has full pivots (de Boor).
            if (matrix.holds(i, row.first + k))
                matrix.at(i, row.first + k) = row.values[static_cast<std::size_t>(k)];
        }
    }
    const Value first = values.front(), last = values.back();
    if (!matrix.solve(values)) return false;
    values.front() = first;
    values.back() = last;
    return true;
}

/// The poles of the spline with the least sum of squared differences from the values, and the first
/// and the last value at its ends. REQUIRES fewer poles than values, and spread_knots.
template <class Value>
bool approximate_values(const ERKnotVector& knots, const std::vector<double>& t,
                        std::vector<Value>& values) {
    const int degree = knots.degree(), pole_count = knots.length() - degree - 1;
    const std::vector<BasisRow> rows = basis_rows(knots, t);
    // The normal equations of the inner poles, for what the ends leave of the values.
    const int inner = pole_count - 2;
    std::vector<Value> poles(static_cast<std::size_t>(pole_count), values.front());
    poles.back() = values.back();
    if (inner > 0) {
        BandMatrix matrix(inner, degree, degree);
        std::vector<Value> right(static_cast<std::size_t>(inner), values.front() * 0.0);
        for (std::size_t k = 1; k + 1 < values.size(); ++k) {
            const BasisRow& row = rows[k];
            const auto basis = [&](int pole) {
                const int i = pole - row.first;
                return i >= 0 && i <= degree ? row.values[static_cast<std::size_t>(i)] : 0.0;
            };
            Value rest = values[k];
            rest -= values.front() * basis(0);
            rest -= values.back() * basis(pole_count - 1);
            for (int i = std::max(1, row.first); i <= std::min(inner, row.first + degree); ++i) {
                right[static_cast<std::size_t>(i - 1)] += rest * basis(i);
                for (int j = std::max(1, row.first); j <= std::min(inner, row.first + degree); ++j)
                    matrix.at(i - 1, j - 1) += basis(i) * basis(j);
            }
        }
        if (!matrix.solve(right)) return false;
        std::copy(right.begin(), right.end(), poles.begin() + 1);
    }
    values = std::move(poles);
    return true;
}

} // namespace velm::detail
