// velm::detail::RegionRaster: cells of the plane that no edge of a region comes near, with the
// common value of their points.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/point.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace velm::detail {

/// A cell is known when no edge comes within `margin` of it. Every point of it then lies the same
/// way to every contour, by the rules of `Inside` too, and a box within known cells meets no edge
/// by those of `SutherCohen`:
/// - the edge tolerance of `Inside`, 1e-10 on products, reaches 2.3e-5 from an edge at most;
/// - rounding, in those rules and of the cells' borders, displaces a point or an edge by less than
///   some 10 roundings of the largest coordinate; `margin` holds some thousand.
/// Coordinates beyond 1e11, where the ray of `Inside` comes to its end, and differences of
/// coordinates below 1e-100, whose products may vanish, make no raster.
///
/// Reading is safe in several threads.
class RegionRaster {
public:
    static constexpr double largest_coordinate = 1e11;

    /// The value of a cell: 0 if it is not known, else the caller's value.
    using Value = std::uint8_t;

    /// Covers `box`; `whole` is the box of all `vertices` that will be marked.
    RegionRaster(const ERMinimax2D& box, const ERMinimax2D& whole, std::size_t vertices);

    /// Whether there is a raster: everything is in range, and cells are wider than the margin.
    bool exists() const { return size_ > 0; }
    /// Marks the cells near the edges of a closed contour as not known.
    void mark(std::span<const ERPoint2D> vertices);
    /// Sets the value of all other cells: classify(p) of one point of each run of them.
    template <class Classify>
    void fill(Classify classify) {
        for (int row = 0; row < size_; ++row) {
            for (int column = 0; column < size_; ++column) {
                if (at(column, row) == unknown) continue;
                const bool continues = column > 0 && at(column - 1, row) != unknown;
                at(column, row) = continues ? at(column - 1, row) : classify(centre(column, row));
            }
        }
    }

    /// How far from an edge, measured along x, a point is clear of it by the above; infinite
    /// without a raster.
    double margin() const { return exists() ? margin_ : std::numeric_limits<double>::infinity(); }

    /// The value of the cell under p, 0 outside the raster.
    Value value(const ERPoint2D& p) const {
        // One branch that is almost always predicted.
        const int is_within = int{p.x() >= box_.xmin} & (p.x() <= box_.xmax) &
                              (p.y() >= box_.ymin) & (p.y() <= box_.ymax);
        if (!is_within) return unknown;
        return cells_[index(column_of(p.x()), row_of(p.y()))];
    }
    /// The value of the cell under the box's low corner, if all cells under the box are known, else
    /// 0. Boxes over many cells count as not known.
    Value common_value(const ERMinimax2D& box) const;

private:
    static constexpr Value unknown = 0;
    static constexpr Value not_filled = 1;

    int column_of(double x) const { return cell_of((x - box_.xmin) * columns_per_unit_); }
    int row_of(double y) const { return cell_of((y - box_.ymin) * rows_per_unit_); }
    int cell_of(double place) const {
        return place >= size_ ? size_ - 1 : place > 0.0 ? static_cast<int>(place) : 0;
    }
    std::size_t index(int column, int row) const {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(size_) +
               static_cast<std::size_t>(column);
    }
    Value& at(int column, int row) { return cells_[index(column, row)]; }
    ERPoint2D centre(int column, int row) const {
        return {box_.xmin + (column + 0.5) * (box_.xlength() / size_),
                box_.ymin + (row + 0.5) * (box_.ylength() / size_)};
    }
    void give_up();
    void mark_edge(const ERPoint2D& a, const ERPoint2D& b);

    ERMinimax2D box_;
    int size_ = 0; // cells per side
    double columns_per_unit_ = 0.0;
    double rows_per_unit_ = 0.0;
    double margin_ = 0.0;
    std::vector<Value> cells_; // row by row
};

} // namespace velm::detail
