#include "velm/surfaces/detail/box_tree.h"

#include "velm/numerics/detail/triples.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace velm::detail {
namespace {

// The float next below or above.
float rounded_down(double x) {
    const auto f = static_cast<float>(x);
    return f <= x ? f : std::nextafter(f, -std::numeric_limits<float>::infinity());
}
float rounded_up(double x) { return -rounded_down(-x); }

struct Centre {
    double c[3];
};

class Builder {
public:
    Builder(std::span<const OrientedBox> boxes, std::vector<BoxGroup>& groups)
        : boxes_(boxes), groups_(groups), order_(boxes.size()), centres_(boxes.size()) {
        std::iota(order_.begin(), order_.end(), 0);
        double corner[24];
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            boxes[i].corners(corner);
            for (int c = 0; c < 3; ++c)
                centres_[i].c[c] = 0.5 * (corner[c] + corner[21 + c]);
        }
        if (!order_.empty()) group(order_);
    }

private:
    // The group of these leaves and all that is below it; returns its number.
    std::int32_t group(std::span<int> leaves) {
        const auto number = groups_.size();
        groups_.emplace_back();
        groups_.back() = {};
        std::size_t room = 1;
        while (room * boxes_in_group < leaves.size())
            room *= boxes_in_group;
        Part part{number, room, 0};
        distribute(leaves, part);
        groups_[number].count = part.children;
        for (int i = part.children; i < boxes_in_group; ++i)
            for (int k = 0; k < 3; ++k)
                groups_[number].low[k][i] = 1e15F, groups_[number].high[k][i] = -1e15F;
        return static_cast<std::int32_t>(number);
    }

    struct Part {
        std::size_t group, room;
        int children;
    };

    // Halves along the longest extent until each part is one child.
    void distribute(std::span<int> leaves, Part& part) {
        const std::size_t parts = (leaves.size() + part.room - 1) / part.room;
        if (parts > 1) {
            const std::size_t left = parts / 2 * part.room;
            const int axis = longest_extent(leaves);
            const auto middle = leaves.begin() + static_cast<std::ptrdiff_t>(left);
            std::nth_element(leaves.begin(), middle, leaves.end(), [&](int a, int b) {
                const double x = centre(a)[axis], y = centre(b)[axis];
                return x < y || (x == y && a < b);
            });
            distribute(leaves.first(left), part);
            distribute(leaves.subspan(left), part);
            return;
        }
        const int at = part.children++;
        if (part.room == 1) {
            set(part.group, at, boxes_[std::size_t(leaves[0])], ~leaves[0]);
            return;
        }
        const OrientedBox box = box_of(leaves);
        set(part.group, at, box, group(leaves));
    }

    const double* centre(int leaf) const { return centres_[std::size_t(leaf)].c; }

    int longest_extent(std::span<const int> leaves) const {
        double low[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, high[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
        for (const int leaf : leaves)
            for (int c = 0; c < 3; ++c) {
                low[c] = std::min(low[c], centre(leaf)[c]);
                high[c] = std::max(high[c], centre(leaf)[c]);
            }
        int longest = 0;
        for (int c = 1; c < 3; ++c)
            if (high[c] - low[c] > high[longest] - low[longest]) longest = c;
        return longest;
    }

    // Along the mean normal of the leaves and, across it, the direction of their largest spread.
    OrientedBox box_of(std::span<const int> leaves) const {
        double normal[3] = {}, mean[3] = {};
        for (const int leaf : leaves)
            for (int c = 0; c < 3; ++c) {
                normal[c] += boxes_[std::size_t(leaf)].axis[2][c];
                mean[c] += centre(leaf)[c] / static_cast<double>(leaves.size());
            }
        const double length = std::sqrt(dot3(normal, normal));
        OrientedBox box = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {}, {}};
        if (length > 0.1 * static_cast<double>(leaves.size())) {
            double x[3] = {1, 0, 0}, y[3];
            for (double& c : normal)
                c /= length;
            if (std::fabs(normal[0]) > 0.7) x[0] = 0.0, x[1] = 1.0;
            cross3(normal, x, y);
            const double scale = 1.0 / std::sqrt(dot3(y, y));
            for (double& c : y)
                c *= scale;
            cross3(y, normal, x);
            double xx = 0.0, xy = 0.0, yy = 0.0;
            for (const int leaf : leaves) {
                const double* const p = centre(leaf);
                const double d[3] = {p[0] - mean[0], p[1] - mean[1], p[2] - mean[2]};
                const double a = dot3(d, x), b = dot3(d, y);
                xx += a * a, xy += a * b, yy += b * b;
            }
            const double angle = 0.5 * std::atan2(2.0 * xy, xx - yy);
            for (int c = 0; c < 3; ++c) {
                box.axis[0][c] = std::cos(angle) * x[c] + std::sin(angle) * y[c];
                box.axis[2][c] = normal[c];
            }
            cross3(box.axis[2], box.axis[0], box.axis[1]);
        }
        std::vector<double> points(24 * leaves.size());
        for (std::size_t i = 0; i < leaves.size(); ++i)
            boxes_[std::size_t(leaves[i])].corners(&points[24 * i]);
        box.enclose(points);
        return box;
    }

    void set(std::size_t group, int at, const OrientedBox& box, std::int32_t child) {
        BoxGroup& to = groups_[group];
        for (int k = 0; k < 3; ++k) {
            for (int c = 0; c < 3; ++c)
                to.axis[k][c][at] = static_cast<float>(box.axis[k][c]);
            to.low[k][at] = rounded_down(box.low[k]);
            to.high[k][at] = rounded_up(box.high[k]);
        }
        to.child[at] = child;
    }

    std::span<const OrientedBox> boxes_;
    std::vector<BoxGroup>& groups_;
    std::vector<int> order_;
    std::vector<Centre> centres_;
};

// Four floats in a register; eight boxes are two of them.
using Four = float __attribute__((vector_size(16)));

[[gnu::always_inline]] inline Four larger(Four a, Four b) { return a > b ? a : b; }

} // namespace

