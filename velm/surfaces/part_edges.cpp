#include "velm/surfaces/part_edges.h"

#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/chord_tree.h"
#include "velm/surfaces/detail/joint_cut.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <numbers>
#include <numeric>

namespace velm {

namespace {

using detail::JointCut;
using detail::LiftedLoop;
using detail::LoopFoot;
using detail::LoopStretch;

constexpr double corner_angle = 0.2;      // a turn by more is a corner
constexpr double corner_tolerances = 4.0; // the length, in tolerances, by which a turn is measured
constexpr double finest = 4e-6;           // of the part's size: sides of loops are no nearer
constexpr std::size_t most_places = 4096;

// Numbers of which some are the same.
class Classes {
public:
    int add() {
        parent_.push_back(static_cast<int>(parent_.size()));
        return parent_.back();
    }
    int find(int i) {
        int& parent = parent_[static_cast<std::size_t>(i)];
        return parent == i ? i : parent = find(parent);
    }
    void unite(int a, int b) {
        a = find(a);
        b = find(b);
        parent_[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
    }

private:
    std::vector<int> parent_;
};

class EdgeFinder {
public:
    EdgeFinder(std::span<const PreparedFace> faces, std::span<const int> outward, double tolerance)
        : tolerance_(tolerance > 0.0 && tolerance < HUGE_VAL ? tolerance : 0.0) {
        ERMinimax3D box;
        for (const PreparedFace& face : faces) {
            const ERMinimax3D own = face.surface().box();
            box.Update(own.MinPoint());
            box.Update(own.MaxPoint());
            tolerance_ = std::max(tolerance_, face.tolerance());
        }
        error_ = std::max(tolerance_ / 16.0, finest * (faces.empty() ? 0.0 : box.diagonal()));
        for (std::size_t i = 0; i < faces.size(); ++i) {
            metrics_.push_back(std::make_unique<detail::FaceMetric>(faces[i]));
            first_loop_.push_back(static_cast<int>(loops_.size()));
            for (int loop = 0; loop < faces[i].loops(); ++loop) {
                loops_.push_back(std::make_unique<LiftedLoop>(*metrics_.back(), loop, error_));
                const bool turned = i < outward.size() && outward[i] < 0;
                face_is_left_.push_back(loops_.back()->face_is_left() != turned);
                face_of_.push_back(static_cast<int>(i));
            }
        }
        splits_.resize(loops_.size());
    }

    void run() {
        const detail::ChordTree tree(loops_);
        cut_at_corners(tree);
        number_corners();
        for (std::size_t loop = 0; loop < loops_.size(); ++loop)
            list_stretches(static_cast<int>(loop));
        find_joints();
    }

    double tolerance() const { return tolerance_; }
    std::vector<PartEdge>& edges() { return edges_; }
    int corners() const { return corners_; }
    int joints() const { return joints_; }

private:
    using Splits = std::map<double, int>; // corners by place

    const LiftedLoop& loop(int i) const { return *loops_[static_cast<std::size_t>(i)]; }
    Splits& splits(int loop) { return splits_[static_cast<std::size_t>(loop)]; }

    bool is_corner(const LiftedLoop& loop, int edge) const {
        const double reach = std::min(corner_tolerances * tolerance_, 0.125 * loop.length());
        const ERPoint3D at = loop.point(edge);
        const ERVector3D in(loop.point(loop.place_at_way(edge, -reach)), at);
        const ERVector3D out(at, loop.point(loop.place_at_way(edge, reach)));
        return std::atan2((in ^ out).norme(), in * out) > corner_angle;
    }

    // Whether an edge is a point in space but not in the parameters.
    bool is_pole(const LiftedLoop& loop, int edge) const {
        if (loop.length_between(edge, edge + 1) > tolerance_) return false;
        const ERPoint2D a = loop.parameter(edge), b = loop.parameter(edge + 1.0);
        const double v_scale = loop.metric().face().v_scale();
        return std::hypot(b.x() - a.x(), (b.y() - a.y()) * v_scale) * loop.metric().speed() >
               2.0 * corner_tolerances * tolerance_;
    }

