#include "cad/face_conversion.h"

#include "cad/surface_conversion.h"
#include "cad/trim_conversion.h"

#include "velm/curves/composite_curve.h"
#include "velm/frame/point_functions.h"
#include "velm/surfaces/bounded_surface.h"
#include "velm/surfaces/nurbs_surface.h"
#include "velm/wireframe/segment.h"

#include <BRepTools.hxx>
#include <BRepTools_WireExplorer.hxx>
#include <BRep_Tool.hxx>
#include <Geom2dAdaptor_Curve.hxx>
#include <Precision.hxx>
#include <Standard_Failure.hxx>
#include <TColStd_Array1OfReal.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Edge.hxx>
#include <TopoDS_Iterator.hxx>
#include <TopoDS_Wire.hxx>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

namespace velm::cad {

namespace {

// A face that can't be taken, with the reason.
struct Refusal {
    std::string why;
};

std::string length_text(double length) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", length);
    return text;
}

struct Loop {
    ERCompCurve2D curve;
    bool is_outer = false;
};

class FaceConverter {
public:
    explicit FaceConverter(const CadFace& from)
        : face(TopoDS::Face(from.shape.Oriented(TopAbs_FORWARD))),
          is_reversed(from.shape.Orientation() == TopAbs_REVERSED),
          surface(BRep_Tool::Surface(face)) {}

    ConvertedFace convert() {
        if (surface.IsNull()) throw Refusal{"it has no surface"};
        find_range();
        converted = convert_surface(surface, range);
        if (!converted.surface) throw Refusal{converted.why};
        std::vector<Loop> loops = find_loops();
        set_limits(loops);
        check_surface();
        ConvertedFace result;
        result.gap = gap;
        result.surface = new ERTrimmedSurface(converted.surface.get());
        for (Loop& loop : loops) {
            if (is_reversed) loop.curve.reverse();
            result.surface->addBound(loop.curve, loop.is_outer ? ERSurfaceBoundary::outer
                                                               : ERSurfaceBoundary::inner);
        }
        return result;
    }

private:
    ERPoint3D on_surface(const ERPoint2D& at) const { return (*converted.surface)(at.x(), at.y()); }

    void find_range() {
        if (TopExp_Explorer(face, TopAbs_EDGE).More()) {
            BRepTools::UVBounds(face, range.u_first, range.u_last, range.v_first, range.v_last);
        } else {
            surface->Bounds(range.u_first, range.u_last, range.v_first, range.v_last);
        }
        for (const double bound : {range.u_first, range.u_last, range.v_first, range.v_last})
            if (Precision::IsInfinite(bound)) throw Refusal{"it has no bounds"};
        if (!(range.u_first < range.u_last && range.v_first < range.v_last))
            throw Refusal{"its boundary encloses nothing in the parameters of its surface"};
    }

    std::vector<Loop> find_loops() {
        std::vector<Loop> loops;
        const TopoDS_Wire outer = BRepTools::OuterWire(face);
        for (TopoDS_Iterator part(face); part.More(); part.Next()) {
            if (part.Value().ShapeType() != TopAbs_WIRE) continue;
            const TopoDS_Wire wire = TopoDS::Wire(part.Value());
            loops.push_back({loop_of(wire), static_cast<bool>(wire.IsSame(outer))});
        }
        if (loops.empty()) loops.push_back({rectangle(), true});
        if (std::none_of(loops.begin(), loops.end(), [](const Loop& l) { return l.is_outer; }))
            loops.front().is_outer = true;
        return loops;
    }

    ERCompCurve2D rectangle() const {
        const ERPoint2D corners[] = {
            converted.map(range.u_first, range.v_first), converted.map(range.u_last, range.v_first),
            converted.map(range.u_last, range.v_last), converted.map(range.u_first, range.v_last)};
        ERCompCurve2D curve;
        for (int i = 0; i < 4; ++i)
            curve.append(ERSegment2D(corners[i], corners[(i + 1) % 4]), -1.0);
        return curve;
    }

    // The parameter curves of a wire's edges, end to start.
    ERCompCurve2D loop_of(const TopoDS_Wire& wire) {
        ERCompCurve2D curve;
        int edges = 0, followed = 0;
        for (TopoDS_Iterator part(wire); part.More(); part.Next())
            ++edges;
        for (BRepTools_WireExplorer at(wire, face); at.More(); at.Next(), ++followed) {
            const TopoDS_Edge edge = at.Current();
            double first = 0.0, last = 0.0;
            const Handle(Geom2d_Curve) trim = BRep_Tool::CurveOnSurface(edge, face, first, last);
            if (trim.IsNull()) throw Refusal{"an edge has no curve in its parameters"};
            compare_with_edge(edge, trim, first, last);
            const t_SmartPtr<ERFiniteEntity2DWF> part =
                convert_trim(trim, first, last, converted.map);
            if (edge.Orientation() == TopAbs_REVERSED) part->reverse();
            if (curve.nbElements() > 0) note_gap(curve.lastPt(), part->firstPt());
            curve.append(*part, -1.0);
        }
        if (followed != edges || edges == 0)
            throw Refusal{"the edges of a boundary don't follow one another"};
        note_gap(curve.lastPt(), curve.firstPt());
        return curve;
    }

