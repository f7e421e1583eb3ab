// tqkNurbSurf, tqkKnotVec, tqkUV: the evaluation of a NURBS surface, as a host's kernel library
// gives it. Defined in surfaces/nurbs_kernel.cpp; a host that has the real kernel swaps this
// header.
//
//     tqkNurbSurf surface;
//     surface.become(nu, nv, degree_u + 1, degree_v + 1);
//     surface.knots_u().become(nu + degree_u + 1, knots_u);
//     surface.knots_u().update();                            // the same in v
//     surface.set_h_points(poles);
//     double point[3];
//     surface.evaluate({u, v, tqk_above, tqk_above}, 0, point);
//
// Evaluation changes nothing: any number of threads may share a surface that is complete.
#pragma once

#include "velm/export.h"

#include <cstddef>
#include <vector>

/// Which of two spans a knot between them counts to.
enum tqkSide {
    tqk_below, ///< the one that ends there
    tqk_above  ///< the one that starts there
};

/// A pair of parameters with their sides.
struct VELM_API tqkUV {
    double u = 0.0;
    double v = 0.0;
    tqkSide side_u = tqk_above;
    tqkSide side_v = tqk_above;
};

/// The knots of one direction.
class VELM_API tqkKnotVec {
public:
    /// Takes copies of `count` knots in order; update() has to follow.
    void become(int count, const double* knots);
    /// Prepares the differences that evaluation divides by. Returns whether the knots have a span.
    bool update();

    int degree() const { return degree_; }
    int count() const { return static_cast<int>(knots_.size()); }
    const double* data() const { return knots_.data(); }
    /// The index s of the knot at the start of the span of t, one that isn't empty; the first or
    /// the last one of the domain for a t outside.
    int span(double t, tqkSide side) const;
    /// A row for each j from 1 to the degree, of what reciprocal gives; null above
    /// highest_tabulated.
    const double* table() const { return reciprocals_.empty() ? nullptr : reciprocals_.data(); }
    /// 1 / (knot i + j - knot i), for j from 1 to the degree, where they differ.
    double reciprocal(int j, int i) const {
        const auto from = static_cast<std::size_t>(i);
        if (degree_ > highest_tabulated)
            return 1.0 / (knots_[from + std::size_t(j)] - knots_[from]);
        return reciprocals_[static_cast<std::size_t>(j - 1) * knots_.size() + from];
    }

private:
    friend class tqkNurbSurf;

    /// Up to this degree a table pays; its size grows with the degree.
    static constexpr int highest_tabulated = 24;

    int degree_ = 0;
    std::vector<double> knots_;
    std::vector<double> reciprocals_; ///< a row for each j
    bool usable_ = false;
};

/// A NURBS surface for evaluation.
class VELM_API tqkNurbSurf {
public:
    /// The numbers of poles and the orders, degree + 1, along u and v.
    void become(int poles_u, int poles_v, int order_u, int order_v);
    tqkKnotVec& knots_u() { return knots_u_; }
    tqkKnotVec& knots_v() { return knots_v_; }
    /// Takes copies of the poles, rows along u one after the other along v: weighted coordinates
    /// and weight, four doubles each.
    void set_h_points(const double* poles);
    /// Whether sizes and knots agree, so that there is something to evaluate.
    bool is_complete() const;

    /// The point, with order 1 and 2 its derivatives too: P, Pu, Pv, Puu, Puv, Pvv, three doubles
    /// each, 3, 9 or 18 in all. Up to degree 9 and weights from 1e-3 to 1e3 each is within 8
    /// roundings of the sizes of the terms that it is the sum of. NaN unless is_complete().
    void evaluate(const tqkUV& at, int order, double* out) const;

private:
    int poles_u_ = 0;
    int poles_v_ = 0;
    tqkKnotVec knots_u_;
    tqkKnotVec knots_v_;
    std::vector<double> poles_;
};
