#include "inspect/input/outline_checks.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "inspect/base/number_text.h"
#include "velm/planar/outline_nesting.h"

namespace velm::inspect {
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

bool has_vertices(const Contour& contour) {
    return contour.size() >= (contour.is_polygon() ? 3 : 1);
}
bool is_in_range(const Contour& contour) { return std::isfinite(contour.magnitude()); }
bool encloses_nothing(const Contour& contour) {
    if (contour.has_curves()) return leads_back_along_curves(contour);
    return contour.has_arcs() ? leads_back(contour) : is_flat(contour);
}

} // namespace

void require_area(const TextSource& source, std::size_t line, const Contour& contour) {
    const std::string subject = "the contour that starts here ";
    if (!has_vertices(contour)) {
        const int count = std::max(contour.size(), 1);
        source.refuse_at(line, subject + "has " + std::to_string(count) +
                                   (count == 1 ? " different vertex" : " different vertices") +
                                   "; expected at least three");
    }
    if (!is_in_range(contour))
        source.refuse_at(line, subject + "reaches beyond what a double can hold");
    if (encloses_nothing(contour))
        source.refuse_at(line, contour.has_curves()
                                   ? subject + "encloses no area; expected an outline round one"
                               : contour.has_arcs()
                                   ? subject + "leads back along its own arc; expected an outline "
                                               "round an area"
                                   : "the vertices of " + subject.substr(0, subject.size() - 1) +
                                         " lie on one line; expected an outline round an area");
}

bool has_area(const Contour& contour) {
    return has_vertices(contour) && is_in_range(contour) && !encloses_nothing(contour);
}

bool is_arc_of_circle(const ERArc2D& arc) {
    constexpr double most = 2.0 * std::numbers::pi * (1.0 + 1e-12);
    const double start = arc.startAngle(), sweep = arc.endAngle() - start;
    return std::isfinite(start) && sweep != 0.0 && std::fabs(sweep) <= most &&
           std::isfinite(arc.center().x()) && std::isfinite(arc.center().y()) && arc.radius() > 0.0;
}

void require_areas(const TextSource& source, std::vector<LocatedContour> contours,
                   Outline& outline) {
    for (LocatedContour& located : contours)
        outline.contours.push_back(std::move(located.contour));
    const std::optional<ContourClash> clash = settle_areas(outline);
    if (!clash) return;
    const auto line = [&](int contour) { return contours[static_cast<std::size_t>(contour)].line; };
    const std::string other = "that of line " + std::to_string(line(clash->other));
    source.refuse_at(line(clash->contour),
                     clash->crossing
                         ? "the contour that starts here crosses " + other + " about " +
                               shortest(clash->crossing->x()) + " " + shortest(clash->crossing->y())
                         : "the contour that starts here runs along " + other + " all the way");
}

} // namespace velm::inspect