void OrientedBox::corners(double* out) const {
    for (int corner = 0; corner < 8; ++corner)
        for (int c = 0; c < 3; ++c) {
            double sum = 0.0;
            for (int k = 0; k < 3; ++k)
                sum += axis[k][c] * (corner >> k & 1 ? high[k] : low[k]);
            out[3 * corner + c] = sum;
        }
}

void OrientedBox::enclose(std::span<const double> points) {
    constexpr double roundings = 8.0 * std::numeric_limits<double>::epsilon();
    for (int k = 0; k < 3; ++k) {
        low[k] = HUGE_VAL, high[k] = -HUGE_VAL;
        double reach = 0.0;
        for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
            const double along = dot3(axis[k], &points[i]);
            low[k] = std::min(low[k], along);
            high[k] = std::max(high[k], along);
            for (std::size_t c = 0; c < 3; ++c)
                reach = std::max(reach, std::fabs(points[i + c]));
        }
        low[k] -= roundings * reach;
        high[k] += roundings * reach;
    }
}

void BoxTree::build(std::span<const OrientedBox> boxes) {
    groups_.clear();
    Builder(boxes, groups_);
}

void BoxTree::squared_distances(const BoxGroup& group, const double* q, double* squared) {
    const float x = static_cast<float>(q[0]), y = static_cast<float>(q[1]),
                z = static_cast<float>(q[2]);
    // Coordinates of q, components of axes, two products and two sums are each off by 2^-24 of
    // their size: less than 8 of them along an axis. The sum of squares is off by less than 2^-21.
    const float reach = std::fabs(x) + std::fabs(y) + std::fabs(z);
    const float slack = reach * 0x1p-21F;
    constexpr float rounding = 1.0F - 0x1p-20F;
    if (!(reach < 1e15F)) { // squares overflow
        std::fill_n(squared, boxes_in_group, 0.0);
        return;
    }
    for (int half = 0; half < boxes_in_group; half += 4) {
        const auto load = [half](const float* from) {
            Four four;
            __builtin_memcpy(&four, from + half, sizeof four);
            return four;
        };
        Four sum = {};
        for (int k = 0; k < 3; ++k) {
            const Four along = load(group.axis[k][0]) * x + load(group.axis[k][1]) * y +
                               load(group.axis[k][2]) * z;
            const Four outside =
                larger(load(group.low[k]) - along, along - load(group.high[k])) - slack;
            const Four gap = larger(outside, Four{});
            sum += gap * gap;
        }
        sum *= rounding;
        for (int i = 0; i < 4; ++i)
            squared[half + i] = static_cast<double>(sum[i]);
    }
}

unsigned BoxTree::met_by_line(const BoxGroup& group, const double* q, const double* d, double low,
                              double high) {
    // Components of axes are off by 2^-24: within 4 of the origin that is less.
    constexpr double slack = 0x1p-20, least_slope = 1e-30;
    unsigned met = 0;
    for (int i = 0; i < group.count; ++i) {
        double from = low, to = high;
        for (int k = 0; k < 3; ++k) {
            double at = 0.0, slope = 0.0;
            for (int c = 0; c < 3; ++c) {
                at += static_cast<double>(group.axis[k][c][i]) * q[c];
                slope += static_cast<double>(group.axis[k][c][i]) * d[c];
            }
            if (std::fabs(slope) < least_slope) slope = least_slope;
            const double inverse = 1.0 / slope;
            const double a = (static_cast<double>(group.low[k][i]) - slack - at) * inverse;
            const double b = (static_cast<double>(group.high[k][i]) + slack - at) * inverse;
            from = std::max(from, std::min(a, b));
            to = std::min(to, std::max(a, b));
        }
        if (from <= to) met |= 1u << i;
    }
    return met;
}

} // namespace velm::detail
