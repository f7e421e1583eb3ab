#include "velm/planar/ray_crossing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm {
namespace {

bool crosses_line(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    if (!parts(p.y(), a, b)) return false;
    if (p.x() < std::min(a.x(), b.x())) return true;
    if (p.x() > std::max(a.x(), b.x())) return false;
    const ERVector2D along(a, b), to_p(a, p);
    return (along.i() * to_p.j() > along.j() * to_p.i()) == (along.j() > 0.0);
}

// A piece of the right or the left half of a circle, whose ordinate rises or falls all along.
bool crosses_half(const ERPoint2D& a, const ERPoint2D& b, const ERCircle2D& circle, bool right_half,
                  const ERPoint2D& p) {
    if (!parts(p.y(), a, b)) return false;
    const double least = std::min(a.x(), b.x()), most = std::max(a.x(), b.x());
    if (p.x() < (right_half ? least : circle.center().x() - circle.radius())) return true;
    if (p.x() > (right_half ? circle.center().x() + circle.radius() : most)) return false;
    return (ERVector2D(circle.center(), p).norme() < circle.radius()) == right_half;
}

bool crosses_arc(const ERPoint2D& a, const ERPoint2D& b, const ERArc2D& arc, const ERPoint2D& p) {
    constexpr double half_turn = std::numbers::pi;
    const bool rising = arc.isDirect() != 0;
    const double low = rising ? arc.startAngle() : arc.endAngle();
    const double high = rising ? arc.endAngle() : arc.startAngle();
    // The tops and bottoms are the angles half_turn (n + 1/2), a top where n is even; the piece in
    // front of a top lies on the right half.
    bool odd = false;
    ERPoint2D from = rising ? a : b;
    for (double n = std::ceil(low / half_turn - 0.5);; ++n) {
        const bool is_top = std::fmod(n, 2.0) == 0.0;
        const bool is_last = !(half_turn * (n + 0.5) < high);
        const double height = is_top ? arc.radius() : -arc.radius();
        const ERPoint2D to =
            is_last ? (rising ? b : a) : ERPoint2D(arc.center().x(), arc.center().y() + height);
        odd ^= crosses_half(from, to, arc, is_top, p);
        if (is_last) return odd;
        from = to;
    }
}

} // namespace

bool crosses_ray(const Contour& contour, int edge, const ERPoint2D& p) {
    const ERPoint2D& a = contour[edge];
    const ERPoint2D& b = contour[edge + 1];
    if (const ERArc2D* const arc = contour.arc(edge)) return crosses_arc(a, b, *arc, p);
    if (const CurveEdge* const curve = contour.curve(edge)) return curve->crosses_ray(a, b, p);
    return crosses_line(a, b, p);
}

} // namespace velm
