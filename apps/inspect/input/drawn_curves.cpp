#include "inspect/input/drawn_curves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm::inspect {

bool DrawnArc::is_circular() const {
    // Blocks scale by factors of a few digits; rounding leaves far less than this, and distances to
    // an ellipse that is a circle to 1e-12 of its size are as exact as those to the circle.
    constexpr double roundness = 1e-12;
    const double uu = u * u, vv = v * v;
    return std::fabs(u * v) <= roundness * uu && std::fabs(uu - vv) <= 2.0 * roundness * uu;
}

// A turn from degrees or from a file's 16 digits ends within a few roundings of a whole one.
bool DrawnArc::is_closed() const { return to - from >= (2.0 * std::numbers::pi) * (1.0 - 4e-16); }

const char* fault_of(const DrawnSpline& spline) {
    const NurbsFault fault = spline.poles.size() == spline.weights.size()
                                 ? nurbs_fault(spline.degree, spline.knots, spline.weights)
                                 : NurbsFault::counts;
    switch (fault) {
    case NurbsFault::none:
        break;
    case NurbsFault::degree:
        return "expected a degree from 1 to 25";
    case NurbsFault::counts:
        return "expected degree + 1 poles at least, a weight for each, and poles + degree + 1 "
               "knots";
    case NurbsFault::descending_knots:
        return "the knots descend";
    case NurbsFault::no_interval:
        return "the knots span no interval";
    case NurbsFault::weight:
        return "a weight isn't positive";
    }
    return nullptr;
}

ERArc2D circular_arc(const DrawnArc& arc) {
    const bool left = arc.u.i() * arc.v.j() - arc.u.j() * arc.v.i() > 0.0;
    const double radius = arc.u.norme();
    const double first = std::atan2(arc.u.j(), arc.u.i());
    const double sense = left ? 1.0 : -1.0;
    return {arc.centre, radius, first + sense * arc.from, first + sense * arc.to};
}

// Pieces of at most a quarter turn, each the affine image of an arc of the unit circle: with the
// half angle h about its middle m, the poles are the ends and centre + (cos m u + sin m v) / cos h,
// whose weight is cos h (Piegl and Tiller, The NURBS Book, section 7.3).
ERCpoleNURBS2D elliptical_curve(const DrawnArc& arc) {
    const int count = std::max(
        1, static_cast<int>(std::ceil((arc.to - arc.from) / (0.5 * std::numbers::pi) - 1e-9)));
    const double step = (arc.to - arc.from) / count, half = 0.5 * step;
    const auto at = [&](double t, double reach) {
        return arc.centre + arc.u * (reach * std::cos(t)) + arc.v * (reach * std::sin(t));
    };
    const auto pole = [](const ERPoint2D& p, double w) {
        return ERPole2DH(p.x() * w, p.y() * w, w);
    };
    ERVec<ERPole2DH> poles;
    ERVec<double> knots;
    poles.push_back(pole(arc.start, 1.0));
    for (int i = 0; i < 3; ++i)
        knots.push_back(arc.from);
    for (int i = 0; i < count; ++i) {
        const double end = i + 1 == count ? arc.to : arc.from + (i + 1) * step;
        poles.push_back(pole(at(arc.from + i * step + half, 1.0 / std::cos(half)), std::cos(half)));
        poles.push_back(pole(i + 1 == count ? arc.end : at(end, 1.0), 1.0));
        for (int k = 0; k < (i + 1 == count ? 3 : 2); ++k)
            knots.push_back(end);
    }
    return ERCpoleNURBS2D(poles, ERKnotVector(2, knots));
}

ERCpoleNURBS2D spline_curve(const DrawnSpline& spline) {
    ERVec<ERPole2DH> poles;
    for (std::size_t i = 0; i < spline.poles.size(); ++i) {
        const double w = spline.weights[i];
        poles.push_back(ERPole2DH(spline.poles[i].x() * w, spline.poles[i].y() * w, w));
    }
    return between_domain_knots(poles, spline.degree, spline.knots);
}

} // namespace velm::inspect
