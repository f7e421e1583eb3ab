#include "velm/planar/curve_edge.h"

#include "velm/curves/detail/bernstein_rows.h"
#include "velm/curves/prepare.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace velm {
namespace {

// Differences of poles give the tangents of a smooth joint to about 1e-13; corners that a drawing
// means turn by far more.
constexpr double kink_sine = 1e-9;

ERVector2D tangent(const PreparedCurve<2>& curve, int piece, double u) {
    const ERLimites range = curve.piece(piece).parameters;
    return curve.point_at(CurvePlace{u == 0.0 ? range.start() : range.end(), piece, u}).tangente();
}

// Whether the tangent turns between a piece and the next one.
bool has_kink(const PreparedCurve<2>& curve, int piece) {
    const ERVector2D coming = tangent(curve, piece, 1.0), going = tangent(curve, piece + 1, 0.0);
    const double lengths = coming.norme() * going.norme();
    return coming * going <= 0.0 || std::fabs(cross(coming, going)) > kink_sine * lengths;
}

// Nodes and weights of Gauss's rule of 8 points on [-1, 1], the positive half (Abramowitz and
// Stegun, table 25.4). A piece turns by less than a right angle and its weights differ by less than
// a factor of 8, so that two halves of it are integrated to about 1e-10.
constexpr std::array<std::pair<double, double>, 4> gauss = {
    {{0.1834346424956498, 0.3626837833783620},
     {0.5255324099163290, 0.3137066458778873},
     {0.7966664774136267, 0.2223810344533745},
     {0.9602898564975363, 0.1012285362903763}}};

template <class Visit>
void for_nodes(double from, double to, Visit visit) {
    const double middle = 0.5 * (from + to), half = 0.5 * (to - from);
    for (const auto& [node, weight] : gauss) {
        visit(middle - half * node, half * weight);
        visit(middle + half * node, half * weight);
    }
}

} // namespace

// Cuts a curve into stretches whose ordinate rises or falls.
class CurveEdge::Cutter {
public:
    explicit Cutter(const PreparedCurve<2>& curve) {
        for (int i = 0; i < curve.pieces(); ++i) {
            const CurvePiece<2> piece = curve.piece(i);
            origin_ = piece.origin;
            cut({piece.poles.begin(), piece.poles.end()}, piece.parameters.start(),
                piece.parameters.end(), 0);
        }
    }
    std::vector<Stretch> stretches;

private:
    using Poles = std::vector<double>; // x w, y w, w of each, about the origin

    void cut(const Poles& poles, double from, double to, int depth) {
        constexpr int deepest = 53;     // halving a parameter interval more often leaves its ends
        constexpr double level = 4e-16; // ordinates that differ by less than this part are equal
        const int count = static_cast<int>(poles.size() / 3);
        ERMinimax2D box;
        bool rises = true, falls = true;
        double before = poles[1] / poles[2];
        for (std::size_t i = 0; i < poles.size(); i += 3) {
            const double x = poles[i] / poles[i + 2], y = poles[i + 1] / poles[i + 2];
            rises = rises && y >= before;
            falls = falls && y <= before;
            before = y;
            box.Update(ERPoint2D(x, y));
        }
        const double magnitude = std::fabs(origin_.y()) + std::fabs(box.ymin) + std::fabs(box.ymax);
        const bool is_level = box.ymax - box.ymin <= level * magnitude;
        if (rises || falls || is_level || depth == deepest) {
            add({from,
                 to,
                 {},
                 {},
                 origin_.x() + box.xmin,
                 origin_.x() + box.xmax,
                 rises || (!falls && before >= poles[1] / poles[2])});
            return;
        }
        Poles first(poles.size()), second(poles.size());
        detail::split_row(detail::ConstPoleRow(poles.data(), count, 3), 0.5,
                          detail::PoleRow(first.data(), count, 3),
                          detail::PoleRow(second.data(), count, 3));
        const double middle = 0.5 * (from + to);
        cut(first, from, middle, depth + 1);
        cut(second, middle, to, depth + 1);
    }

    void add(const Stretch& next) {
        if (stretches.empty() || stretches.back().rising != next.rising)
            return stretches.push_back(next);
        Stretch& last = stretches.back();
        last.to = next.to;
        last.xmin = std::min(last.xmin, next.xmin);
        last.xmax = std::max(last.xmax, next.xmax);
    }

    ERPoint2D origin_;
};

std::shared_ptr<const CurveEdge> CurveEdge::make(const ERCpoleNURBS2D& curve) {
    ERCpoleNURBS2D whole(curve);
    whole.adjust();
    std::optional<PreparedCurve<2>> prepared = prepare(whole);
    if (!prepared) return nullptr;
    const std::shared_ptr<CurveEdge> edge(new CurveEdge(whole, *std::move(prepared)));
    edge->measure();
    return edge;
}

