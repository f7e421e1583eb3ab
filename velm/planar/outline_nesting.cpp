#include "velm/planar/outline_nesting.h"

#include "velm/curves/intersections.h"
#include "velm/curves/prepare.h"
#include "velm/planar/contour_curve.h"
#include "velm/planar/edge_tree.h"
#include "velm/wireframe/intersections.h"
#include "velm/wireframe/segment.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <numeric>
#include <utility>

namespace velm {
namespace {

double sweep(const ERArc2D& arc) { return arc.endAngle() - arc.startAngle(); }

ERPoint2D point_on(const Contour& contour, int edge, double part) {
    if (const ERArc2D* const arc = contour.arc(edge))
        return static_cast<const ERCircle2D&>(*arc)(arc->startAngle() + part * sweep(*arc));
    if (const CurveEdge* const curve = contour.curve(edge)) return curve->point(part);
    return contour[edge] + ERVector2D(contour[edge], contour[edge + 1]) * part;
}

// An edge as a prepared curve: that of a free-form edge, or one made here.
class PreparedEdge {
public:
    PreparedEdge(const Contour& contour, int edge) : arc_(contour.arc(edge)) {
        if (const CurveEdge* const curve = contour.curve(edge))
            own_ = &curve->prepared();
        else
            made_ = arc_ != nullptr ? prepare(*arc_)
                                    : prepare(ERSegment2D(contour[edge], contour[edge + 1]));
    }
    // Null for an edge without length.
    const PreparedCurve<2>* curve() const { return made_ ? &*made_ : own_; }
    // The part of the way along the edge at a parameter; an arc may run against its curve.
    double part(double t) const {
        if (arc_ != nullptr) return (t - arc_->startAngle()) / sweep(*arc_);
        return curve()->domain().ratio(t);
    }

private:
    const ERArc2D* arc_;
    std::optional<PreparedCurve<2>> made_;
    const PreparedCurve<2>* own_ = nullptr; // of a free-form edge
};

// A contour with its tree and its prepared edges, each made when it is first asked for.
class NestedContour {
public:
    explicit NestedContour(Contour contour) : tree_(std::move(contour)) {}

