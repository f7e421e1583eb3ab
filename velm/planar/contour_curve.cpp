#include "velm/planar/contour_curve.h"

#include "velm/curves/curve_bounds.h"
#include "velm/curves/intersections.h"
#include "velm/curves/prepare.h"
#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace velm {
namespace {

// A contour's vertices and curves agree if they are nearer than this part of its size.
constexpr double joint_part = 0x1p-42;

// Collects the pieces of edges about one origin; a pole is x w, y w, w.
class PieceChain {
public:
    explicit PieceChain(const Contour& contour) : origin_(contour[0]) {
        const ERMinimax2D box = contour.box();
        joint_ = joint_part * std::hypot(box.xlength(), box.ylength());
        for (int i = 0; i < contour.size(); ++i) {
            if (const ERArc2D* const arc = contour.arc(i)) {
                if (const auto curve = prepare(*arc)) add(*curve, arc->isDirect() == 0);
            } else if (const CurveEdge* const edge = contour.curve(i)) {
                add(edge->prepared(), false);
            }
            lead_to(contour[i + 1] - origin_, contour.is_straight(i) ? 0.0 : joint_);
            end_edge(i);
        }
    }
    std::optional<PreparedCurve<2>> curve() const {
        std::vector<BezierPiece> pieces;
        const double* poles = poles_.data();
        for (const Piece& piece : pieces_) {
            pieces.push_back({{poles, piece.doubles}, piece.start, piece.end});
            poles += piece.doubles;
        }
        return PreparedCurve<2>::from_pieces(pieces, origin_);
    }

private:
    struct Piece {
        std::size_t doubles;
        double start, end;
    };

    void add(const PreparedCurve<2>& curve, bool reversed) {
        for (int i = 0; i < curve.pieces(); ++i) {
            const CurvePiece<2> piece = curve.piece(reversed ? curve.pieces() - 1 - i : i);
            const ERPoint2D shift = piece.origin - origin_;
            const auto pole = [&](int k) {
                return piece.poles.data() + 3 * (reversed ? piece.degree - k : k);
            };
            const auto place = [&](const double* p) {
                return ERPoint2D(p[0] / p[2], p[1] / p[2]) + shift;
            };
            lead_to(place(pole(0)), joint_);
            for (int k = 0; k <= piece.degree; ++k)
                add_pole(place(pole(k)), pole(k)[2]);
            end_piece(piece.degree, place(pole(piece.degree)));
        }
    }
    // Straight to a place that is farther away than `least`.
    void lead_to(const ERPoint2D& to, double least) {
        if (!(distance(end_, to) > least)) return;
        add_pole(end_, 1.0);
        add_pole(to, 1.0);
        end_piece(1, to);
    }
    void add_pole(const ERPoint2D& p, double w) {
        poles_.insert(poles_.end(), {p.x() * w, p.y() * w, w});
    }
    void end_piece(int degree, const ERPoint2D& at) {
        pieces_.push_back({3 * (static_cast<std::size_t>(degree) + 1), 0.0, 0.0});
        end_ = at;
    }
    // The pieces since the edge before share its interval.
    void end_edge(int edge) {
        const std::size_t count = pieces_.size() - settled_;
        for (std::size_t i = 0; i < count; ++i) {
            Piece& piece = pieces_[settled_ + i];
            piece.start = settled_ + i == 0 ? 0.0 : pieces_[settled_ + i - 1].end;
            piece.end = edge + static_cast<double>(i + 1) / static_cast<double>(count);
        }
        settled_ = pieces_.size();
    }

