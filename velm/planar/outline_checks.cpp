#include "velm/planar/outline_checks.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm {
namespace {

// Whether all vertices lie on the line through the first and the one farthest from it, exactly; the
// scaling by a power of two keeps the products from leaving the range.
bool is_flat(const Contour& contour) {
    const auto vertices = contour.vertices().view();
    const ERPoint2D& a = vertices[0];
    const auto reach = [&](const ERPoint2D& v) { return std::hypot(v.x() - a.x(), v.y() - a.y()); };
    const auto farthest = std::max_element(
        vertices.begin(), vertices.end(),
        [&](const ERPoint2D& v, const ERPoint2D& w) { return reach(v) < reach(w); });
    if (reach(*farthest) == 0.0) return true;
    const int power = std::clamp(-std::ilogb(reach(*farthest)), -1000, 1000);
    const auto offset = [&](const ERPoint2D& v) {
        return ERVector2D(std::ldexp(v.x() - a.x(), power), std::ldexp(v.y() - a.y(), power));
    };
    const ERVector2D along = offset(*farthest);
    return std::all_of(vertices.begin(), vertices.end(), [&](const ERPoint2D& v) {
        const ERVector2D to = offset(v);
        return along.i() * to.j() == along.j() * to.i();
    });
}

// Out along an arc and back along the same one.
bool leads_back(const Contour& contour) {
    if (contour.size() != 2 || contour.arcs().size() != 2) return false;
    const ERArc2D &out = contour.arcs()[0], &back = contour.arcs()[1];
    return out.center() == back.center() &&
           out.endAngle() - out.startAngle() == back.startAngle() - back.endAngle();
}

// What curves enclose is known to about 1e-9 of the square of their size.
bool leads_back_along_curves(const Contour& contour) {
    constexpr double least_part = 1e-8;
    const ERMinimax2D box = contour.box();
    const double size = std::max(box.xlength(), box.ylength());
    return !(std::fabs(contour.signed_area()) > least_part * size * size);
}

} // namespace

AreaFault area_fault(const Contour& contour) {
    if (contour.size() < (contour.is_polygon() ? 3 : 1)) return AreaFault::too_few_vertices;
    if (!std::isfinite(contour.magnitude())) return AreaFault::beyond_double;
    if (contour.has_curves())
        return leads_back_along_curves(contour) ? AreaFault::leads_back_along_curves
                                                : AreaFault::none;
    if (contour.has_arcs()) return leads_back(contour) ? AreaFault::leads_back : AreaFault::none;
    return is_flat(contour) ? AreaFault::on_one_line : AreaFault::none;
}

bool is_arc_of_circle(const ERArc2D& arc) {
    // Angles that were added up may pass a whole turn by some roundings.
    constexpr double most = 2.0 * std::numbers::pi * (1.0 + 1e-12);
    const double start = arc.startAngle(), sweep = arc.endAngle() - start;
    return std::isfinite(start) && sweep != 0.0 && std::fabs(sweep) <= most &&
           std::isfinite(arc.center().x()) && std::isfinite(arc.center().y()) && arc.radius() > 0.0;
}

NurbsFault nurbs_fault(int degree, std::span<const double> knots, std::span<const double> weights) {
    if (degree < 1 || degree > highest_spline_degree) return NurbsFault::degree;
    const auto order = static_cast<std::size_t>(degree) + 1;
    const std::size_t poles = weights.size();
    if (poles < order || knots.size() != poles + order) return NurbsFault::counts;
    if (!std::is_sorted(knots.begin(), knots.end())) return NurbsFault::descending_knots;
    if (!(knots[order - 1] < knots[poles])) return NurbsFault::no_interval;
    const bool are_positive =
        std::all_of(weights.begin(), weights.end(), [](double weight) { return weight > 0.0; });
    return are_positive ? NurbsFault::none : NurbsFault::weight;
}

ERCpoleNURBS2D between_domain_knots(const QuickAlgebra::ERVec<ERPole2DH>& poles, int degree,
                                    std::span<const double> knots) {
    ERCpoleNURBS2D curve(poles, ERKnotVector(degree, knots.data(), static_cast<int>(knots.size())));
    curve.setBound(ERLimites(knots[static_cast<std::size_t>(degree)],
                             knots[static_cast<std::size_t>(poles.size())]));
    curve.adjust();
    return curve;
}

} // namespace velm
