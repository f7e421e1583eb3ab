// velm::prepare_face.
#include "velm/curves/composite_curve.h"
#include "velm/curves/conics.h"
#include "velm/curves/curve_bounds.h"
#include "velm/curves/nurbs_curve.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/face_tables.h"
#include "velm/surfaces/detail/trim_seams.h"
#include "velm/surfaces/trimmed_surface.h"
#include "velm/wireframe/arc.h"
#include "velm/wireframe/elliptical_arc.h"
#include "velm/wireframe/polyline.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm {

using detail::FaceLoop;
using detail::FaceTables;
using detail::TrimPiece;

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// The greatest speeds along u and v, and by how much longer v is than u on average, at places of an
// even grid.
struct Speeds {
    double u = 0.0, v = 0.0;
    double v_scale = 1.0; // a power of two
};

Speeds speeds_of(const PreparedSurface& surface) {
    constexpr int places = 9;
    Speeds speeds;
    double sum_u = 0.0, sum_v = 0.0;
    for (int i = 0; i < places * places; ++i) {
        const double s = (i % places + 0.5) / places, t = (i / places + 0.5) / places;
        const SurfaceJet jet = surface.jet(surface.domain_u()(s), surface.domain_v()(t));
        speeds.u = std::max(speeds.u, jet.du.norme());
        speeds.v = std::max(speeds.v, jet.dv.norme());
        sum_u += jet.du.norme();
        sum_v += jet.dv.norme();
    }
    constexpr double most = 60.0; // binary digits
    const double digits = std::round(std::log2(sum_v / sum_u));
    if (std::fabs(digits) <= most) speeds.v_scale = std::exp2(digits);
    return speeds;
}

double magnitude(const ERLimites& limits) {
    return std::max(std::fabs(limits.start()), std::fabs(limits.end()));
}

// What roundings of coordinates and of parameters may move a point of the surface by.
double rounding_of(const PreparedSurface& surface, const Speeds& speeds) {
    constexpr double roundings = 32.0;
    const ERMinimax3D box = surface.box();
    double reach = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        reach = std::max({reach, std::fabs(box.lower(axis)), std::fabs(box.upper(axis))});
    return roundings * epsilon *
           (reach + magnitude(surface.domain_u()) * speeds.u +
            magnitude(surface.domain_v()) * speeds.v);
}

// Makes one loop of the curves of a boundary.
class LoopBuilder {
public:
    LoopBuilder(const FaceTables& face, double rounding) : face_(face), rounding_(rounding) {}

    // False if the curve can't be prepared.
    bool add(ERFiniteEntity2DWF& curve) {
        if (curve.isKindOf(ERCompCurve2D::desc())) return add_parts<ERCompCurve2D>(curve);
        if (curve.isKindOf(ERCrvCompPoly2D::desc())) return add_parts<ERCrvCompPoly2D>(curve);
        if (curve.isKindOf(ERPolyline2D::desc()) || curve.isKindOf(ERSegment2D::desc()))
            return add_vertices(curve.approxime(curve.getBound(), 0.0));
        if (curve.isKindOf(ERArc2D::desc())) return add_curve(to_nurbs(ERArc2D::castdown(curve)));
        if (curve.isKindOf(ERArcEllipse2D::desc()))
            return add_curve(to_nurbs(ERArcEllipse2D::castdown(curve)));
        return add_curve(curve.ConvertToNurbs());
    }
    const std::vector<TrimPiece>& pieces() const { return pieces_; }
    void set_pieces(std::vector<TrimPiece> pieces) { pieces_ = std::move(pieces); }

    // The loop with the number `index`; nothing without edges, and where a curve can't be prepared.
    std::optional<FaceLoop> close(bool hole, int index, std::vector<TrimGap>& gaps) {
        for (const TrimPiece& piece : pieces_) {
            if (!piece.curve) {
                join(piece.start);
                append_line(piece.end, not_bridge);
            } else if (!append_curve(*piece.curve)) {
                return std::nullopt;
            }
        }
        if (contour_.size() == 0) return std::nullopt;
        join(contour_[0]);
        FaceLoop loop{EdgeTree(contour_), least_box(), hole, false, bridges_, 0.0};
        for (int i = 0; i < contour_.size(); ++i) {
            const double length = bridges_[static_cast<std::size_t>(i)];
            if (!(length > 0.0)) continue;
            loop.longest_bridge = std::max(loop.longest_bridge, length);
            gaps.push_back(
                {index, i, length, face_.unscaled(contour_[i]), face_.unscaled(contour_[i + 1])});
        }
        return loop;
    }

private:
    ERMinimax2D least_box() const {
        ERMinimax2D box(contour_.vertices());
        for (const std::shared_ptr<const CurveEdge>& curve : contour_.curves())
            box.Update(tight_box(curve->prepared()));
        return box;
    }

