#include "velm/planar/detail/chain_end_index.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace velm::detail {

namespace {

// A computed squared distance below the squared tolerance means a true distance below this reach:
// the factor covers the rounding, the limits cover underflow and overflow of the squares.
constexpr double reach_per_tolerance = 1.001;
constexpr double least_reach = 1e-150;
constexpr double largest_reach = 1.4e154;
constexpr double reaches_in_cell = 16.0;
// Beyond it neighbouring doubles are nearly two reaches apart or more.
constexpr double farthest_cell = 0x1p50;

constexpr int bits_of_mark = 32;
constexpr int fewest_bits = 6;

} // namespace

ChainEndIndex::ChainEndIndex(double tolerance, std::size_t ends)
    : reach_(tolerance * tolerance > 0.0
                 ? std::min(reach_per_tolerance * std::fabs(tolerance) + least_reach, largest_reach)
                 : 0.0),
      cells_per_unit_(1.0 / (reaches_in_cell * reach_)) {
    resize(std::max(fewest_bits, static_cast<int>(std::bit_width(2 * ends))));
}

bool ChainEndIndex::can_be_near(const ERPoint2D& p) const {
    return reach_ > 0.0 && std::isfinite(p.x()) && std::isfinite(p.y());
}

// The coordinate in cells, rounded down; far out the coordinate's bits.
std::int64_t ChainEndIndex::cell_of(double coordinate) const {
    const double place = coordinate * cells_per_unit_;
    if (std::fabs(place) > farthest_cell) return std::bit_cast<std::int64_t>(coordinate);
    const auto towards_zero = static_cast<std::int64_t>(place);
    return towards_zero - (static_cast<double>(towards_zero) > place);
}

// The cells of all coordinates within the reach of one. Rounding is monotone: they are between the
// cells of the outermost two, which are equal or neighbours, except far out, where no other
// coordinate is within the reach.
ChainEndIndex::Cells ChainEndIndex::cells_around(double coordinate) const {
    const std::int64_t first = cell_of(coordinate - reach_), last = cell_of(coordinate + reach_);
    if (first == last || first + 1 == last) return {first, last};
    const std::int64_t own = cell_of(coordinate);
    return {own, own};
}

ChainEndIndex::Mark ChainEndIndex::mark_of(std::int64_t column, std::int64_t row) {
    std::uint64_t mixed = static_cast<std::uint64_t>(column) * 0x9E3779B97F4A7C15u ^
                          std::rotl(static_cast<std::uint64_t>(row) * 0xC2B2AE3D27D4EB4Fu, 31);
    mixed = (mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9u;
    return static_cast<Mark>(mixed >> (64 - bits_of_mark));
}

ChainEndIndex::Mark ChainEndIndex::mark_of(const ERPoint2D& p) const {
    return mark_of(cell_of(p.x()), cell_of(p.y()));
}

void ChainEndIndex::resize(int bits) {
    std::vector<Entry> old(std::size_t{1} << bits, Entry{0, none});
    old.swap(table_);
    shift_ = bits_of_mark - bits;
    for (const Entry& entry : old)
        if (entry.place != none) put(entry);
}

void ChainEndIndex::put(Entry entry) {
    std::size_t at = home_of(entry.mark);
    while (table_[at].place != none)
        at = behind(at);
    table_[at] = entry;
}

void ChainEndIndex::add(const ERPoint2D& end, Place place) {
    if (!can_be_near(end)) return;
    if (2 * ++used_ > table_.size()) resize(bits_of_mark - shift_ + 1);
    put({mark_of(end), place});
}

void ChainEndIndex::remove(const ERPoint2D& end, Place place) {
    if (!can_be_near(end)) return;
    const Mark mark = mark_of(end);
    std::size_t gap = home_of(mark);
    while (table_[gap].place != none && !(table_[gap].mark == mark && table_[gap].place == place))
        gap = behind(gap);
    if (table_[gap].place == none) return;
    --used_;
    // The entries after it move up, as far as their homes allow (Knuth 6.4, algorithm R).
    const std::size_t last = table_.size() - 1;
    for (std::size_t at = behind(gap); table_[at].place != none; at = behind(at)) {
        if (((at - home_of(table_[at].mark)) & last) >= ((at - gap) & last))
            table_[std::exchange(gap, at)] = table_[at];
    }
    table_[gap].place = none;
}

void ChainEndIndex::find(const ERPoint2D& p, Place from, std::vector<Place>& found) const {
    if (!can_be_near(p)) return;
    const Cells columns = cells_around(p.x()), rows = cells_around(p.y());
    for (std::int64_t row = rows.first; row <= rows.last; ++row) {
        for (std::int64_t column = columns.first; column <= columns.last; ++column) {
            const Mark mark = mark_of(column, row);
            for (std::size_t at = home_of(mark); table_[at].place != none; at = behind(at)) {
                if (table_[at].mark == mark && table_[at].place >= from)
                    found.push_back(table_[at].place);
            }
        }
    }
}

} // namespace velm::detail
