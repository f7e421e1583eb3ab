#include "velm/surfaces/prepared_face.h"

#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/face_tables.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm {
namespace detail {
namespace {

// Whether a node of the curve's tree from `first` on, before `last`, has a piece whose box meets
// the given one.
bool comes_near(const PreparedCurve<2>& curve, const ERMinimax2D& box, int level, int first,
                int last) {
    constexpr int fan = 8; // pieces or nodes under a node
    for (int i = first; i < last; ++i) {
        if (curve.node_box(level, i) | box) continue;
        if (level == 0) return true;
        const int end = std::min(fan * (i + 1), curve.nodes(level - 1));
        if (comes_near(curve, box, level - 1, fan * i, end)) return true;
    }
    return false;
}

} // namespace

bool comes_near(const PreparedCurve<2>& curve, const ERMinimax2D& box) {
    const int top = curve.levels() - 1;
    return comes_near(curve, box, top, 0, curve.nodes(top));
}

} // namespace detail

using detail::FaceLoop;
using detail::FaceTables;

namespace {

// A place on an edge with its derivative by the part of the way.
struct EdgePoint {
    ERPoint2D parameter;
    ERVector2D along;
};

EdgePoint point_at(const FaceTables& face, const Contour& contour, int edge, double part) {
    const ERPoint2D &a = contour[edge], &b = contour[edge + 1];
    ERPoint2D at = a + (b - a) * part;
    ERVector2D along(a, b);
    if (const CurveEdge* const curve = contour.curve(edge)) {
        const ERLimites range = curve->prepared().domain();
        const ERInfoPoint2D found = curve->prepared().point_at(range(part));
        at = found.point();
        along = found.tangente() * range.amplitude();
    }
    if (part == 0.0) at = a;
    if (part == 1.0) at = b;
    return {face.unscaled(at), ERVector2D(along[0], along[1] / face.v_scale)};
}

double nearest_part(const Contour& contour, int edge, const ERPoint2D& p) {
    if (const CurveEdge* const curve = contour.curve(edge)) return curve->nearest(p).part;
    const ERVector2D along(contour[edge], contour[edge + 1]);
    const double length2 = along.norme2();
    return length2 > 0.0 ? std::clamp(ERVector2D(contour[edge], p) * along / length2, 0.0, 1.0)
                         : 0.0;
}

// The foot on an edge, from the nearest place in the parameters: Gauss and Newton's step for the
// distance on the surface, as long as it gets smaller.
TrimFoot polished(const FaceTables& face, const Contour& contour, int edge, double part,
                  const ERPoint3D& p) {
    constexpr int most_steps = 8;
    constexpr double worth = 0.999; // a smaller gain ends it
    TrimFoot best;
    best.edge = edge;
    best.distance = std::numeric_limits<double>::infinity();
    for (int step = 0; step < most_steps; ++step) {
        const EdgePoint on = point_at(face, contour, edge, part);
        const SurfaceJet jet = face.surface.jet(on.parameter.x(), on.parameter.y());
        const ERVector3D off(p, jet.point);
        const double distance = off.norme();
        const bool ends = !(distance < worth * best.distance);
        if (distance < best.distance) {
            best.part = part;
            best.parameter = on.parameter;
            best.point = jet.point;
            best.distance = distance;
        }
        if (ends) break;
        const ERVector3D along = jet.du * on.along[0] + jet.dv * on.along[1];
        const double slope = along.norme2();
        if (!(slope > 0.0)) break;
        part = std::clamp(part - off * along / slope, 0.0, 1.0);
    }
    return best;
}

// How far a parameter may be moved while its point moves by `distance`: the sizes of a box of
// parameters, ordinates scaled, twice as large as the tangents at the point say.
ERVector2D reach_of(const FaceTables& face, const SurfaceJet& jet, double distance) {
    constexpr double safety = 2.0;
    const double area = (jet.du ^ jet.dv).norme();
    // A tangent's part across the other is area / |other|.
    const double u = safety * distance * jet.dv.norme() / area;
    const double v = safety * distance * jet.du.norme() / area * face.v_scale;
    const auto finite = [](double x) {
        return std::isfinite(x) ? x : std::numeric_limits<double>::max();
    };
    return {finite(u), finite(v)};
}

// A question about one parameter.
class Question {
public:
    Question(const FaceTables& tables, const ERPoint2D& parameter)
        : face(tables), at(tables.scaled(parameter)),
          jet(tables.surface.jet(parameter.x(), parameter.y())) {}

