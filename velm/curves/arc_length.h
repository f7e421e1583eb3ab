// velm::arc_length: the length of a curve with bounds. velm::ArcLengthTable: lengths at parameters,
// parameters at lengths, places at even distances along the curve.
//
//     const auto curve = velm::prepare(arc);
//     const velm::CurveLength length = velm::arc_length(*curve, 1e-9);
//     const velm::ArcLengthTable<2> table(*curve, 1e-9);
//     for (const double t : table.evenly_spaced(11))
//         mark((*curve)(t));
//
// Bounds. On a part of a piece the speed |H| / w^2, H = X' w - X w', is approximated by a
// polynomial r >= 0 that interpolates it. The coefficients of E = |H|^2 - r^2 w^4 in the Bernstein
// basis bound |E|, and then |speed - r| = |E| / (w^4 (speed + r)) is at most max |E| over the least
// w^4 times the least speed, whose bound is that of the coefficients of |H|^2. The integral of r is
// the mean of its coefficients. A part where that is too coarse is halved. Where the speed vanishes
// the chord and the polygon of the poles, between which the length lies, take over. No part's
// bounds are widened by samples: they hold everywhere, except for roundings of about 1e-14 of the
// length.
#pragma once

#include "velm/curves/prepared_curve.h"

#include <vector>

namespace velm {

/// lower <= the length <= upper. `reached` says whether upper - lower came within the tolerance.
struct CurveLength {
    double value = 0.0;
    double lower = 0.0;
    double upper = 0.0;
    bool reached = false;
};

/// Immutable, for any number of threads, as the curve. It keeps what it needs of the curve.
template <int N>
class VELM_API ArcLengthTable {
public:
    /// To within `tolerance`, a length; at best some 1e-13 of the curve's length is reached.
    ArcLengthTable(const PreparedCurve<N>& curve, double tolerance);

    CurveLength total() const { return total_; }
    /// The length from the start of the domain to t, which is clamped to it; within the accuracy of
    /// the total. Rises with t.
    double length_at(double t) const;
    /// The parameter that lies `length` after the start along the curve; clamped to the domain.
    double parameter_at(double length) const;
    /// `count` parameters that cut the curve into count - 1 parts of equal length, the ends of the
    /// domain among them; none for a count below 2.
    std::vector<double> evenly_spaced(int count) const;

private:
    static constexpr int nodes = 8;

    /// A part of a piece with the Bernstein coefficients of the length from its start, by x in
    /// [0, 1].
    struct Part {
        int piece;
        double from, to; ///< in the piece's u
        double start;    ///< the length before it
        double lengths[nodes + 1];
    };
    struct Builder;

    PreparedCurve<N> curve_;
    std::vector<Part> parts_;
    CurveLength total_;
};

template <int N>
VELM_API CurveLength arc_length(const PreparedCurve<N>& curve, double tolerance);

extern template class ArcLengthTable<2>;
extern template class ArcLengthTable<3>;
extern template VELM_API CurveLength arc_length(const PreparedCurve<2>&, double);
extern template VELM_API CurveLength arc_length(const PreparedCurve<3>&, double);

} // namespace velm