    void cut_at_corners(const detail::ChordTree& tree) {
        std::vector<std::pair<int, double>> corners;
        const auto add = [&](int at, double place) {
            if (splits(at).try_emplace(place, -1).second) corners.emplace_back(at, place);
            int& corner = splits(at)[place];
            if (corner < 0) corner = classes_.add();
        };
        for (int i = 0; i < static_cast<int>(loops_.size()); ++i)
            for (int edge = 0; edge < loop(i).edges(); ++edge) {
                if (is_corner(loop(i), edge)) add(i, edge);
                if (!is_pole(loop(i), edge)) continue;
                add(i, edge);
                add(i, (edge + 1) % loop(i).edges());
            }
        spread(tree, std::move(corners));
        for (int i = 0; i < static_cast<int>(loops_.size()); ++i) {
            if (!splits(i).empty()) continue;
            splits(i)[0.0] = classes_.add();
            spread(tree, {{i, 0.0}});
        }
    }

    // To other loops, and from the places there once more: those may be near to loops that the
    // corner itself is just too far from.
    void spread(const detail::ChordTree& tree, std::vector<std::pair<int, double>> corners) {
        constexpr int rounds = 3;
        for (int round = 0; round < rounds && !corners.empty(); ++round) {
            made_.clear();
            for (const auto& [at, place] : corners)
                take_to_others(tree, at, place);
            corners = made_;
        }
    }

    // Cuts the loops that pass a corner there, or takes their own corners for the same.
    void take_to_others(const detail::ChordTree& tree, int own, double place) {
        const ERPoint3D p = loop(own).point(place);
        const int corner = splits(own)[place];
        std::vector<std::pair<int, std::size_t>> sides;
        tree.visit(p, tolerance_ + error_, [&](int at, std::size_t i) {
            if (is_near_side(loop(at), i, p)) sides.emplace_back(at, i);
        });
        std::ranges::sort(sides);
        for (std::size_t first = 0, last = 0; first < sides.size(); first = last) {
            for (last = first + 1; last < sides.size() && sides[last].first == sides[first].first &&
                                   sides[last].second == sides[last - 1].second + 1;)
                ++last;
            const auto& vertices = loop(sides[first].first).vertices();
            take_to(sides[first].first, vertices[sides[first].second].place,
                    vertices[sides[last - 1].second + 1].place, p, corner);
        }
    }

    bool is_near_side(const LiftedLoop& at, std::size_t i, const ERPoint3D& p) const {
        const ERPoint3D &a = at.vertices()[i].point, &b = at.vertices()[i + 1].point;
        const ERVector3D along(a, b), to(a, p);
        const double length2 = along.norme2();
        const double part = length2 > 0.0 ? std::clamp(to * along / length2, 0.0, 1.0) : 0.0;
        return (to - along * part).norme() <= tolerance_ + error_;
    }

    void take_to(int other, double low, double high, const ERPoint3D& p, int corner) {
        bool has_one = false;
        const double round = loop(other).edges();
        for (const auto& [place, there] : splits(other)) {
            // The start of the loop is its end too.
            const bool inside = (place >= low && place <= high) || place + round <= high;
            if (!inside || distance(loop(other).point(place), p) > tolerance_) continue;
            classes_.unite(corner, there);
            has_one = true;
        }
        if (has_one) return;
        const LoopFoot foot = loop(other).nearest(p, low, high);
        if (foot.distance > tolerance_) return;
        const double place = loop(other).in_first_round(foot.place);
        splits(other).emplace(place, corner);
        made_.emplace_back(other, place);
    }

    void number_corners() {
        std::map<int, int> numbers;
        for (Splits& list : splits_)
            for (auto& [place, corner] : list)
                corner =
                    numbers.try_emplace(classes_.find(corner), static_cast<int>(numbers.size()))
                        .first->second;
        corners_ = static_cast<int>(numbers.size());
    }

    void list_stretches(int i) {
        const Splits& list = splits(i);
        for (auto at = list.begin(); at != list.end(); ++at) {
            const auto next = std::next(at) == list.end() ? list.begin() : std::next(at);
            PartEdge edge;
            edge.face = face_of_[static_cast<std::size_t>(i)];
            edge.loop = i - first_loop_[static_cast<std::size_t>(edge.face)];
            edge.from = at->first;
            edge.to = next->first > at->first ? next->first : next->first + loop(i).edges();
            edge.start = at->second;
            edge.end = next->second;
            if (is_point(i, edge)) edge.kind = PartEdgeKind::degenerate;
            edges_.push_back(edge);
            loop_of_.push_back(i);
        }
    }

    bool is_point(int i, const PartEdge& edge) const {
        if (edge.start != edge.end) return false;
        const ERPoint3D p = loop(i).point(edge.from);
        bool near = distance(p, loop(i).point(edge.to)) <= 2.0 * tolerance_;
        loop(i).between(edge.from, edge.to, [&](double, const detail::LoopVertex& vertex) {
            near = near && distance(p, vertex.point) <= 2.0 * tolerance_;
        });
        return near;
    }

