#include "velm/surfaces/detail/face_metric.h"

#include "velm/frame/point_functions.h"
#include "velm/surfaces/detail/surface_tables.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

constexpr int cells_along = 16; // of a region, in each direction

// The lesser direction counts as at least this much of the other, so that no triangle gets thinner.
constexpr double least_ratio = 0.02;

// Breaks that rounding has put inside the limits become the limits.
void leave_out_slivers(ERLimites& domain, std::vector<double>& breaks) {
    const double thin = FaceMetric::rounding * domain.amplitude();
    while (!breaks.empty() && breaks.front() - domain.start() <= thin) {
        domain = {breaks.front(), domain.end()};
        breaks.erase(breaks.begin());
    }
    while (!breaks.empty() && domain.end() - breaks.back() <= thin) {
        domain = {domain.start(), breaks.back()};
        breaks.pop_back();
    }
}

// Rounding may have moved a vertex across the edge of the domain.
ERLimites inside(const ERLimites& domain, double low, double high) {
    return {std::clamp(low, domain.start(), domain.end()),
            std::clamp(high, domain.start(), domain.end())};
}

} // namespace

FaceMetric::FaceMetric(const PreparedFace& face)
    : face_(face), flatness_(SurfaceTables::of(face_.surface())), u_(face_.surface().domain_u()),
      v_(face_.surface().domain_v()), breaks_u_(velm::breaks_u(face_.surface())),
      breaks_v_(velm::breaks_v(face_.surface())) {
    leave_out_slivers(u_, breaks_u_);
    leave_out_slivers(v_, breaks_v_);
    ends_u_ = ends_of(u_, breaks_u_);
    ends_v_ = ends_of(v_, breaks_v_);
    regions_.resize((ends_u_.size() - 1) * (ends_v_.size() - 1));
    measure();
}

std::vector<double> FaceMetric::ends_of(const ERLimites& domain,
                                        const std::vector<double>& breaks) {
    std::vector<double> all = {domain.start()};
    all.insert(all.end(), breaks.begin(), breaks.end());
    all.push_back(domain.end());
    return all;
}

// Bounds of the speeds along u and v, and of the bends: at places of a grid, and by how much the
// second derivatives may change the speeds on the way to them. Bounds over a whole region of an
// offset surface may be far too large where its base turns strongly: they are taken by cells.
void FaceMetric::measure() {
    constexpr int cells = 8;
    const std::vector<double>&in_u = ends_u_, &in_v = ends_v_;
    double bend_u = 0.0, bend_v = 0.0;
    for (std::size_t j = 0; j + 1 < in_v.size(); ++j)
        for (std::size_t i = 0; i + 1 < in_u.size(); ++i) {
            const ERLimites u(in_u[i], in_u[i + 1]), v(in_v[j], in_v[j + 1]);
            const bool by_cell = surface().kind() == SurfaceKind::offset;
            Flatness bends;
            if (!by_cell) bends = flatness_(u, v);
            const double du = u.amplitude(), dv = v.amplitude();
            const double half_u = 0.5 * du / cells, half_v = 0.5 * dv / cells;
            for (int k = 0; k < cells * cells; ++k) {
                const auto cell = [](const ERLimites& limits, int n) {
                    return limits(ERLimites(double(n) / cells, (n + 1.0) / cells));
                };
                if (by_cell) bends = flatness_(cell(u, k % cells), cell(v, k / cells));
                bend_u = std::max(bend_u, bends.uu * u_.amplitude() * u_.amplitude());
                bend_v = std::max(bend_v, bends.vv * v_.amplitude() * v_.amplitude());
                const SurfaceJet jet =
                    surface().jet(u((k % cells + 0.5) / cells), v((k / cells + 0.5) / cells));
                speed_u_ =
                    std::max(speed_u_, jet.du.norme() + bends.uu * half_u + bends.uv * half_v);
                speed_v_ =
                    std::max(speed_v_, jet.dv.norme() + bends.uv * half_u + bends.vv * half_v);
            }
        }
    double wide = std::sqrt(bend_u), high = std::sqrt(bend_v);
    if (!(std::max(wide, high) > 0.0) || !std::isfinite(wide + high)) {
        wide = speed_u_ * u_.amplitude();
        high = speed_v_ * v_.amplitude();
    }
    const double least = least_ratio * std::max(wide, high);
    scale_u_ = std::max(wide, least) / u_.amplitude();
    scale_v_ = std::max(high, least) / v_.amplitude();
}

double FaceMetric::on_line(double t, const ERLimites& domain, const std::vector<double>& breaks) {
    const auto is_near = [&](double line) {
        return std::fabs(t - line) <= rounding * domain.amplitude();
    };
    if (is_near(domain.start())) return domain.start();
    if (is_near(domain.end())) return domain.end();
    const auto found = std::ranges::find_if(breaks, is_near);
    return found == breaks.end() ? t : *found;
}

Flatness FaceMetric::bends_over(const ERMinimax2D& box) {
    return flatness_(inside(u_, box.xmin, box.xmax), inside(v_, box.ymin, box.ymax));
}

FaceMetric::Region& FaceMetric::region_of(const ERPoint2D& middle) {
    const int i = interval_of(ends_u_, middle.x()), j = interval_of(ends_v_, middle.y());
    const auto a = static_cast<std::size_t>(i), b = static_cast<std::size_t>(j);
    Region& region = regions_[b * (ends_u_.size() - 1) + a];
    if (region.cells.empty()) {
        region.u = {ends_u_[a], ends_u_[a + 1]};
        region.v = {ends_v_[b], ends_v_[b + 1]};
        region.cells.resize(cells_along * cells_along, Flatness{-1.0, 0.0, 0.0});
    }
    return region;
}

double FaceMetric::deviation(const ERPoint2D& a, const ERPoint2D& b) {
    const ERMinimax2D box(a, b);
    const double du = box.xmax - box.xmin, dv = box.ymax - box.ymin;
    const SurfaceKind kind = surface().kind();
    const bool costs = kind == SurfaceKind::patches || kind == SurfaceKind::revolution ||
                       kind == SurfaceKind::offset;
    Region& region = region_of(milieu(a, b));
    const auto cell_of = [](const ERLimites& limits, double t) {
        const double part = (t - limits.start()) / limits.amplitude();
        return std::clamp(static_cast<int>(part * cells_along), 0, cells_along - 1);
    };
    const int i0 = cell_of(region.u, box.xmin), i1 = cell_of(region.u, box.xmax);
    const int j0 = cell_of(region.v, box.ymin), j1 = cell_of(region.v, box.ymax);
    constexpr int most_cells = 4;
    if (!costs || (i1 - i0 + 1) * (j1 - j0 + 1) > most_cells)
        return bends_over(box).deviation(du, dv);
    double farthest = 0.0;
    for (int j = j0; j <= j1; ++j)
        for (int i = i0; i <= i1; ++i) {
            Flatness& cell = region.cells[static_cast<std::size_t>(j * cells_along + i)];
            const auto part = [](const ERLimites& limits, int k) {
                return limits(ERLimites(double(k) / cells_along, (k + 1.0) / cells_along));
            };
            if (cell.uu < 0.0) cell = flatness_(part(region.u, i), part(region.v, j));
            farthest = std::max(farthest, cell.deviation(du, dv));
        }
    return farthest;
}

} // namespace velm::detail
