// velm::detail::ChainEndIndex: the ends of chains by their position.
#pragma once

#include "velm/frame/point.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velm::detail {

/// Finds chains with an end near a point; a chain is known by its place in the caller's list.
///
/// The plane is divided into square cells, and an end is stored in a hash table under the mark of
/// its cell. Far out, where neighbouring doubles are farther apart than ends that meet, each
/// coordinate has its own cell.
class ChainEndIndex {
public:
    using Place = std::uint32_t;

    /// `tolerance` is that of the queries; `ends` is the number expected at first.
    ChainEndIndex(double tolerance, std::size_t ends);

    /// Infinite or NaN ends are near nothing, and with a tolerance of 0 no end is near another.
    void add(const ERPoint2D& end, Place place);
    /// Removes an end that was added with the same arguments.
    void remove(const ERPoint2D& end, Place place);
    /// Appends the places, from `from` on, of all ends nearer to p than the tolerance by
    /// `distance2`, and of some others; a place may be appended more than once.
    void find(const ERPoint2D& p, Place from, std::vector<Place>& found) const;

private:
    /// Cells far from each other may have the same mark.
    using Mark = std::uint32_t;
    struct Entry {
        Mark mark;
        Place place;
    };
    static constexpr Place none = ~Place{0};

    /// Cells beside each other on an axis.
    struct Cells {
        std::int64_t first, last;
    };

    bool can_be_near(const ERPoint2D& p) const;
    std::int64_t cell_of(double coordinate) const;
    Cells cells_around(double coordinate) const;
    static Mark mark_of(std::int64_t column, std::int64_t row);
    Mark mark_of(const ERPoint2D& p) const;
    std::size_t home_of(Mark mark) const { return mark >> shift_; }
    std::size_t behind(std::size_t at) const { return (at + 1) & (table_.size() - 1); }
    void put(Entry entry);
    void resize(int bits);

    double reach_; // 0 if nothing comes near
    double cells_per_unit_;
    std::size_t used_ = 0;
    int shift_ = 0;            // the table has 2 to the power of 32 - shift_ entries
    std::vector<Entry> table_; // an entry is at its home or after it, with no gap between
};

} // namespace velm::detail