std::vector<ERCpoleNURBS2D> CurveEdge::smooth_parts(const ERCpoleNURBS2D& curve) {
    ERCpoleNURBS2D rest(curve);
    rest.adjust();
    const std::optional<PreparedCurve<2>> prepared = prepare(rest);
    std::vector<ERCpoleNURBS2D> parts;
    if (!prepared) return parts;
    for (int i = 0; i + 1 < prepared->pieces(); ++i) {
        if (!has_kink(*prepared, i)) continue;
        ERCpoleNURBS2D first, second;
        if (!rest.splitAt(first, second, prepared->piece(i).parameters.end())) continue;
        parts.push_back(first);
        rest = second;
    }
    parts.push_back(rest);
    return parts;
}

CurveEdge::CurveEdge(const ERCpoleNURBS2D& nurbs, PreparedCurve<2> prepared)
    : nurbs_(nurbs), prepared_(std::move(prepared)) {}

void CurveEdge::measure() {
    const ERPoint2D start = this->start();
    for (int i = 0; i < prepared_.pieces(); ++i) {
        const ERLimites range = prepared_.piece(i).parameters;
        const double middle = 0.5 * (range.start() + range.end());
        const auto add = [&](double t, double weight) {
            const ERInfoPoint2D at = prepared_.point_at(t);
            length_ += weight * at.tangente().norme();
            twice_area_ += weight * cross(ERVector2D(start, at.point()), at.tangente());
        };
        for_nodes(range.start(), middle, add);
        for_nodes(middle, range.end(), add);
    }
    stretches_ = Cutter(prepared_).stretches;
    for (Stretch& stretch : stretches_) {
        stretch.first = prepared_(stretch.from);
        stretch.last = prepared_(stretch.to);
    }
}

std::shared_ptr<const CurveEdge> CurveEdge::reversed() const {
    ERCpoleNURBS2D curve(nurbs_);
    curve.reverse();
    return make(curve);
}

std::shared_ptr<const CurveEdge> CurveEdge::scaled(double factor) const {
    ERCpoleNURBS2D curve(nurbs_);
    curve.scale(factor);
    return make(curve);
}

double CurveEdge::parameter(double part) const {
    const ERLimites range = prepared_.domain();
    return range(part);
}

ERPoint2D CurveEdge::point(double part) const { return prepared_(parameter(part)); }

ERVector2D CurveEdge::direction(double part) const {
    const ERVector2D along = prepared_.point_at(parameter(part)).tangente();
    if (along.norme() > 0.0) return along;
    constexpr double beside = 1e-6; // the chord that long keeps ten digits of the points
    return part < 0.5 ? ERVector2D(point(part), point(part + beside))
                      : ERVector2D(point(part - beside), point(part));
}

double CurveEdge::curvature(double part) const {
    const ERInfoPoint2D at = prepared_.point_at(parameter(part));
    const double speed = at.tangente().norme();
    return speed > 0.0 ? cross(at.tangente(), at.second_derivative()) / (speed * speed * speed)
                       : 0.0;
}

CurveEdge::Foot CurveEdge::nearest(const ERPoint2D& p) const {
    const NearestPoint<2> found = prepared_.nearest(p);
    const ERLimites range = prepared_.domain();
    return {found.point, std::clamp(range.ratio(found.t), 0.0, 1.0)};
}

// By halving the stretch, first at the joints of its pieces, until its x range lies to one side of
// p.
bool CurveEdge::lies_right(const Stretch& stretch, const ERPoint2D& p) const {
    if (p.x() < stretch.xmin) return true;
    if (p.x() > stretch.xmax) return false;
    double from = stretch.from, to = stretch.to;
    const auto is_reached = [&](const ERPoint2D& at) { return (at.y() > p.y()) == stretch.rising; };
    int piece = prepared_.place(from).piece, last = prepared_.place(to).piece;
    while (piece < last) {
        const int middle = piece + (last - piece) / 2;
        const double joint = prepared_.piece(middle).parameters.end();
        if (is_reached(prepared_(joint))) {
            to = std::min(to, joint);
            last = middle;
        } else {
            from = joint;
            piece = middle + 1;
        }
    }
    const ERMinimax2D box = prepared_.node_box(0, piece);
    if (p.x() < box.xmin) return true;
    if (p.x() > box.xmax) return false;
    for (ERPoint2D at = prepared_(from);;) {
        const double middle = 0.5 * (from + to);
        if (!(from < middle && middle < to)) return at.x() > p.x();
        at = prepared_(middle);
        (is_reached(at) ? to : from) = middle;
    }
}

bool CurveEdge::crosses_ray(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) const {
    bool odd = false;
    for (std::size_t i = 0; i < stretches_.size(); ++i) {
        const Stretch& stretch = stretches_[i];
        const double from = i == 0 ? a.y() : stretch.first.y();
        const double to = i + 1 == stretches_.size() ? b.y() : stretch.last.y();
        if ((from > p.y()) != (to > p.y())) odd ^= lies_right(stretch, p);
    }
    return odd;
}

} // namespace velm
