// ERGrid2D: a raster over a box, with cells of a few bits.
#pragma once

#include "velm/export.h"
#include "velm/frame/box.h"
#include "velm/frame/point.h"

#include <cstdint>
#include <memory>

/// `nx` by `ny` cells of `bits` bits, 1 to 32, packed into words of 32 bits: one row of words per
/// i, with the cells of ascending j in it from the low bits up. Cells start with all bits set.
/// Copies share their cells, which is part of the contract.
///
/// The owner makes sure that indices are in range and lower bounds don't exceed upper ones.
class VELM_API ERGrid2D {
public:
    static constexpr int CELL_VALUE_BIT_SIZE = 32;

    ERGrid2D(int nx, int ny, int bits, ERMinimax2D const& box);
    ERGrid2D(const ERGrid2D&) = default;
    ERGrid2D& operator=(const ERGrid2D&) = default;
    virtual ~ERGrid2D() = default;

    unsigned get(int i, int j) const {
        int word = 0, bit = 0;
        bits_position(i, j, word, bit);
        return words[word] >> bit & mask;
    }
    /// Bits of the value beyond the cell's bits are cut off.
    void set(int i, int j, unsigned value) { set(i, j, i, j, value); }
    /// All cells of a rectangle, bounds included.
    void set(int i0, int j0, int i1, int j1, unsigned value);
    /// The value of everything outside the box (default: all bits set).
    void set_outside_value(unsigned value) { outsideValue = value; }

    void bits_position(int i, int j, int& word, int& bit) const {
        word = wordsPerRow * i + j / cellsPerWord;
        bit = j % cellsPerWord * bits;
    }
    /// The corners of a cell; the high one does not leave the box.
    void get_cell_dims(int i, int j, ERPoint2D& low, ERPoint2D& high) const;
    /// The cell that holds p: 1, or 0 with i and j unchanged for p outside the box. Borders belong
    /// to the box; a point on a border between cells may belong to either.
    int indices(ERPoint2D const& p, int& i, int& j) const;
    /// The value of the cell that holds p, or the outside value.
    unsigned check_point(ERPoint2D const& p) const;
    /// 1 if all cells under the box share one value, which is set. A box outside the grid's has the
    /// outside value; one that extends beyond it gives 0 unless its low cell has the outside value,
    /// too. If the result is 0, `value` is undefined.
    int check_box(ERMinimax2D const& box, unsigned& value) const;

    const ERMinimax2D& getBox() const { return box; }

protected:
    unsigned mask;
    unsigned outsideValue;
    int nx, ny;
    int bits;
    int cellsPerWord;
    int wordsPerRow;
    std::shared_ptr<std::uint32_t[]> words;
    int wordCount;
    ERMinimax2D box;
    double xCell, yCell;

private:
    template <class Apply>
    bool all_words(int i0, int j0, int i1, int j1, unsigned value, Apply apply) const;
};