    const EdgeTree& tree() const { return tree_; }
    const Contour& contour() const { return tree_.contour(); }
    const PreparedEdge& prepared(int edge) {
        if (prepared_.empty()) prepared_.resize(static_cast<std::size_t>(contour().size()));
        std::unique_ptr<PreparedEdge>& made = prepared_[static_cast<std::size_t>(edge)];
        if (!made) made = std::make_unique<PreparedEdge>(contour(), edge);
        return *made;
    }

private:
    EdgeTree tree_;
    std::vector<std::unique_ptr<PreparedEdge>> prepared_; // empty until a curve is near
};

// Appends the ends of the stretches of an edge that are as near to another one as `reach`, where
// one of the two is a free-form curve.
void append_curve_cuts(const PreparedEdge& walked, const PreparedEdge& crossed, double reach,
                       std::vector<double>& cuts) {
    if (walked.curve() == nullptr || crossed.curve() == nullptr) return;
    IntersectionOptions options;
    options.tolerance = reach;
    for (const CurveIntersection& i : intersections(*walked.curve(), *crossed.curve(), options))
        for (const double t : {i.a_parameters.start(), i.a.t, i.a_parameters.end()})
            if (const double part = walked.part(t); part > 0.0 && part < 1.0) cuts.push_back(part);
}

// The part of the way along an edge at which a point of its line or circle lies.
double part_at(const Contour& contour, int edge, const ERPoint2D& p) {
    if (const ERArc2D* const arc = contour.arc(edge)) {
        constexpr double turn = 2.0 * std::numbers::pi;
        const double angle = std::atan2(p.y() - arc->center().y(), p.x() - arc->center().x());
        const double way = (angle - arc->startAngle()) * (arc->isDirect() ? 1.0 : -1.0);
        return (way - turn * std::floor(way / turn)) / std::fabs(sweep(*arc));
    }
    const ERVector2D along(contour[edge], contour[edge + 1]);
    return ERVector2D(contour[edge], p) * along / along.norme2();
}

// How far a point lies off an edge's line or circle.
double distance_off(const Contour& contour, int edge, const ERPoint2D& p) {
    if (const ERArc2D* const arc = contour.arc(edge))
        return std::fabs(ERVector2D(arc->center(), p).norme() - arc->radius());
    const ERVector2D along(contour[edge], contour[edge + 1]), to(contour[edge], p);
    return std::fabs(along.i() * to.j() - along.j() * to.i()) / along.norme();
}

// Appends the parts of the way along an edge at which it meets another one, or may.
void append_cuts(NestedContour& nested_a, int edge, NestedContour& nested_b, int other,
                 double touching, std::vector<double>& cuts) {
    const Contour &a = nested_a.contour(), &b = nested_b.contour();
    if (a.curve(edge) != nullptr || b.curve(other) != nullptr)
        return append_curve_cuts(nested_a.prepared(edge), nested_b.prepared(other), touching, cuts);
    const auto line = [](const Contour& contour, int i) {
        return ERInfLine2D(contour[i], contour[i + 1]);
    };
    const ERArc2D *const arc = a.arc(edge), *const other_arc = b.arc(other);
    ERPoint2D found[2];
    int count = 0;
    if (arc == nullptr && other_arc == nullptr)
        count = intersect(line(a, edge), line(b, other), found[0]);
    else if (arc != nullptr && other_arc != nullptr)
        count = 2 * intersect(*arc, *other_arc, found[0], found[1]);
    else if (arc != nullptr)
        count = 2 * intersect(*arc, line(b, other), found[0], found[1]);
    else
        count = 2 * intersect(*other_arc, line(a, edge), found[0], found[1]);
    const auto append = [&](const ERPoint2D& p) {
        if (const double part = part_at(a, edge, p); part > 0.0 && part < 1.0) cuts.push_back(part);
    };
    for (int i = 0; i < count; ++i)
        if (const double part = part_at(b, other, found[i]); part >= 0.0 && part <= 1.0)
            append(found[i]);
    for (const ERPoint2D& end : {b[other], b[other + 1]})
        if (distance_off(a, edge, end) <= 2.0 * touching) append(end);
}

// On which sides of another contour a contour goes.
struct Sides {
    bool inside = false, outside = false;
    std::optional<ERPoint2D> crossing;              // about where it changes sides first
    std::optional<std::array<ERPoint2D, 2>> shared; // the first stretch along an edge of the other
    bool both() const { return inside && outside; }
};

// Walks a contour's edges near another one, cut wherever they may meet: what lies between two cuts
// lies on one side.
class SideWalk {
public:
    SideWalk(NestedContour& walked, NestedContour& other, double touching)
        : walked_(walked), contour_(walked.contour()), other_(other), touching_(touching) {
        ERMinimax2D near = other.contour().box();
        near.Inflate(touching);
        walked.tree().visit(near, [this](int edge) { take(edge); });
        if (next_edge_ < contour_.size()) sides_.outside = true;
        if (sides_.both() && !sides_.crossing) sides_.crossing = contour_[0];
    }
    const Sides& sides() const { return sides_; }

private:
    void take(int edge) {
        if (edge != next_edge_) {
            sides_.outside = true;
            was_inside_ = false;
        }
        next_edge_ = edge + 1;
        if (sides_.crossing) return;
        note(contour_[edge], contour_[edge]);
        std::vector<double> cuts{0.0, 1.0};
        ERMinimax2D near = contour_.box(edge);
        near.Inflate(touching_);
        other_.tree().visit(
            near, [&](int other) { append_cuts(walked_, edge, other_, other, touching_, cuts); });
        std::sort(cuts.begin(), cuts.end());
        for (std::size_t i = 1; i < cuts.size(); ++i)
            note_stretch(edge, cuts[i - 1], cuts[i]);
    }

    // What lies between two cuts: beside the other contour, or along one of its edges.
    void note_stretch(int edge, double from, double to) {
        const ERPoint2D start = point_on(contour_, edge, from);
        const int along = note(point_on(contour_, edge, (from + to) / 2.0), start);
        const ERPoint2D end = point_on(contour_, edge, to);
        constexpr double longer = 10.0; // than what touches at a point
        if (along >= 0 && !sides_.shared && is_same_curve(edge, along) &&
            ERVector2D(start, end).norme() > longer * touching_)
            sides_.shared = {start, end};
    }
    bool is_same_curve(int edge, int along) const {
        const Contour& other = other_.contour();
        if (contour_.is_straight(edge)) return other.is_straight(along);
        const ERArc2D *const a = contour_.arc(edge), *const b = other.arc(along);
        constexpr double rounding = 1e3; // of few digits in a file
        return a != nullptr && b != nullptr &&
               std::fabs(a->radius() - b->radius()) <= rounding * touching_ &&
               ERVector2D(a->center(), b->center()).norme() <= rounding * touching_;
    }

    // A point of the way, and where its stretch began. Returns the edge that it touches, or -1.
    int note(const ERPoint2D& p, const ERPoint2D& from) {
        NearestEdge touched{touching_ * touching_, {}};
        other_.tree().find_nearest(p, 0, touched);
        if (touched.edge >= 0) return touched.edge;
        const bool is_inside = other_.tree().encloses(p);
        (is_inside ? sides_.inside : sides_.outside) = true;
        if (was_inside_ && *was_inside_ != is_inside && !sides_.crossing) sides_.crossing = from;
        was_inside_ = is_inside;
        return -1;
    }

