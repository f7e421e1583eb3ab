// velm::detail::ChainEndIndex: the ends of chains by where they lie.
#pragma once

#include "velm/frame/point.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace velm::detail {

/// Finds chains with an end near a point, by places in a list that the caller gives them.
///
/// The plane is cut to square cells, and an end stands in a flat table under the mark of its cell.
/// Far out, where neighbouring doubles are farther apart than ends that meet, each coordinate is a
/// cell of its own.
class ChainEndIndex {
public:
    using Place = std::uint32_t;

    /// `tolerance` is that of the questions; `ends` is how many there will be at first.
    ChainEndIndex(double tolerance, std::size_t ends);

    /// Ends that are infinite or NaN come near to nothing, and none does within no tolerance.
    void add(const ERPoint2D& end, Place place);
    /// Takes an end out that was added so.
    void remove(const ERPoint2D& end, Place place);
    /// Appends the places from `from` on of all ends that `distance2` places nearer to p than the
    /// tolerance, and of some others; a place may come more than once.
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
    std::vector<Entry> table_; // an entry stands at its home or behind, with no gap between
};

} // namespace velm::detail
