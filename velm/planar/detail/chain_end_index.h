// velm::detail::ChainEndIndex: the ends of chains by their place.
#pragma once

#include "velm/frame/point.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace velm::detail {

/// Finds chains with an end near a point, by numbers that the caller gives them.
class ChainEndIndex {
public:
    using Number = std::uint64_t;

    /// `tolerance` is that of the questions.
    explicit ChainEndIndex(double tolerance);

    /// Whether the index can answer for p; not once a point lay so far out that cells can't be
    /// counted.
    bool covers(const ERPoint2D& p) { return serves_ && (!is_finite(p) || holds(p)); }

    /// Ends that are infinite or NaN come near to nothing.
    void add(const ERPoint2D& end, Number number);
    /// Takes an end out that was added so.
    void remove(const ERPoint2D& end, Number number);
    /// Appends the numbers above `above` of all ends that `distance2` places nearer to p than the
    /// tolerance, and of some others.
    void find(const ERPoint2D& p, Number above, std::vector<Number>& found);

private:
    struct Cell {
        double column, row; // whole numbers
        bool operator==(const Cell&) const = default;
    };
    struct CellHash {
        std::size_t operator()(const Cell& cell) const;
    };
    static bool is_finite(const ERPoint2D& p);
    bool holds(const ERPoint2D& p);
    Cell cell_of(const ERPoint2D& p) const;

    double reach_;
    double cell_size_;
    bool serves_ = true;
    std::unordered_map<Cell, std::vector<Number>, CellHash> cells_;
};

} // namespace velm::detail