    FacePlace place_by(const FaceLoop& loop) const {
        const double distance = std::max(face.tolerance, loop.longest_bridge);
        const ERVector2D reach = reach_of(face, jet, distance);
        const ERMinimax2D near(at.x() - reach[0], at.x() + reach[0], at.y() - reach[1],
                               at.y() + reach[1]);
        const FacePlace without = loop.hole ? FacePlace::inside : FacePlace::outside;
        if (loop.box | near) return without;
        bool on_edge = false;
        loop.tree.visit(near, [&](int edge) { on_edge = on_edge || lies_on(loop, edge, near); });
        if (on_edge) return FacePlace::on_edge;
        if (!loop.box.contains(at) || !loop.tree.encloses(at)) return without;
        return loop.hole ? FacePlace::outside : FacePlace::inside;
    }

private:
    bool lies_on(const FaceLoop& loop, int edge, const ERMinimax2D& near) const {
        const double distance =
            std::max(face.tolerance, loop.bridges[static_cast<std::size_t>(edge)]);
        const Contour& contour = loop.tree.contour();
        if (const CurveEdge* const curve = contour.curve(edge)) {
            if (!detail::comes_near(curve->prepared(), near)) return false;
        }
        const double part = nearest_part(contour, edge, at);
        return polished(face, contour, edge, part, jet.point).distance <= distance;
    }

    const FaceTables& face;
    ERPoint2D at; // ordinate scaled
    SurfaceJet jet;
};

bool is_finite(const ERPoint2D& p) { return std::isfinite(p.x()) && std::isfinite(p.y()); }

} // namespace

PreparedFace::PreparedFace(std::shared_ptr<const FaceTables> tables) : tables_(std::move(tables)) {}

const PreparedSurface& PreparedFace::surface() const { return tables_->surface; }

int PreparedFace::loops() const { return static_cast<int>(tables_->loops.size()); }

static const FaceLoop& loop_of(const FaceTables& tables, int i) {
    return tables.loops[static_cast<std::size_t>(i)];
}

bool PreparedFace::is_hole(int loop) const { return loop_of(*tables_, loop).hole; }

bool PreparedFace::is_limits(int loop) const { return loop_of(*tables_, loop).limits; }

int PreparedFace::edges(int loop) const { return loop_of(*tables_, loop).tree.contour().size(); }

TrimEdge PreparedFace::edge(int loop, int i) const {
    const FaceLoop& in = loop_of(*tables_, loop);
    const Contour& contour = in.tree.contour();
    TrimEdge result;
    result.start = tables_->unscaled(contour[i]);
    result.end = tables_->unscaled(contour[i + 1]);
    result.bridge = in.bridges[static_cast<std::size_t>(i)] >= 0.0;
    if (const CurveEdge* const curve = contour.curve(i)) result.curve = &curve->prepared();
    return result;
}

double PreparedFace::v_scale() const { return tables_->v_scale; }

ERPoint2D PreparedFace::parameter(int loop, int edge, double part) const {
    return point_at(*tables_, loop_of(*tables_, loop).tree.contour(), edge, part).parameter;
}

double PreparedFace::tolerance() const { return tables_->tolerance; }

std::span<const TrimGap> PreparedFace::gaps() const { return tables_->gaps; }

double PreparedFace::largest_gap() const {
    return tables_->gaps.empty() ? 0.0 : tables_->gaps.front().length;
}

double PreparedFace::overlap() const { return tables_->overlap; }

FacePlace PreparedFace::place(const ERPoint2D& parameter) const {
    if (!is_finite(parameter)) return FacePlace::outside;
    const Question question(*tables_, parameter);
    FacePlace place = FacePlace::inside;
    for (const FaceLoop& loop : tables_->loops) {
        const FacePlace found = question.place_by(loop);
        if (found == FacePlace::outside) return found;
        if (found == FacePlace::on_edge) place = found;
    }
    return place;
}

TrimFoot PreparedFace::nearest_trim(const ERPoint2D& parameter) const {
    NearestEdge nearest{std::numeric_limits<double>::infinity(), {}};
    const ERPoint2D at = tables_->scaled(parameter);
    for (int i = 0; i < loops(); ++i)
        loop_of(*tables_, i).tree.find_nearest(at, i, nearest);
    const Contour& contour = loop_of(*tables_, nearest.contour).tree.contour();
    TrimFoot foot = polished(*tables_, contour, nearest.edge, nearest.parameter,
                             surface()(parameter.x(), parameter.y()));
    foot.loop = nearest.contour;
    return foot;
}

} // namespace velm
