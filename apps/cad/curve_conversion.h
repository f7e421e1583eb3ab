// convert_curve: a curve of a file as a spline of the library; fit_curve, where there is no exact
// one.
#pragma once

#include "velm/curves/nurbs_curve.h"

#include <Geom_Curve.hxx>

#include <array>
#include <cmath>
#include <functional>
#include <optional>
#include <vector>

namespace velm::cad {

/// Where the parameter of an ellipse or hyperbola (or a circle) is on its exact rational form: even
/// pieces, each a quadratic one with the weights 1, cos h, 1 (or cosh h) for half of its width, h.
/// On a piece with the middle m the tangent of (t - m) / 2 is proportional to the spline's
/// parameter from the middle.
struct ConicParameter {
    double first = 0.0, last = 1.0;
    int pieces = 1;
    bool is_hyperbola = false;

    double half_width() const { return 0.5 * (last - first) / pieces; }
    double operator()(double t) const;
    double derivative(double t) const;

private:
    double middle_for(double t) const;
};

struct ConvertedCurve {
    ERCpoleNURBS3D spline;
    /// None where the spline has the file's own parameter.
    std::optional<ConicParameter> parameter;
};

/// The part over [first, last]: lines, conics, Bezier curves and B-splines exactly, all others
/// within 1e-10 of their size. Throws Standard_Failure where that takes too many pieces.
ConvertedCurve convert_curve(const Handle(Geom_Curve) & curve, double first, double last);

/// A curve as pieces of degree 3 with common tangents: the poles, and the knots of a spline.
template <std::size_t D>
struct FittedCurve {
    std::vector<std::array<double, D>> poles;
    std::vector<double> knots;
};

/// Values and derivatives of a curve.
template <std::size_t D>
using CurvePoint = std::array<std::array<double, D>, 2>;

/// Through the curve's points and along its tangents, in pieces that are halved until the curve is
/// within the tolerance in each coordinate, at three places of each piece. Nothing if that takes
/// more than 10,000.
template <std::size_t D>
std::optional<FittedCurve<D>> fit_curve(const std::function<CurvePoint<D>(double)>& at,
                                        double first, double last,
                                        const std::array<double, D>& tolerance) {
    constexpr std::size_t most_pieces = 10000;
    struct Place {
        double t;
        CurvePoint<D> point;
    };
    const auto place = [&](double t) { return Place{t, at(t)}; };
    const auto is_near = [&](const Place& a, const Place& b) {
        const double h = b.t - a.t;
        for (const double r : {0.25, 0.5, 0.75}) {
            const CurvePoint<D> there = at(a.t + r * h);
            const double s = 1.0 - r, b0 = s * s * s, b1 = 3 * s * s * r, b2 = 3 * s * r * r,
                         b3 = r * r * r;
            for (std::size_t i = 0; i < D; ++i) {
                const double p0 = a.point[0][i], p3 = b.point[0][i];
                const double found = (b0 + b1) * p0 + b1 * h / 3 * a.point[1][i] + (b2 + b3) * p3 -
                                     b2 * h / 3 * b.point[1][i];
                if (!(std::fabs(found - there[0][i]) <= tolerance[i])) return false;
            }
        }
        return true;
    };
    std::vector<Place> done{place(first)}, ahead{place(last)};
    while (!ahead.empty()) {
        if (done.size() + ahead.size() > most_pieces) return {};
        if (is_near(done.back(), ahead.back())) {
            done.push_back(ahead.back());
            ahead.pop_back();
        } else {
            ahead.push_back(place(0.5 * (done.back().t + ahead.back().t)));
        }
    }
    // Double knots: the poles beside each joint, not the joint.
    FittedCurve<D> fitted;
    const auto add = [&](const Place& at_knot, double step) {
        std::array<double, D> pole = at_knot.point[0];
        for (std::size_t i = 0; i < D; ++i)
            pole[i] += step / 3 * at_knot.point[1][i];
        fitted.poles.push_back(pole);
    };
    fitted.poles.push_back(done.front().point[0]);
    fitted.knots.assign(4, first);
    for (std::size_t n = 0; n + 1 < done.size(); ++n) {
        const double h = done[n + 1].t - done[n].t;
        add(done[n], h);
        add(done[n + 1], -h);
        if (n + 2 < done.size()) fitted.knots.insert(fitted.knots.end(), 2, done[n + 1].t);
    }
    fitted.poles.push_back(done.back().point[0]);
    fitted.knots.insert(fitted.knots.end(), 4, last);
    return fitted;
}

} // namespace velm::cad
