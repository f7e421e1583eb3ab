#include "velm/planar/detail/region_raster.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

namespace {

constexpr double least_difference = 1e-100;    // products of two stay above underflow
constexpr double edge_tolerance_reach = 3e-5;  // above the 2.3e-5 of the header
constexpr double margin_per_magnitude = 1e-12; // some thousand roundings, see the header

// Per side; 512 x 512 cells of a byte are 256 KiB.
constexpr int fewest_cells = 64;
constexpr int most_cells = 512;
constexpr double most_cells_under_box = 256.0;

// A power of two, about eight times the side of a square with as many cells as vertices.
int cells_for(std::size_t vertices) {
    const double wanted = 8.0 * std::sqrt(static_cast<double>(vertices));
    int cells = fewest_cells;
    while (cells < wanted && cells < most_cells)
        cells *= 2;
    return cells;
}

bool in_range(double a, double b) {
    constexpr double largest_coordinate = RegionRaster::largest_coordinate;
    const double difference = std::fabs(b - a);
    return std::fabs(a) <= largest_coordinate && std::fabs(b) <= largest_coordinate &&
           (difference == 0.0 || difference >= least_difference);
}

} // namespace

RegionRaster::RegionRaster(const ERMinimax2D& box, const ERMinimax2D& whole, std::size_t vertices)
    : box_(box) {
    const double magnitude = std::max({std::fabs(whole.xmin), std::fabs(whole.xmax),
                                       std::fabs(whole.ymin), std::fabs(whole.ymax)});
    const int size = cells_for(vertices);
    margin_ = edge_tolerance_reach + margin_per_magnitude * magnitude;
    const double narrowest = std::min(box.xlength(), box.ylength()) / size;
    if (!(magnitude <= largest_coordinate && narrowest > 4.0 * margin_)) {
        give_up();
        return;
    }
    size_ = size;
    columns_per_unit_ = size / box.xlength();
    rows_per_unit_ = size / box.ylength();
    cells_.assign(static_cast<std::size_t>(size) * static_cast<std::size_t>(size), not_filled);
}

void RegionRaster::give_up() {
    size_ = 0;
    box_.Reset();
}

void RegionRaster::mark(std::span<const ERPoint2D> vertices) {
    for (std::size_t i = 0; i < vertices.size() && exists(); ++i) {
        const ERPoint2D& a = vertices[i];
        const ERPoint2D& b = vertices[i + 1 < vertices.size() ? i + 1 : 0];
        if (in_range(a.x(), b.x()) && in_range(a.y(), b.y()))
            mark_edge(a, b);
        else
            give_up();
    }
}

void RegionRaster::mark_edge(const ERPoint2D& a, const ERPoint2D& b) {
    const ERMinimax2D edge(a, b);
    ERMinimax2D reach = edge;
    reach.Inflate(margin_);
    if (reach | box_) return;
    const double slope = edge.ylength() > 0.0 ? (b.x() - a.x()) / (b.y() - a.y()) : 0.0;
    const double height = box_.ylength() / size_;
    const int last = row_of(reach.ymax);
    for (int row = row_of(reach.ymin); row <= last; ++row) {
        // The part of the edge within the margin of this row.
        const double low = box_.ymin + row * height - 2.0 * margin_;
        const double high = low + height + 4.0 * margin_;
        double from = edge.xmin, to = edge.xmax;
        if (edge.ylength() > height) {
            const double x_low = a.x() + (std::max(low, edge.ymin) - a.y()) * slope;
            const double x_high = a.x() + (std::min(high, edge.ymax) - a.y()) * slope;
            from = std::max(from, std::min(x_low, x_high));
            to = std::min(to, std::max(x_low, x_high));
        }
        const int end = column_of(to + 2.0 * margin_);
        for (int column = column_of(from - 2.0 * margin_); column <= end; ++column)
            at(column, row) = unknown;
    }
}

RegionRaster::Value RegionRaster::common_value(const ERMinimax2D& box) const {
    if (!(box_.contains(box.MinPoint()) && box_.contains(box.MaxPoint()))) return unknown;
    const int left = column_of(box.xmin), right = column_of(box.xmax);
    const int bottom = row_of(box.ymin), top = row_of(box.ymax);
    if (left > right || bottom > top) return unknown; // a box turned inside out
    if ((right - left + 1.0) * (top - bottom + 1.0) > most_cells_under_box) return unknown;
    for (int row = bottom; row <= top; ++row) {
        for (int column = left; column <= right; ++column) {
            if (cells_[index(column, row)] == unknown) return unknown;
        }
    }
    return cells_[index(left, bottom)];
}

} // namespace velm::detail
