#include "velm/surfaces/detail/seed_grid.h"

#include "velm/curves/detail/knot_search.h"
#include "velm/frame/finite_entity.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/simple_vec.h"
#include "velm/surfaces/nurbs_surface.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

} // namespace

ERMatrix<ERPoint3D> points_at_even_steps(const ERAnyBoundedSurface& surface, int n, int m) {
    ERMatrix<ERPoint3D> grid(m, n);
    const std::span<ERPoint3D> points = grid.writable();
    const ERLimites in_u = surface.getBoundU(), in_v = surface.getBoundV();
    for (int i = 0; i < n && m > 0; ++i) {
        const t_SmartPtr<ERFiniteEntity3DWF> curve =
            surface.getEntityIsoU(in_u(double(i) / (n - 1)));
        for (int j = 0; curve && j < m; ++j)
            points[at(n) * at(j) + at(i)] = (*curve)(in_v(double(j) / (m - 1)));
    }
    return grid;
}

int seed_count(int degree, int poles) {
    constexpr long long fewest = 10, most = most_seeds;
    return static_cast<int>(
        std::clamp((static_cast<long long>(poles) - degree) * degree * 4 + 4, fewest, most));
}

SeedGrid::SeedGrid(const ERAnyBoundedSurface& surface, int nu, int nv)
    : nu_(nu), nv_(nv), limits_u_(surface.getBoundU()), limits_v_(surface.getBoundV()),
      blocks_v_((nv - 2 + side - 1) / side) {
    const ERMatrix<ERPoint3D> grid = points_at_even_steps(surface, nu, nv);
    last_ = grid.row(nv - 2)[at(nu - 2)];
    fill_blocks(grid);
    bound_from_spans(surface);
}

void SeedGrid::fill_blocks(const ERMatrix<ERPoint3D>& grid) {
    const std::size_t blocks = at((nu_ - 2 + side - 1) / side) * at(blocks_v_);
    for (auto* list : {&x_, &y_, &z_})
        list->assign(blocks * block_size, unknown);
    for (int axis = 0; axis < 3; ++axis) {
        low_[axis].assign(blocks, std::numeric_limits<double>::infinity());
        high_[axis].assign(blocks, -std::numeric_limits<double>::infinity());
    }
    for (int i = 1; i < nu_ - 1; ++i)
        for (int j = 1; j < nv_ - 1; ++j) {
            const ERPoint3D& p = grid.row(j)[at(i)];
            const std::size_t block = at((i - 1) / side) * at(blocks_v_) + at((j - 1) / side);
            const std::size_t k = block * block_size + at((i - 1) % side * side + (j - 1) % side);
            x_[k] = p.x(), y_[k] = p.y(), z_[k] = p.z();
            for (int axis = 0; axis < 3; ++axis) {
                low_[axis][block] = std::min(low_[axis][block], p[axis]);
                high_[axis][block] = std::max(high_[axis][block], p[axis]);
            }
        }
}

std::optional<SeedGrid::Node> SeedGrid::nearest(const ERPoint3D& p) const {
    Node best{0, 0, std::numeric_limits<double>::max()};
    const std::size_t blocks = low_[0].size();
    constexpr int most_along = (most_seeds - 2 + side - 1) / side;
    double bound[most_along * most_along];
    std::size_t first = 0;
    for (std::size_t b = 0; b < blocks; ++b) {
        double d[3];
        for (int axis = 0; axis < 3; ++axis)
            d[axis] = std::max(0.0, std::max(low_[axis][b] - p[axis], p[axis] - high_[axis][b]));
        bound[b] = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
        if (bound[b] < bound[first]) first = b;
    }
    scan(first, p, best);
    for (std::size_t b = 0; b < blocks; ++b)
        if (b != first && bound[b] <= best.squared) scan(b, p, best);
    if (best.i == 0) return {};
    return best;
}

void SeedGrid::scan(std::size_t block, const ERPoint3D& p, Node& best) const {
    const std::size_t from = block * block_size;
    double squared[block_size];
    for (std::size_t k = 0; k < block_size; ++k) {
        const double dx = x_[from + k] - p.x(), dy = y_[from + k] - p.y();
        const double dz = z_[from + k] - p.z();
        squared[k] = dx * dx + dy * dy + dz * dz;
    }
    const int i0 = 1 + static_cast<int>(block) / blocks_v_ * side;
    const int j0 = 1 + static_cast<int>(block) % blocks_v_ * side;
    for (int k = 0; k < block_size; ++k) {
        if (!(squared[k] <= best.squared)) continue;
        const Node node{i0 + k / side, j0 + k % side, squared[k]};
        const bool earlier = node.i < best.i || (node.i == best.i && node.j < best.j);
        if (node.squared < best.squared || (best.i != 0 && earlier)) best = node;
    }
}

