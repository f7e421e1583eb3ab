#include "velm/planar/detail/chain_end_index.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace velm::detail {

namespace {

// A squared distance below the squared tolerance is one below this reach, rounding and underflow
// included.
constexpr double reach_per_tolerance = 1.001;
constexpr double least_reach = 1e-150;
constexpr double reaches_in_cell = 4.0;
constexpr double farthest_cell = 0x1p50; // where neighbouring whole numbers are doubles

} // namespace

ChainEndIndex::ChainEndIndex(double tolerance)
    : reach_(reach_per_tolerance * std::fabs(tolerance) + least_reach),
      cell_size_(reaches_in_cell * reach_), serves_(std::isfinite(cell_size_)) {}

std::size_t ChainEndIndex::CellHash::operator()(const Cell& cell) const {
    // Adding zero makes one of both zeros.
    const auto column = std::bit_cast<std::uint64_t>(cell.column + 0.0);
    const auto row = std::bit_cast<std::uint64_t>(cell.row + 0.0);
    std::uint64_t mixed = column * 0x9E3779B97F4A7C15u ^ std::rotl(row * 0xC2B2AE3D27D4EB4Fu, 31);
    mixed = (mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9u;
    return static_cast<std::size_t>(mixed ^ (mixed >> 32));
}

ChainEndIndex::Cell ChainEndIndex::cell_of(const ERPoint2D& p) const {
    return {std::floor(p.x() / cell_size_), std::floor(p.y() / cell_size_)};
}

bool ChainEndIndex::is_finite(const ERPoint2D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y());
}

/// Whether p has a cell.
bool ChainEndIndex::holds(const ERPoint2D& p) {
    if (!is_finite(p)) return false;
    const Cell cell = cell_of(p);
    if (std::max(std::fabs(cell.column), std::fabs(cell.row)) > farthest_cell) serves_ = false;
    return serves_;
}

void ChainEndIndex::add(const ERPoint2D& end, Number number) {
    if (holds(end)) cells_[cell_of(end)].push_back(number);
}

void ChainEndIndex::remove(const ERPoint2D& end, Number number) {
    if (!holds(end)) return;
    const auto cell = cells_.find(cell_of(end));
    if (cell == cells_.end()) return;
    std::vector<Number>& numbers = cell->second;
    const auto place = std::find(numbers.begin(), numbers.end(), number);
    if (place != numbers.end()) numbers.erase(place);
    if (numbers.empty()) cells_.erase(cell);
}

// Rounding is monotone: an end within the reach has its cell within the cells of the corners.
void ChainEndIndex::find(const ERPoint2D& p, Number above, std::vector<Number>& found) {
    if (!holds(p)) return;
    const Cell low = cell_of({p.x() - reach_, p.y() - reach_});
    const Cell high = cell_of({p.x() + reach_, p.y() + reach_});
    for (double row = low.row; row <= high.row; ++row) {
        for (double column = low.column; column <= high.column; ++column) {
            const auto cell = cells_.find({column, row});
            if (cell == cells_.end()) continue;
            std::copy_if(cell->second.begin(), cell->second.end(), std::back_inserter(found),
                         [above](Number number) { return number > above; });
        }
    }
}

} // namespace velm::detail