    template <class Composite>
    bool add_parts(ERFiniteEntity2DWF& curve) {
        const Composite& parts = Composite::castdown(curve);
        if (!parts.isTrimmed()) {
            for (int i = 0; i < parts.nbElements(); ++i)
                if (!add(const_cast<typename Composite::Element&>(parts.element(i)))) return false;
            return true;
        }
        // The halves of a trimmed composite are composites of what the trim leaves.
        t_SmartPtr<ERFiniteEntity2DWF> first, second;
        return parts.splitAt(first, second, 0.5 * (parts.udeb() + parts.ufin())) && add(*first) &&
               add(*second);
    }

    bool add_vertices(const ERVec<ERPoint2D>& vertices) {
        ERPoint2D before;
        for (int i = 0; i < vertices.size(); ++i) {
            const ERPoint2D vertex = face_.scaled(vertices[i]);
            if (!std::isfinite(vertex.x()) || !std::isfinite(vertex.y())) return false;
            if (i > 0 && !(vertex == before)) pieces_.push_back(TrimPiece::line(before, vertex));
            before = vertex;
        }
        return vertices.size() > 1;
    }

    bool add_curve(ERCpoleNURBS2D curve) {
        curve.adjust();
        ERVec<ERPole2DH> poles = curve.getPoles();
        for (ERPole2DH& pole : poles.writable())
            pole.y_ *= face_.v_scale;
        const std::vector<ERCpoleNURBS2D> parts =
            CurveEdge::smooth_parts(ERCpoleNURBS2D(poles, curve.getKnots(), curve.getBound()));
        for (const ERCpoleNURBS2D& part : parts)
            pieces_.push_back(TrimPiece::of(part));
        return !parts.empty();
    }

    bool append_curve(const ERCpoleNURBS2D& curve) {
        const std::vector<ERCpoleNURBS2D> parts = CurveEdge::smooth_parts(curve);
        for (const ERCpoleNURBS2D& part : parts) {
            const std::shared_ptr<const CurveEdge> edge = CurveEdge::make(part);
            if (!edge) return false;
            join(edge->start());
            contour_.append(end_, edge);
            bridges_.push_back(not_bridge);
            end_ = edge->end();
        }
        return !parts.empty();
    }

    // Goes on at `start`, by a bridge where the last edge doesn't end there. By value: it may be a
    // vertex of the contour, which grows.
    void join(ERPoint2D start) {
        if (bridges_.empty()) {
            end_ = start;
            return;
        }
        if (start == end_) return;
        const double length = length_of_bridge(start);
        // Ends that differ by roundings are one vertex.
        constexpr double same_part = 64.0 * epsilon;
        const bool same = length <= rounding_ &&
                          distance(start, end_) <= same_part * (contour_.magnitude() + 1.0);
        if (!same) append_line(start, length <= rounding_ ? 0.0 : length);
        end_ = start;
    }

    void append_line(const ERPoint2D& to, double bridge) {
        contour_.append(end_);
        bridges_.push_back(bridge);
        end_ = to;
    }

    double length_of_bridge(const ERPoint2D& to) const {
        constexpr int steps = 16;
        const ERPoint2D a = face_.unscaled(end_), b = face_.unscaled(to);
        double length = 0.0;
        ERPoint3D before = face_.surface(a.x(), a.y());
        for (int i = 1; i <= steps; ++i) {
            const ERPoint2D at = a + (b - a) * (double(i) / steps);
            const ERPoint3D next = face_.surface(at.x(), at.y());
            length += distance(before, next);
            before = next;
        }
        return length;
    }

    static constexpr double not_bridge = -1.0;

    const FaceTables& face_;
    double rounding_;
    std::vector<TrimPiece> pieces_;
    Contour contour_;
    std::vector<double> bridges_; // by edge
    ERPoint2D end_;               // of the last edge
};

class FaceBuilder {
public:
    FaceBuilder(const PreparedSurface& surface, double tolerance)
        : face_(std::make_shared<FaceTables>(surface)), speeds_(speeds_of(surface)),
          rounding_(rounding_of(surface, speeds_)), seams_(face_->surface, 1.0) {
        face_->v_scale = speeds_.v_scale;
        face_->tolerance = std::max(tolerance, rounding_);
        seams_ = detail::SurfaceSeams(face_->surface, speeds_.v_scale);
        const ERLimites u = surface.domain_u(), v = surface.domain_v();
        limits_ =
            ERMinimax2D(face_->scaled({u.start(), v.start()}), face_->scaled({u.end(), v.end()}));
    }