    LoopStretch stretch_of(int i, bool reversed) const {
        const PartEdge& edge = edges_[static_cast<std::size_t>(i)];
        return {&loop(loop_of_[static_cast<std::size_t>(i)]), edge.from, edge.to, reversed};
    }

    void find_joints() {
        std::map<std::pair<int, int>, std::vector<int>> by_corners;
        for (int i = 0; i < static_cast<int>(edges_.size()); ++i) {
            const PartEdge& edge = edges_[static_cast<std::size_t>(i)];
            if (edge.kind != PartEdgeKind::degenerate)
                by_corners[std::minmax(edge.start, edge.end)].push_back(i);
        }
        for (const auto& [corners, list] : by_corners)
            for (std::size_t k = 0; k < list.size(); ++k) {
                if (edges_[std::size_t(list[k])].joint >= 0) continue;
                std::vector<int> together = {list[k]};
                edges_[std::size_t(list[k])].joint = joints_;
                for (std::size_t l = k + 1; l < list.size(); ++l)
                    if (edges_[std::size_t(list[l])].joint < 0 && agree(list[k], list[l]))
                        together.push_back(list[l]);
                pair_up(together);
                ++joints_;
            }
    }

    // Whether b runs along a, the first one of a joint; then it belongs to the joint.
    bool agree(int a, int b) {
        PartEdge& other = edges_[static_cast<std::size_t>(b)];
        const PartEdge& own = edges_[static_cast<std::size_t>(a)];
        const LoopStretch along = stretch_of(a, false), there = stretch_of(b, false);
        double places[3];
        for (int k = 0; k < 3; ++k) {
            const double way = 0.25 * (k + 1) * along.loop->length_between(along.from, along.to);
            const ERPoint3D p = along.loop->point(along.loop->place_at_way(along.from, way));
            const LoopFoot foot = there.loop->nearest(p, there.from, there.to);
            if (foot.distance > tolerance_) return false;
            places[k] = foot.place;
        }
        const bool reversed = places[2] < places[0];
        if ((places[1] - places[0]) * (places[2] - places[1]) <= 0.0) return false;
        if (own.start != (reversed ? other.end : other.start)) return false;
        JointCut joint({along, stretch_of(b, reversed)});
        if (!cut(joint)) return false;
        other.joint = own.joint;
        other.reversed = reversed;
        other.gap = joint.largest_gap();
        other.bound = joint.bound();
        return true;
    }

    bool cut(JointCut& joint) const {
        JointCut::Limits limits;
        limits.trim = limits.deviation = error_;
        limits.largest_gap = tolerance_;
        limits.most_places = most_places;
        return joint.cut(limits);
    }

    // Whether, along the joint, the face is to the left seen from outside.
    bool is_left(int i) const {
        const auto at = static_cast<std::size_t>(i);
        return face_is_left_[static_cast<std::size_t>(loop_of_[at])] != edges_[at].reversed;
    }

    void pair_up(const std::vector<int>& together) {
        if (together.size() == 2) {
            PartEdge& first = edges_[std::size_t(together[0])];
            const PartEdge& second = edges_[std::size_t(together[1])];
            first.gap = second.gap;
            first.bound = second.bound;
            pair(together[0], together[1]);
        }
        if (together.size() <= 2) return;
        struct Wedge {
            double angle;
            int from, to;
        };
        std::vector<Wedge> wedges;
        for (const int i : together)
            for (const int j : together) {
                if (is_left(i) || !is_left(j)) continue;
                constexpr double none = 0.01; // faces on each other bound nothing between them
                double angle = direction_of(j, together[0]) - direction_of(i, together[0]);
                while (angle < none)
                    angle += 2.0 * std::numbers::pi;
                wedges.push_back({angle, i, j});
            }
        std::ranges::stable_sort(wedges, {}, &Wedge::angle);
        for (const Wedge& wedge : wedges)
            if (edges_[std::size_t(wedge.from)].mate < 0 &&
                edges_[std::size_t(wedge.to)].mate < 0) {
                measure(wedge.from, wedge.to);
                pair(wedge.from, wedge.to);
            }
        for (const int i : together)
            if (edges_[std::size_t(i)].mate < 0)
                edges_[std::size_t(i)].gap = edges_[std::size_t(i)].bound = 0.0;
    }

