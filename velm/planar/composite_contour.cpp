#include "velm/planar/composite_contour.h"

#include "velm/frame/point_functions.h"
#include "velm/planar/contour_curve.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/polyline.h"
#include "velm/wireframe/segment.h"

#include <utility>

namespace velm {
namespace {

class ContourBuilder {
public:
    explicit ContourBuilder(double tolerance) : tolerance_(tolerance) {}

    // False for a gap, or a curve that can't be prepared.
    bool add(const ERCompCurve2D& curve) {
        for (int i = 0; i < curve.nbElements(); ++i)
            if (!add_element(curve.element(i))) return false;
        return true;
    }
    std::optional<Contour> finish() {
        if (contour_.size() == 0 || !(distance(end_, contour_[0]) <= tolerance_))
            return std::nullopt;
        return std::move(contour_);
    }

private:
    bool add_element(const ERFiniteEntity2DWF& element) {
        const ERObject* const object = &element;
        if (const auto* const composite = ERCompCurve2D::castdown(object)) return add(*composite);
        if (const auto* const polyline = ERPolyline2D::castdown(object)) return add(*polyline);
        if (const auto* const segment = ERSegment2D::castdown(object))
            return add_segment(segment->getP1(), segment->getP2());
        if (const auto* const arc = ERArc2D::castdown(object)) {
            ERArc2D copy(*arc);
            return copy.startAngle() == copy.endAngle() ||
                   add_edge(copy.firstPt(), copy.lastPt(), copy);
        }
        const t_SmartPtr<ERFiniteEntity2DWF> copy(ERFiniteEntity2DWF::castdown(element.getCopy()));
        return copy && add_curve(copy->ConvertToNurbs());
    }
    bool add(const ERPolyline2D& polyline) {
        const auto vertices = polyline.getPoints().view();
        const std::size_t count = vertices.size();
        for (int i = 0; i < polyline.edges(); ++i) { // a polygon's last one leads to the first
            const auto edge = static_cast<std::size_t>(i);
            if (!add_segment(vertices[edge], vertices[(edge + 1) % count])) return false;
        }
        return true;
    }
    bool add_segment(const ERPoint2D& from, const ERPoint2D& to) {
        return from == to || add_edge(from, to);
    }
    bool add_curve(const ERCpoleNURBS2D& curve) {
        const std::vector<ERCpoleNURBS2D> parts = CurveEdge::smooth_parts(curve);
        for (const ERCpoleNURBS2D& part : parts) {
            const std::shared_ptr<const CurveEdge> edge = CurveEdge::make(part);
            if (!edge || !add_edge(edge->start(), edge->end(), edge)) return false;
        }
        return !parts.empty();
    }
    template <class... Kind>
    bool add_edge(const ERPoint2D& from, const ERPoint2D& to, const Kind&... kind) {
        if (contour_.size() > 0 && !(distance(end_, from) <= tolerance_)) return false;
        contour_.append(from, kind...);
        end_ = to;
        return true;
    }

    double tolerance_;
    Contour contour_;
    ERPoint2D end_; // of the last edge
};

} // namespace

std::optional<Contour> contour_of(const ERCompCurve2D& curve, double tolerance) {
    ContourBuilder builder(tolerance);
    if (!builder.add(curve)) return std::nullopt;
    return builder.finish();
}

std::optional<ERRegion2D> region(std::span<const ERCompCurve2D> curves, double chord_error,
                                 double tolerance) {
    ERRegion2D result(static_cast<int>(curves.size()), 1);
    for (const ERCompCurve2D& curve : curves) {
        const std::optional<Contour> contour = contour_of(curve, tolerance);
        if (!contour) return std::nullopt;
        const Polygon polygon = polygon_within(*contour, chord_error);
        if (polygon.empty()) return std::nullopt;
        result.Add(polygon);
    }
    return result;
}

} // namespace velm