ERPoint2D SeedGrid::parameter(double s, double t) const { return {limits_u_(s), limits_v_(t)}; }

ERPoint2D SeedGrid::place(const Node& node, int position) const {
    const int a = position / (2 * around) - around, b = position % (2 * around) - around;
    return parameter(double(node.i) / (nu_ - 1) + double(a) / (20 * nu_ - 20),
                     double(node.j) / (nv_ - 1) + double(b) / (20 * nv_ - 20));
}

ERPoint2D SeedGrid::start(const ERAnyBoundedSurface& surface, const Node& node) {
    if (!(least_around(node) > node.squared)) {
        const Nearest& other = nearest_around(surface, node);
        if (other.squared < node.squared) return place(node, other.position);
    }
    return parameter(double(node.i) / (nu_ - 1), double(node.j) / (nv_ - 1));
}

// The places, and the point that they are compared with, don't depend on the point that is
// projected: taking the first of the smallest distances, if below the node's, is what going through
// the places with the node's distance to beat comes to.
const SeedGrid::Nearest& SeedGrid::nearest_around(const ERAnyBoundedSurface& surface,
                                                  const Node& node) {
    if (around_.empty()) around_.resize(at(nu_) * at(nv_));
    Nearest& found = around_[at(node.i) * at(nv_) + at(node.j)];
    if (found.position >= 0) return found;
    found.position = 0;
    for (int k = 0; k < 4 * around * around; ++k) {
        const double squared = distance2(last_, surface(place(node, k)));
        if (squared < found.squared) found = {squared, k};
    }
    return found;
}

// A span is within the box of its poles if all weights are positive.
void SeedGrid::bound_from_spans(const ERAnyBoundedSurface& surface) {
    const auto* const nurbs = dynamic_cast<const ERSpoleNURBS3D*>(&surface);
    if (nurbs == nullptr || !nurbs->isValid()) return;
    if (!(limits_u_.start() >= nurbs->NUdeb() && limits_u_.end() <= nurbs->NUfin() &&
          limits_v_.start() >= nurbs->NVdeb() && limits_v_.end() <= nurbs->NVfin()))
        return;
    for (const ERPole3DH& pole : nurbs->poles().view())
        if (!(pole.weigth() > 0.0)) return;

    ERSimpleVec2<ERMinimax3D> boxes;
    nurbs->GetSpanBoxes(boxes);
    double size = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        size = std::max({size, std::fabs(last_[axis]), std::fabs(nurbs->getBox().lower(axis)),
                         std::fabs(nurbs->getBox().upper(axis))});
    const double rounding = 1e-12 * size; // some thousand roundings of a sum of positive terms
    int spans_u = 0;
    nurbs->GetNumberOfSpans(spans_u, spans_v_);
    for (int s = 0; s < spans_u; ++s)
        for (int t = 0; t < spans_v_; ++t) {
            const double far =
                std::sqrt(velm::squared_distance(std::as_const(boxes)(s, t), last_)) - rounding;
            span_bounds_.push_back(far > 0.0 ? far * far : 0.0);
        }

    const auto reaches = [](const ERKnotVector& knots, const ERLimites& limits, int count) {
        const KnotView k = view_of(knots);
        std::vector<double> starts;
        for (int s = k.degree; s < k.poles(); ++s)
            if (k[s] < k[s + 1]) starts.push_back(k[s]);
        const auto span_at = [&](double t) {
            const auto after = std::upper_bound(starts.begin() + 1, starts.end(), t);
            return static_cast<int>(after - starts.begin()) - 1;
        };
        std::vector<Reach> result;
        for (int i = 0; i < count; ++i) {
            const double half = 0.5 + 1e-6; // a place more than the farthest one
            result.push_back({span_at(limits((i - half) / (count - 1))),
                              span_at(limits((i + half) / (count - 1)))});
        }
        return result;
    };
    reach_u_ = reaches(nurbs->knotVectorU(), limits_u_, nu_);
    reach_v_ = reaches(nurbs->knotVectorV(), limits_v_, nv_);
}

double SeedGrid::least_around(const Node& node) const {
    if (span_bounds_.empty()) return 0.0;
    double least = std::numeric_limits<double>::infinity();
    const Reach& u = reach_u_[at(node.i)];
    const Reach& v = reach_v_[at(node.j)];
    for (int s = u.first; s <= u.last; ++s)
        for (int t = v.first; t <= v.last; ++t)
            least = std::min(least, span_bounds_[at(s) * at(spans_v_) + at(t)]);
    return least;
}

} // namespace velm::detail