    NestedContour& walked_;
    const Contour& contour_;
    NestedContour& other_;
    double touching_;
    Sides sides_;
    int next_edge_ = 0;
    std::optional<bool> was_inside_; // the last point that touches nothing
};

// The contours of an outline, of a size that suits every computation.
class Nesting {
public:
    explicit Nesting(const Outline& outline) {
        double largest = 0.0;
        for (const Contour& contour : outline.contours)
            largest = std::max(largest, contour.magnitude());
        scale_ = std::ldexp(1.0, std::clamp(-std::ilogb(largest), -1000, 1000));
        ERMinimax2D all;
        for (const Contour& contour : outline.contours) {
            contours_.emplace_back(contour.scaled(scale_));
            boxes_.push_back(contours_.back().contour().box());
            all.Update(boxes_.back());
        }
        constexpr double rounding = 1e-14; // some forty roundings of coordinates below 2
        touching_ = std::max(touching_part * std::hypot(all.xlength(), all.ylength()), rounding);
        holders_.resize(contours_.size());
    }

    std::optional<ContourClash> find_clash() {
        for (std::size_t i = 0; i < contours_.size(); ++i)
            if (const auto place = self_crossing(contours_[i].tree(), touching_)) {
                const int contour = static_cast<int>(i);
                return ContourClash{contour, contour, *place / scale_, std::nullopt};
            }
        if (auto clash = find_clash_of_two()) return clash;
        for (const SharedEdge& shared : shared_)
            if (!is_hole(shared.first) && !is_hole(shared.second))
                return ContourClash{static_cast<int>(shared.second),
                                    static_cast<int>(shared.first),
                                    std::nullopt,
                                    {{shared.ends[0] / scale_, shared.ends[1] / scale_}}};
        return std::nullopt;
    }

    std::vector<OutlineArea> areas() const {
        std::vector<OutlineArea> areas;
        std::vector<std::size_t> area_of(contours_.size());
        for (std::size_t c = 0; c < contours_.size(); ++c) {
            if (is_hole(c)) continue;
            area_of[c] = areas.size();
            areas.push_back({static_cast<int>(c), {}});
        }
        for (std::size_t c = 0; c < contours_.size(); ++c) {
            if (!is_hole(c)) continue;
            const std::size_t parent = *std::max_element(
                holders_[c].begin(), holders_[c].end(), [this](std::size_t a, std::size_t b) {
                    return holders_[a].size() < holders_[b].size();
                });
            areas[area_of[parent]].holes.push_back(static_cast<int>(c));
        }
        return areas;
    }

private:
    // Asks all pairs whose boxes meet, from the left to the right.
    std::optional<ContourClash> find_clash_of_two() {
        std::vector<std::size_t> order(contours_.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::sort(order.begin(), order.end(),
                  [this](std::size_t a, std::size_t b) { return boxes_[a].xmin < boxes_[b].xmin; });
        for (std::size_t i = 0; i < order.size(); ++i) {
            const ERMinimax2D& box = boxes_[order[i]];
            for (std::size_t k = i + 1; k < order.size(); ++k) {
                if (boxes_[order[k]].xmin > box.xmax) break;
                const auto [first, second] = std::minmax(order[i], order[k]);
                if (!(box | boxes_[order[k]]))
                    if (auto clash = compare(first, second)) return clash;
            }
        }
        return std::nullopt;
    }

    bool is_hole(std::size_t c) const { return holders_[c].size() % 2 == 1; }

    std::optional<ContourClash> compare(std::size_t a, std::size_t b) {
        const Sides of_a = SideWalk(contours_[a], contours_[b], touching_).sides();
        const Sides of_b = SideWalk(contours_[b], contours_[a], touching_).sides();
        const int first = static_cast<int>(a), second = static_cast<int>(b);
        for (const Sides& sides : {of_a, of_b})
            if (sides.both())
                return ContourClash{second, first, *sides.crossing / scale_, std::nullopt};
        if (!of_a.inside && !of_a.outside && !of_b.inside && !of_b.outside)
            return ContourClash{second, first, std::nullopt, std::nullopt};
        if (of_a.inside)
            holders_[a].push_back(b);
        else if (of_b.inside)
            holders_[b].push_back(a);
        else if (of_a.shared)
            shared_.push_back({a, b, *of_a.shared});
        return std::nullopt;
    }

    // Two contours beside each other that share an edge.
    struct SharedEdge {
        std::size_t first, second;
        std::array<ERPoint2D, 2> ends;
    };

    double scale_ = 1.0; // a power of two
    double touching_ = 0.0;
    std::vector<SharedEdge> shared_;
    std::vector<NestedContour> contours_;
    std::vector<ERMinimax2D> boxes_;
    std::vector<std::vector<std::size_t>> holders_; // of each contour, those that it lies in
};

} // namespace

std::optional<ContourClash> settle_areas(Outline& outline) {
    Nesting nesting(outline);
    if (auto clash = nesting.find_clash()) return clash;
    outline.areas = nesting.areas();
    outline.is_hole.assign(outline.contours.size(), false);
    for (const OutlineArea& area : outline.areas)
        for (const int hole : area.holes)
            outline.is_hole[static_cast<std::size_t>(hole)] = true;
    return std::nullopt;
}

} // namespace velm
