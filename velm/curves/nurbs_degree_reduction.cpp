// velm::reduce_degree of NURBS curves.
#include "velm/curves/degree_reduction.h"

#include "velm/curves/detail/band_matrix.h"
#include "velm/curves/detail/counted_knots.h"
#include "velm/curves/detail/pole_arrays.h"
#include "velm/curves/detail/pole_deviation.h"
#include "velm/curves/detail/spline_rows.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace velm {
namespace {

// The curve between knot p and knot n, these being its ends, p + 1 times each.
template <class Nurbs>
Nurbs clamped(Nurbs curve) {
    const int p = curve.degree();
    const ERKnotVector given = curve.getKnots();
    for (const double end : {given[p], given[given.length() - 1 - p]}) {
        const auto knots = curve.getKnots().getVec().view();
        const auto copies = static_cast<int>(std::count(knots.begin(), knots.end(), end));
        if (copies <= p) curve.insertKnot(end, p + 1 - copies);
    }
    const ERKnotVector& knots = curve.getKnots();
    const int first = knots.FindSpan(given[p]) - p;
    const int count = knots.quicklyFind(given[given.length() - 1 - p]) - first;
    ERVec<typename Nurbs::Pole> poles(count);
    std::copy_n(curve.getPoles().view().begin() + first, count, poles.begin());
    return {poles, ERKnotVector(p, knots.subVector(first, count + p + 1).getVec())};
}

// How the poles of a curve, raised by some degrees, come from its own: raised pole i is the sum of
// weight(i, c) times pole first[i] + c, c up to the lower degree.
struct Raising {
    ERKnotVector knots; // of the lower degree
    int columns;        // of `weights`: the lower degree + 1
    std::vector<int> first;
    std::vector<double> weights;

    double weight(int i, int c) const {
        return weights[static_cast<std::size_t>(i) * static_cast<std::size_t>(columns) +
                       static_cast<std::size_t>((first[static_cast<std::size_t>(i)] + c) %
                                                columns)];
    }
};

// A raised basis function belongs to poles whose own functions hold its support: to those of the
// span where it begins, at most degree + 1. So unit vectors of so many components, pole j with the
// component j modulo their number, are raised together and stay separate.
Raising raising_of(const ERKnotVector& lower, int by) {
    const int columns = lower.degree() + 1;
    Raising raising{lower, columns, {}, {}};
    ERVec<double> knots = lower.getVec();
    int count = knots.size() - columns, degree = lower.degree();
    std::vector<double> rows(static_cast<std::size_t>(count) * static_cast<std::size_t>(columns));
    for (int j = 0; j < count; ++j)
        rows[static_cast<std::size_t>(j * columns + j % columns)] = 1.0;
    for (; by > 0; --by, ++degree) {
        const detail::KnotView view{knots.view().data(), knots.size(), degree};
        ERVec<double> raised_knots(detail::elevated_knots(view, nullptr));
        detail::elevated_knots(view, raised_knots.data());
        const int raised = raised_knots.size() - degree - 2;
        std::vector<double> next(static_cast<std::size_t>(raised) *
                                 static_cast<std::size_t>(columns));
        detail::elevate_spline(view, detail::ConstPoleRow(rows.data(), count, columns),
                               detail::PoleRow(next.data(), raised, columns));
        rows = std::move(next);
        knots = raised_knots;
        count = raised;
    }
    for (int i = 0; i < count; ++i)
        raising.first.push_back(lower.FindSpan(knots[i]) - lower.degree());
    raising.weights = std::move(rows);
    return raising;
}

// The poles that, raised, are nearest to `wanted` in the sum of squares, the ends held.
template <class Pole>
std::optional<ERVec<Pole>> nearest_poles(const Raising& raising, const ERVec<Pole>& wanted) {
    const int count = raising.knots.length() - raising.columns, inner = count - 2;
    ERVec<Pole> poles(count);
    poles[0] = wanted[0];
    poles[count - 1] = wanted[wanted.size() - 1];
    if (inner == 0) return poles;
    detail::BandMatrix matrix(inner, raising.columns - 1, raising.columns - 1);
    std::vector<Pole> right(static_cast<std::size_t>(inner), Pole::each([](int) { return 0.0; }));
    for (int i = 0; i < wanted.size(); ++i) {
        const int first = raising.first[static_cast<std::size_t>(i)];
        const auto is_inner = [count](int j) { return j > 0 && j < count - 1; };
        Pole rest = wanted[i];
        for (int c = 0; c < raising.columns; ++c)
            if (!is_inner(first + c)) rest = rest - poles[first + c] * raising.weight(i, c);
        for (int c = 0; c < raising.columns; ++c) {
            if (!is_inner(first + c)) continue;
            const double weight = raising.weight(i, c);
            Pole& sum = right[static_cast<std::size_t>(first + c - 1)];
            sum = sum + rest * weight;
            for (int d = 0; d < raising.columns; ++d)
                if (is_inner(first + d))
                    matrix.at(first + c - 1, first + d - 1) += weight * raising.weight(i, d);
        }
    }
    if (!matrix.solve(right)) return std::nullopt;
    std::copy(right.begin(), right.end(), poles.begin() + 1);
    return poles;
}

// A clamped curve lowered by `by`.
template <class Nurbs>
std::optional<ReducedCurve<Nurbs>> lowered(const Nurbs& curve, int by) {
    const int p = curve.degree();
    Nurbs refined = curve;
    ERVec<double> knots;
    for (const detail::CountedKnot& run : detail::counted_knots(curve.getKnots())) {
        const int copies = std::max(run.copies - by, 1);
        for (int i = 0; i < copies; ++i)
            knots.append(run.knot);
        if (copies + by > run.copies) refined.insertKnot(run.knot, copies + by - run.copies);
    }
    const Raising raising = raising_of(ERKnotVector(p - by, knots), by);
    const auto poles = nearest_poles(raising, refined.getPoles());
    if (!poles) return std::nullopt;
    Nurbs raised(*poles, raising.knots);
    const Nurbs result = raised;
    raised.incrDegree(by);
    if (raised.nbPoles() != refined.nbPoles()) return std::nullopt; // knots of too many copies
    return ReducedCurve<Nurbs>{result, detail::pole_deviation(detail::row_of(refined.getPoles()),
                                                              detail::row_of(raised.getPoles()),
                                                              Nurbs::Point::components, p + 1)};
}

template <class Nurbs>
ReducedCurve<Nurbs> reduced(const Nurbs& curve, double tolerance) {
    ReducedCurve<Nurbs> best{curve, 0.0};
    const ERKnotVector& knots = curve.getKnots();
    const int p = curve.degree();
    const bool usable = p > 1 && knots.isUsable() && curve.isValid() != 0 &&
                        knots[p] < knots[knots.length() - 1 - p];
    if (!usable) return best;
    const Nurbs whole = clamped(curve);
    const double start = curve.udeb(), end = curve.ufin();
    for (int by = 1; by < p; ++by) {
        auto next = lowered(whole, by);
        if (!next || !(next->deviation <= tolerance)) break;
        const bool at_end = end == knots.limites().end();
        next->curve.setBound(ERLimites(start, at_end ? next->curve.Nfin() : end));
        best = std::move(*next);
    }
    return best;
}

} // namespace

ReducedCurve<ERCpoleNURBS2D> reduce_degree(const ERCpoleNURBS2D& curve, double tolerance) {
    return reduced(curve, tolerance);
}
ReducedCurve<ERCpoleNURBS3D> reduce_degree(const ERCpoleNURBS3D& curve, double tolerance) {
    return reduced(curve, tolerance);
}

} // namespace velm