    ERPoint2D origin_;
    double joint_ = 0.0;
    ERPoint2D end_; // of the last piece, from the origin
    std::vector<double> poles_;
    std::vector<Piece> pieces_;
    std::size_t settled_ = 0; // pieces of earlier edges
};

// Areas and lengths of the loops of a closed curve, by points on it: enough to know how wide a loop
// is.
class Loops {
public:
    explicit Loops(const PreparedCurve<2>& curve) {
        constexpr int bent_piece = 8; // chords of one, which turns by less than a right angle
        for (int i = 0; i < curve.pieces(); ++i) {
            const CurvePiece<2> piece = curve.piece(i);
            const int chords = piece.degree == 1 ? 1 : bent_piece;
            for (int k = i == 0 ? 0 : 1; k <= chords; ++k)
                add(piece.parameters(double(k) / chords), curve);
        }
    }
    // Of the narrower one of the loops that meet at p, at the parameters s < t: twice the area
    // through the length.
    double width(const ERPoint2D& p, double s, double t) const {
        const auto after = [](double at, const Place& place) { return at < place.t; };
        const auto first = std::upper_bound(places_.begin(), places_.end(), s, after);
        auto last = std::upper_bound(places_.begin(), places_.end(), t, after);
        if (first == places_.end() || last <= first) return 0.0;
        --last;
        const double twice_area = last->twice_area - first->twice_area + doubled(p, first->point) +
                                  doubled(last->point, p);
        const double length =
            last->length - first->length + distance(p, first->point) + distance(last->point, p);
        const Place& whole = places_.back();
        return std::min(std::fabs(twice_area) / length,
                        std::fabs(whole.twice_area - twice_area) / (whole.length - length));
    }

private:
    struct Place {
        double t;
        ERPoint2D point;
        double twice_area, length; // from the start
    };
    double doubled(const ERPoint2D& a, const ERPoint2D& b) const {
        return cross(ERVector2D(places_.front().point, a), ERVector2D(places_.front().point, b));
    }
    void add(double t, const PreparedCurve<2>& curve) {
        Place place{t, curve(t), 0.0, 0.0};
        if (!places_.empty()) {
            const Place& before = places_.back();
            place.twice_area = before.twice_area + doubled(before.point, place.point);
            place.length = before.length + distance(before.point, place.point);
        }
        places_.push_back(place);
    }

    std::vector<Place> places_;
};

// The side of the line through a and b on which p certainly lies, else 0 (the bound of an
// orientation's error: Shewchuk, Adaptive precision floating-point arithmetic, 1997).
int certain_side(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p) {
    constexpr double error_part = 0x1p-51;
    const double left = (b.x() - a.x()) * (p.y() - a.y());
    const double right = (b.y() - a.y()) * (p.x() - a.x());
    const double error = error_part * (std::fabs(left) + std::fabs(right));
    return left - right > error ? 1 : right - left > error ? -1 : 0;
}

// Whether the edges may have a point in common.
bool may_meet(const Contour& contour, int edge, int other) {
    const ERPoint2D &a = contour[edge], &b = contour[edge + 1];
    const ERPoint2D &c = contour[other], &d = contour[other + 1];
    return certain_side(a, b, c) * certain_side(a, b, d) <= 0 &&
           certain_side(c, d, a) * certain_side(c, d, b) <= 0;
}

// False if no straight edges meet except in the vertices between neighbours.
bool may_cross_itself(const EdgeTree& tree) {
    const Contour& contour = tree.contour();
    if (!contour.is_polygon()) return true;
    const int last = contour.size() - 1;
    bool meets = false;
    for (int edge = 0; edge < last && !meets; ++edge)
        tree.visit(contour.box(edge), [&](int other) {
            const bool neighbours = other <= edge + 1 || (edge == 0 && other == last);
            meets = meets || (!neighbours && may_meet(contour, edge, other));
        });
    return meets;
}

} // namespace

std::optional<PreparedCurve<2>> prepare(const Contour& contour) {
    if (contour.size() == 0) return std::nullopt;
    return PieceChain(contour).curve();
}

Polygon polygon_within(const Contour& contour, double chord_error) {
    Polygon polygon;
    if (!(chord_error > 0.0)) return polygon;
    if (contour.is_polygon()) return contour.vertices();
    const std::optional<PreparedCurve<2>> curve = prepare(contour);
    if (!curve) return polygon;
    const std::vector<CurveVertex<2>> vertices = polyline(*curve, chord_error);
    for (std::size_t i = 0; i + 1 < vertices.size(); ++i) // the last one is the first again
        polygon.push_back(vertices[i].point);
    return polygon;
}

std::optional<ERPoint2D> self_crossing(const EdgeTree& contour, double width) {
    if (!may_cross_itself(contour)) return std::nullopt;
    const std::optional<PreparedCurve<2>> curve = prepare(contour.contour());
    if (!curve) return std::nullopt;
    std::vector<CurveIntersection> found;
    IntersectionOptions options;
    // As many parts as a hard pair takes, for each piece. What a search finds before it gives up is
    // compared in pairs: more would let a damaged curve take minutes.
    constexpr int parts_of_piece = 64, least_pieces = 64;
    options.budget = parts_of_piece * std::max(curve->pieces(), least_pieces);
    self_intersections(*curve, found, options);
    const auto first = std::find_if(found.begin(), found.end(), [](const CurveIntersection& i) {
        return i.before * i.after < 0;
    });
    if (first == found.end()) return std::nullopt;
    const Loops loops(*curve);
    for (auto i = first; i != found.end(); ++i)
        if (i->before * i->after < 0 && loops.width(i->point, i->a.t, i->b.t) > width)
            return i->point;
    return std::nullopt;
}

} // namespace velm
