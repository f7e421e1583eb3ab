// velm::detail::GraphIntersection: where a part of a curve meets another one that runs nearly
// parallel to it, by the signs of one polynomial.
//
// In the frame of its chord a part g that turns little is the graph of a function, y = p(x) to
// within a small `gap` for a polynomial p of low degree: p interpolates g, and the Bernstein
// coefficients of y_g - p(x_g) bound the gap. Put into y - p(x), another part c becomes a
// polynomial whose sign is the side of g on which c is, wherever it is farther from 0 than gap and
// tolerance. So tangencies of any order, and pieces in common, are zones of uncertain sign of a
// function of one parameter. (Barton and Juettler,
// Computing roots of polynomials by quadratic clipping, CAGD 24, 2007, bound a polynomial by one of
// lower degree likewise.)
#pragma once

#include "velm/curves/detail/intersection_parts.h"
#include "velm/curves/detail/sign_sweep.h"

#include <vector>

namespace velm::detail {

/// A zone where the other part may meet the graph, by the other part's [0, 1].
struct GraphZone {
    double low, high;
    double at; ///< the best place in it
    int before = 0,
        after = 0; ///< the side on which the other part is around it, +1 left, 0 unknown
    int order = 0; ///< of the contact, see CurveIntersection; -1: not known
};

class GraphIntersection {
public:
    /// Whether the part is nearly straight, so that this is worth while.
    static bool suits(const CurvePart& part);

    /// Sets up the polynomial. `fine` says whether the graph differs from the part by no more than
    /// roundings or a part of the tolerance.
    GraphIntersection(const CurvePart& graph, const CurvePart& other, const MeetingLimits& limits);

    bool fine() const { return fine_; }
    void zones(std::vector<GraphZone>& zones) const;
    /// Order and best place of a zone, from the derivatives of the polynomial between two places
    /// around it without another zone. Returns
    /// false if the order is but a guess from the growth of the distance, or -1.
    bool settle(GraphZone& zone, double least, double most) const;

    /// The parameters of the graph at which its abscissa lies among those of a part of the other
    /// curve, or as near as `together`; empty if nowhere.
    PartInterval below(const CurvePart& other_part) const;
    double parameter_below(PlaneVector p) const;
    /// Whether a part of the other curve has no abscissa beyond the graph's.
    bool is_beside(const CurvePart& other_part) const;
    /// Whether one of the parts ends at this place of the other one.
    bool ends_at(double v) const;

private:
    static constexpr int most_terms = 8;
    double abscissa(PlaneVector p) const { return dot(along_, p - middle_) * scale_; }
    void interpolate(double negligible);
    void compose(const CurvePart& part, double* sum, double* weights) const;
    double parameter_at(double x) const;
    PartInterval beside_graph() const;
    int order_by_growth(const GraphZone& zone, double least, double most) const;

    const CurvePart& graph_;
    const CurvePart& other_;
    PlaneVector middle_, along_;
    double scale_;  ///< one over half the chord
    double reach_;  ///< `together` in this frame
    int terms_ = 1; ///< the degree of p
    double p_[most_terms] = {};
    double c_[max_foot_count];
    int count_ = 0;
    double error_ = 0.0;
    bool fine_ = false;
};

} // namespace velm::detail
