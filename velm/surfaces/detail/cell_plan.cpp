#include "velm/surfaces/detail/cell_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velm::detail {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();
// Rectangles are halved at most so often, which is as far as parameters go.
constexpr int most_levels = 48;
// And where there is no bound, as beside a place of an offset's base that has no normal:
constexpr int most_unbounded_levels = 14;
// After so many halvings that lower no count by more than halving does, a grid is taken.
constexpr int most_idle_levels = 4;
// A count is lower if it is below this much of the other one: cells of different sizes side by side
// cost triangles too.
constexpr double gain = 0.9;
// On the bounds, for the rounding of their terms.
constexpr double margin = 1.0 + 1e-9;

struct Count {
    int u = 1, v = 1;
    double total = 1.0;
};

// The fewest cells of equal size whose deviation is at most the chord error.
Count fewest(const Flatness& f, const Cell& cell, double chord_error) {
    const double allowed = 8.0 * chord_error / margin;
    const double a = cell.u.amplitude(), b = cell.v.amplitude();
    const double uu = f.uu * a * a, uv = f.uv * a * b, vv = f.vv * b * b;
    if (!(std::max({uu, uv, vv}) < infinite)) return {0, 0, infinite};
    // For n columns: vv / m^2 + 2 uv / (n m) <= allowed - uu / n^2.
    const auto rows_for = [&](double n) {
        const double rest = allowed - uu / (n * n), half = uv / n;
        if (!(rest > 0.0)) return infinite;
        return std::max(1.0, std::ceil((half + std::sqrt(half * half + vv * rest)) / rest));
    };
    Count best{0, 0, infinite};
    constexpr int tries = 24;
    const double first = std::max(1.0, std::floor(std::sqrt(uu / allowed)));
    const double step = std::max(1.0, std::ceil((first + 2.0) / tries));
    for (int k = 0; k <= tries; ++k) {
        const double n = first + k * step, m = rows_for(n);
        if (n * m < best.total && std::max(n, m) < 1e9)
            best = {static_cast<int>(n), static_cast<int>(m), n * m};
        if (m == 1.0) break;
    }
    return best;
}

class Planner {
public:
    Planner(SurfaceFlatness& flatness, const SurfaceTables& tables, double chord_error,
            std::size_t most, CellPlan& plan)
        : flatness_(flatness), chord_error_(chord_error), most_(most), plan_(plan) {
        // An offset surface is bounded patch by patch of its base.
        const SurfaceTables& own = tables.base ? *tables.base : tables;
        ends_u_ = own.ends_u;
        // The bounds of a surface of revolution don't depend on the angle.
        if (!own.generatrix) ends_v_ = own.ends_v;
    }

    void fill(const Cell& cell) {
        const Flatness f = flatness_(cell.u, cell.v);
        emit(plan(cell, f, fewest(f, cell, chord_error_), 0, 0));
    }

private:
    struct Node {
        Cell cell;
        Count count;
        double cost;
        std::vector<Node> halves;
    };

    Node plan(const Cell& cell, const Flatness& f, const Count& count, int level, int idle) {
        Node node{cell, count, count.total, {}};
        planned_ += 1;
        const bool bounded = node.cost < infinite;
        if (node.cost <= 2.0 || level >= (bounded ? most_levels : most_unbounded_levels) ||
            idle > most_idle_levels || planned_ > most_)
            return node;
        const double in_u = f.uu * cell.u.amplitude() * cell.u.amplitude();
        const double in_v = f.vv * cell.v.amplitude() * cell.v.amplitude();
        const bool along_u =
            in_u == in_v || !(std::max(in_u, in_v) < infinite) ? level % 2 == 0 : in_u > in_v;
        Cell low = cell, high = cell;
        if (along_u) {
            low.u.end() = high.u.start() = middle(cell.u, ends_u_);
        } else {
            low.v.end() = high.v.start() = middle(cell.v, ends_v_);
        }
        for (const Cell& half : {low, high}) {
            const Flatness g = flatness_(half.u, half.v);
            const Count own = fewest(g, half, chord_error_);
            const bool lower = !bounded || own.total < 0.5 * gain * count.total;
            node.halves.push_back(plan(half, g, own, level + 1, lower ? 0 : idle + 1));
        }
        const double sum = node.halves[0].cost + node.halves[1].cost;
        if (!bounded || sum < gain * node.cost) {
            node.cost = sum;
        } else {
            node.halves.clear();
        }
        return node;
    }

    // The end of a patch that is nearest to the middle, or inside a patch the middle.
    static double middle(const ERLimites& t, const std::vector<double>& ends) {
        const double half = 0.5 * t.start() + 0.5 * t.end();
        const auto above = std::upper_bound(ends.begin(), ends.end(), half);
        double best = half, least = infinite;
        const auto consider = [&](double end) {
            if (!t.strictlyInBound(end) || std::fabs(end - half) >= least) return;
            least = std::fabs(end - half);
            best = end;
        };
        if (above != ends.end()) consider(*above);
        if (above != ends.begin()) consider(*(above - 1));
        return best;
    }

    void emit(const Node& node) {
        if (plan_.cells.size() > most_) return;
        for (const Node& half : node.halves)
            emit(half);
        if (!node.halves.empty()) return;
        Count count = node.count;
        if (!(count.total < infinite)) {
            plan_.certified = false;
            count = {};
        }
        if (count.total > static_cast<double>(most_)) count.u = count.v = static_cast<int>(most_);
        const auto at = [](const ERLimites& t, int k, int n) {
            return k == n ? t.end() : t.start() + t.amplitude() * k / n;
        };
        for (int j = 0; j < count.v; ++j)
            for (int i = 0; i < count.u; ++i) {
                if (plan_.cells.size() > most_) return;
                plan_.cells.push_back(
                    {{at(node.cell.u, i, count.u), at(node.cell.u, i + 1, count.u)},
                     {at(node.cell.v, j, count.v), at(node.cell.v, j + 1, count.v)}});
            }
    }

    SurfaceFlatness& flatness_;
    std::vector<double> ends_u_, ends_v_;
    double chord_error_;
    std::size_t most_, planned_ = 0;
    CellPlan& plan_;
};

} // namespace

void plan_cells(SurfaceFlatness& flatness, const SurfaceTables& tables, const Cell& region,
                double chord_error, int least_u, int least_v, std::size_t most, CellPlan& plan) {
    Planner planner(flatness, tables, chord_error, most, plan);
    for (int j = 0; j < least_v; ++j)
        for (int i = 0; i < least_u; ++i)
            planner.fill({{region.u(double(i) / least_u), region.u((i + 1.0) / least_u)},
                          {region.v(double(j) / least_v), region.v((j + 1.0) / least_v)}});
}

} // namespace velm::detail