    void measure(int a, int b) {
        PartEdge &first = edges_[static_cast<std::size_t>(a)],
                 &second = edges_[static_cast<std::size_t>(b)];
        JointCut joint({stretch_of(a, first.reversed), stretch_of(b, second.reversed)});
        cut(joint);
        first.gap = second.gap = joint.largest_gap();
        first.bound = second.bound = joint.bound();
    }

    // The angle about the way along the joint by which the face goes off the edge in its middle,
    // from a direction that is the same for all.
    double direction_of(int i, int first) const {
        const LoopStretch along = stretch_of(first, false);
        const double middle = 0.5 * (along.from + along.to);
        const double step = 1e-3 * (along.to - along.from);
        const ERPoint3D p = along.loop->point(middle);
        const ERVector3D way =
            ERVector3D(along.loop->point(middle - step), along.loop->point(middle + step))
                .getnormalized();
        const LoopStretch own = stretch_of(i, false);
        const ERPoint2D at = own.loop->parameter(own.loop->nearest(p, own.from, own.to).place);
        const auto k = static_cast<std::size_t>(loop_of_[static_cast<std::size_t>(i)]);
        const bool loop_left = own.loop->face_is_left();
        const bool turned = loop_left != face_is_left_[k];
        const ERVector3D normal =
            own.loop->metric().surface().normal(at.x(), at.y()) * (turned ? -1.0 : 1.0);
        const ERVector3D into = (normal ^ way) * (is_left(i) ? 1.0 : -1.0);
        const int axis = std::fabs(way[0]) < 0.6 ? 0 : std::fabs(way[1]) < 0.6 ? 1 : 2;
        ERVector3D x(axis == 0, axis == 1, axis == 2);
        x = (x - way * (x * way)).getnormalized();
        return std::atan2(into * (way ^ x), into * x);
    }

    void pair(int a, int b) {
        PartEdge &first = edges_[static_cast<std::size_t>(a)],
                 &second = edges_[static_cast<std::size_t>(b)];
        first.mate = b;
        second.mate = a;
        first.agrees = second.agrees = is_left(a) != is_left(b);
        first.kind = second.kind = PartEdgeKind::paired;
    }

    double tolerance_;
    double error_ = 0.0;
    std::vector<std::unique_ptr<detail::FaceMetric>> metrics_;
    std::vector<std::unique_ptr<LiftedLoop>> loops_;
    std::vector<int> face_of_;       // of a loop
    std::vector<int> first_loop_;    // of a face
    std::vector<bool> face_is_left_; // of a loop, seen from outside of the material
    std::vector<Splits> splits_;
    std::vector<std::pair<int, double>> made_; // splits of the present round
    Classes classes_;
    std::vector<PartEdge> edges_;
    std::vector<int> loop_of_; // of a stretch
    int corners_ = 0;
    int joints_ = 0;
};

} // namespace

PartEdges PartEdges::of(std::span<const PreparedFace> faces, std::span<const int> outward,
                        double tolerance) {
    EdgeFinder finder(faces, outward, tolerance);
    finder.run();
    PartEdges found;
    found.edges_ = std::move(finder.edges());
    found.corners_ = finder.corners();
    found.joints_ = finder.joints();
    found.tolerance_ = finder.tolerance();
    int at = 0;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        std::vector<int>& first = found.first_.emplace_back();
        for (int loop = 0; loop < faces[i].loops(); ++loop) {
            first.push_back(at);
            while (at < static_cast<int>(found.edges_.size()) &&
                   found.edges_[std::size_t(at)].face == static_cast<int>(i) &&
                   found.edges_[std::size_t(at)].loop == loop)
                ++at;
        }
        first.push_back(at);
    }
    return found;
}

int PartEdges::at(int face, int loop, int edge, double part) const {
    const std::vector<int>& first = first_[static_cast<std::size_t>(face)];
    const auto begin = edges_.begin() + first[static_cast<std::size_t>(loop)];
    const auto end = edges_.begin() + first[static_cast<std::size_t>(loop) + 1];
    const auto after = std::upper_bound(
        begin, end, edge + part, [](double place, const PartEdge& e) { return place < e.from; });
    return static_cast<int>((after == begin ? end : after) - edges_.begin()) - 1;
}

double PartEdges::largest_gap() const {
    double largest = 0.0;
    for (const PartEdge& edge : edges_)
        largest = std::max(largest, edge.gap);
    return largest;
}

int PartEdges::open() const {
    return static_cast<int>(std::ranges::count(edges_, PartEdgeKind::open, &PartEdge::kind));
}

} // namespace velm