    // How far the edge's parameter curve is from its curve in space.
    void compare_with_edge(const TopoDS_Edge& edge, const Handle(Geom2d_Curve) & trim, double first,
                           double last) {
        if (BRep_Tool::Degenerated(edge)) return;
        double start = 0.0, end = 0.0;
        const Handle(Geom_Curve) in_space = BRep_Tool::Curve(edge, start, end);
        if (in_space.IsNull()) return;
        constexpr int places = 16; // of each span between knots
        const Geom2dAdaptor_Curve spans(trim, first, last);
        TColStd_Array1OfReal ends(1, spans.NbIntervals(GeomAbs_CN) + 1);
        spans.Intervals(ends, GeomAbs_CN);
        const auto apart = [&](double t) {
            const double r = (t - first) / (last - first);
            const gp_Pnt2d at = trim->Value(t);
            const gp_Pnt p = in_space->Value((1.0 - r) * start + r * end);
            return distance(on_surface(converted.map(at.X(), at.Y())),
                            ERPoint3D(p.X(), p.Y(), p.Z()));
        };
        for (int span = 1; span < ends.Length(); ++span) {
            const double step = (ends(span + 1) - ends(span)) / places;
            double worst = 0.0, low = ends(span), high = low;
            for (int i = 0; i <= places; ++i) {
                const double t = ends(span) + step * i, here = apart(t);
                if (here < worst) continue;
                worst = here;
                low = std::max(t - step, ends(span));
                high = std::min(t + step, ends(span + 1));
            }
            // Beside the worst place there may be one that is worse by less than as much again.
            for (int n = 0; n < 12 && 2.0 * worst > gap; ++n) {
                const double a = low + (high - low) / 3.0, b = high - (high - low) / 3.0;
                const double at_a = apart(a), at_b = apart(b);
                worst = std::max({worst, at_a, at_b});
                (at_a < at_b ? low : high) = at_a < at_b ? a : b;
            }
            gap = std::max(gap, worst);
        }
    }

    // A step in the parameters is no gap where it is none in space, as along a seam; but then the
    // boundary isn't closed in the parameters.
    void note_gap(const ERPoint2D& end, const ERPoint2D& start) {
        gap = std::max(gap, distance(on_surface(end), on_surface(start)));
        const double u = range.u_last - range.u_first, v = range.v_last - range.v_first;
        const double widest = std::max(std::max(u, v), 1e-300);
        if (std::max(std::fabs(end.x() - start.x()), std::fabs(end.y() - start.y())) >
            0.01 * widest *
                std::max({1.0, std::fabs(converted.map.scale_u), std::fabs(converted.map.scale_v)}))
            throw Refusal{"its boundary isn't closed in the parameters of its surface"};
    }

    // The limits of an analytic surface hold its boundaries; those of the others are their own.
    void set_limits(const std::vector<Loop>& loops) {
        auto* const analytic = ERBoundedSurface::castdown(converted.surface.get());
        if (!analytic || ERSpoleRep::castdown(converted.surface.get())) return;
        // What is beyond a whole turn is rounding.
        const auto widen = [](ERLimites& limits, double low, double high) {
            constexpr double whole_turn = 2.0 * std::numbers::pi;
            const ERLimites wide(std::min(limits.start(), low), std::max(limits.end(), high));
            const double excess = wide.amplitude() - whole_turn;
            if (!(excess > 0.0 && excess < 1e-6)) limits = wide;
        };
        ERLimites u = analytic->getBoundU(), v = analytic->getBoundV();
        for (const Loop& loop : loops) {
            const ERMinimax2D box = ERCompCurve2D(loop.curve).getBox();
            widen(u, box.xmin, box.xmax);
            widen(v, box.ymin, box.ymax);
        }
        analytic->setBound(u, v);
        analytic->adjust();
    }

    void check_surface() const {
        double worst = 0.0, size = 0.0; // of the coordinates
        for (const double r : {0.0, 0.31, 0.5, 0.83, 1.0})
            for (const double s : {0.0, 0.27, 0.5, 0.71, 1.0}) {
                const double u = (1.0 - r) * range.u_first + r * range.u_last;
                const double v = (1.0 - s) * range.v_first + s * range.v_last;
                const gp_Pnt p = surface->Value(u, v);
                size = std::max({size, std::fabs(p.X()), std::fabs(p.Y()), std::fabs(p.Z())});
                worst = std::max(worst, distance(on_surface(converted.map(u, v)),
                                                 ERPoint3D(p.X(), p.Y(), p.Z())));
            }
        if (!(worst <= 1e-9 * (1.0 + size)))
            throw Refusal{"its surface comes out " + length_text(worst) + " mm away"};
    }

    TopoDS_Face face; // forward
    bool is_reversed;
    Handle(Geom_Surface) surface;
    ParameterRange range;
    ConvertedSurface converted;
    double gap = 0.0;
};

} // namespace

ConvertedFace convert_face(const CadFace& face) {
    try {
        return FaceConverter(face).convert();
    } catch (const Refusal& refusal) {
        return {{}, refusal.why, 0.0};
    } catch (const Standard_Failure& failure) {
        const char* const what = failure.GetMessageString();
        return {{},
                std::string("the reader gives up: ") +
                    (what && *what ? what : failure.DynamicType()->Name()),
                0.0};
    }
}

} // namespace velm::cad