    bool add(const ERTrimmedSurface& trimmed) {
        bool first_is_outer = trimmed.isFirstOuter();
        std::vector<detail::TrimRing> rings;
        std::vector<std::pair<LoopBuilder, bool>> ring_builders; // and whether it is a hole
        for (const t_SmartPtr<ERSurfaceBoundary>& boundary : trimmed.getBoundList()) {
            LoopBuilder loop(*face_, rounding_);
            if (!boundary->getBound2D() || !loop.add(*boundary->getBound2D())) return false;
            if (const auto ring = detail::ring_of(loop.pieces(), seams_)) {
                rings.push_back(*ring);
                ring_builders.emplace_back(std::move(loop), !first_is_outer);
            } else if (const auto parts =
                           detail::loops_across_seams(loop.pieces(), !first_is_outer, seams_)) {
                if (!append(*parts)) return false;
            } else if (!append(loop, !first_is_outer)) {
                return false;
            }
            first_is_outer = false;
        }
        const std::vector<detail::SeamLoop> closed =
            detail::loops_of_rings(std::move(rings), seams_);
        if (!closed.empty()) return append(closed);
        return std::ranges::all_of(ring_builders, [&](std::pair<LoopBuilder, bool>& ring) {
            return append(ring.first, ring.second);
        });
    }

    PreparedFace finished() {
        if (!is_within_limits()) add_limits();
        std::stable_sort(face_->gaps.begin(), face_->gaps.end(),
                         [](const TrimGap& a, const TrimGap& b) { return a.length > b.length; });
        return FaceTables::face(std::move(face_));
    }

private:
    bool append(const std::vector<detail::SeamLoop>& loops) {
        return std::ranges::all_of(loops, [&](const detail::SeamLoop& part) {
            LoopBuilder loop(*face_, rounding_);
            loop.set_pieces(part.pieces);
            return append(loop, part.hole);
        });
    }
    bool append(LoopBuilder& builder, bool hole) {
        std::optional<FaceLoop> loop =
            builder.close(hole, static_cast<int>(face_->loops.size()), face_->gaps);
        if (!loop) return false;
        face_->loops.push_back(*std::move(loop));
        return true;
    }

    // Whether some outer loop keeps to the limits; sets how far it is beyond them.
    bool is_within_limits() {
        constexpr double part = 1e-4; // of the limits
        for (const FaceLoop& loop : face_->loops) {
            if (loop.hole) continue;
            const double in_u =
                std::max({limits_.xmin - loop.box.xmin, loop.box.xmax - limits_.xmax, 0.0});
            const double in_v =
                std::max({limits_.ymin - loop.box.ymin, loop.box.ymax - limits_.ymax, 0.0});
            if (in_u > part * (limits_.xmax - limits_.xmin)) continue;
            if (in_v > part * (limits_.ymax - limits_.ymin)) continue;
            const double length = std::max(in_u * speeds_.u, in_v / face_->v_scale * speeds_.v);
            face_->overlap = length > rounding_ ? length : 0.0;
            return true;
        }
        return false;
    }

    void add_limits() {
        ERVec<ERPoint2D> corners{{limits_.xmin, limits_.ymin},
                                 {limits_.xmax, limits_.ymin},
                                 {limits_.xmax, limits_.ymax},
                                 {limits_.xmin, limits_.ymax},
                                 {limits_.xmin, limits_.ymin}};
        for (ERPoint2D& corner : corners.writable())
            corner = face_->unscaled(corner);
        LoopBuilder loop(*face_, rounding_);
        ERPolyline2D rectangle(corners);
        loop.add(rectangle);
        append(loop, false);
        face_->loops.back().limits = true;
    }

    std::shared_ptr<FaceTables> face_;
    Speeds speeds_;
    double rounding_;
    detail::SurfaceSeams seams_;
    ERMinimax2D limits_; // scaled
};

} // namespace

std::optional<PreparedFace> prepare_face(const ERAnyBoundedSurface& face, double tolerance) {
    // The trims, and the surface below them.
    std::vector<const ERTrimmedSurface*> trims;
    t_SmartPtr<ERAnyBoundedSurface> held; // the surface that `base` is
    const ERAnyBoundedSurface* base = &face;
    while (base != nullptr && base->isKindOf(ERTrimmedSurface::desc())) {
        trims.push_back(ERTrimmedSurface::castdown(base));
        held = base->base_surface();
        base = held.get();
    }
    if (base == nullptr) return std::nullopt;
    const std::optional<PreparedSurface> surface = prepare(*base);
    if (!surface) return std::nullopt;
    FaceBuilder builder(*surface, tolerance);
    for (const ERTrimmedSurface* const trim : trims)
        if (!builder.add(*trim)) return std::nullopt;
    return builder.finished();
}

} // namespace velm
