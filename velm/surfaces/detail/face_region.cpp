#include "velm/surfaces/detail/face_region.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {
namespace {

// Whether a segment comes near to a box: neither is on one side of the other.
bool segment_meets(const ERPoint2D& a, const ERPoint2D& b, const ERMinimax2D& box) {
    const ERPoint2D middle(0.5 * (box.xmin + box.xmax), 0.5 * (box.ymin + box.ymax));
    const ERVector2D along(a, b);
    const double from_line = along.i() * (middle.y() - a.y()) - along.j() * (middle.x() - a.x());
    const double reach = 0.5 * (std::fabs(along.i()) * (box.ymax - box.ymin) +
                                std::fabs(along.j()) * (box.xmax - box.xmin));
    constexpr double roundings = 1e-12;
    const double size =
        along.norme() * (std::fabs(middle.x() - a.x()) + std::fabs(middle.y() - a.y()));
    return std::fabs(from_line) <= reach + roundings * size;
}

// The place of a box in one loop: inside means enclosed.
InTrim place_in(const FaceLoop& loop, const ERMinimax2D& box) {
    if (loop.box | box) return InTrim::outside;
    bool meets = false;
    const Contour& contour = loop.tree.contour();
    loop.tree.visit(box, [&](int edge) {
        if (meets) return;
        const CurveEdge* const curve = contour.curve(edge);
        meets = curve != nullptr ? comes_near(curve->prepared(), box)
                                 : segment_meets(contour[edge], contour[edge + 1], box);
    });
    if (meets) return InTrim::crossing;
    const ERPoint2D middle(0.5 * (box.xmin + box.xmax), 0.5 * (box.ymin + box.ymax));
    return loop.tree.encloses(middle) ? InTrim::inside : InTrim::outside;
}

} // namespace

bool FaceRegion::holds(double u, double v, int but) const {
    const ERPoint2D at = face_->scaled({u, v});
    for (const FaceLoop& loop : face_->loops) {
        if (but-- == 0) continue;
        const bool enclosed = loop.box.contains(at) && loop.tree.encloses(at);
        if (enclosed == loop.hole) return false;
    }
    return true;
}

InTrim FaceRegion::place(const double* u, const double* v, int but) const {
    // The edges of a piece of a rectangle are as far off as roundings of parameters.
    constexpr double roundings = 1e-14;
    const ERPoint2D low = face_->scaled({u[0], v[0]}), high = face_->scaled({u[1], v[1]});
    const double wide = roundings * (std::fabs(low.x()) + std::fabs(high.x())),
                 tall = roundings * (std::fabs(low.y()) + std::fabs(high.y()));
    const ERMinimax2D box(low.x() - wide, high.x() + wide, low.y() - tall, high.y() + tall);
    InTrim place = InTrim::inside;
    for (const FaceLoop& loop : face_->loops) {
        if (but-- == 0) continue;
        const InTrim found = place_in(loop, box);
        if (found == InTrim::crossing)
            place = found;
        else if ((found == InTrim::inside) == loop.hole)
            return InTrim::outside;
    }
    return place;
}

void FaceRegion::box(ERLimites& u, ERLimites& v) const {
    const PreparedSurface& surface = face_->surface;
    double low[2] = {surface.domain_u().start(), surface.domain_v().start()},
           high[2] = {surface.domain_u().end(), surface.domain_v().end()};
    const double limits[4] = {low[0], high[0], low[1], high[1]};
    for (const FaceLoop& loop : face_->loops) {
        if (loop.hole) continue;
        const ERPoint2D from = face_->unscaled({loop.box.xmin, loop.box.ymin}),
                        to = face_->unscaled({loop.box.xmax, loop.box.ymax});
        constexpr double wider = 1e-9;
        for (int k = 0; k < 2; ++k) {
            const double slack = wider * (to[k] - from[k]);
            low[k] = std::max(low[k], from[k] - slack);
            high[k] = std::min(high[k], to[k] + slack);
        }
    }
    // Loops beyond the limits, or apart: a strip that the trim's own pieces make up for.
    for (int k = 0; k < 2; ++k)
        if (!(low[k] < high[k])) low[k] = limits[2 * k], high[k] = limits[2 * k + 1];
    u = ERLimites(low[0], high[0]);
    v = ERLimites(low[1], high[1]);
}

} // namespace velm::detail
