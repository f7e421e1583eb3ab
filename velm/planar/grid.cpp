#include "velm/planar/grid.h"

#include <algorithm>
#include <cassert>

namespace {

// The index, among `count` cells of `size`, of the cell that holds a coordinate in [low, high].
int index_on_axis(double x, double low, double high, double size, int count) {
    const double place = (x - low) / size;
    // Cells of size 0 give a NaN, which counts as 0.
    int i = place >= count + 2 ? count + 2 : place > 0.0 ? static_cast<int>(place) : 0;
    if (i == count) i = count - 1;
    // The division may have rounded across a border.
    if (low + i * size > x)
        --i;
    else if (x > std::min(low + (i + 1) * size, high))
        ++i;
    return std::min(i, count - 1);
}

} // namespace

ERGrid2D::ERGrid2D(int columns, int rows, int cell_bits, ERMinimax2D const& whole)
    : mask(cell_bits == CELL_VALUE_BIT_SIZE ? ~0u : (1u << cell_bits) - 1u), outsideValue(mask),
      nx(columns), ny(rows), bits(cell_bits), cellsPerWord(CELL_VALUE_BIT_SIZE / bits),
      wordsPerRow((ny - 1) / cellsPerWord + 1), wordCount(wordsPerRow * nx), box(whole),
      xCell((box.xmax - box.xmin) / nx), yCell((box.ymax - box.ymin) / ny) {
    assert(nx > 0 && ny > 0 && bits > 0 && bits <= CELL_VALUE_BIT_SIZE);
    words =
        std::shared_ptr<std::uint32_t[]>(new std::uint32_t[static_cast<std::size_t>(wordCount)]);
    std::fill_n(words.get(), wordCount, ~std::uint32_t{0});
}

// Calls apply(word, cells, pattern) for the words of a rectangle until it returns false: `cells`
// has the bits of the word's cells in the rectangle, `pattern` the value in each of a word's
// cells.
template <class Apply>
bool ERGrid2D::all_words(int i0, int j0, int i1, int j1, unsigned value, Apply apply) const {
    std::uint32_t pattern = 0;
    for (int cell = 0; cell < cellsPerWord; ++cell)
        pattern |= (value & mask) << cell * bits;
    const int first = j0 / cellsPerWord, last = j1 / cellsPerWord;
    const std::uint32_t from_first = ~std::uint32_t{0} << j0 % cellsPerWord * bits;
    const std::uint32_t to_last =
        ~std::uint32_t{0} >> (CELL_VALUE_BIT_SIZE - (j1 % cellsPerWord + 1) * bits);
    for (int i = i0; i <= i1; ++i) {
        for (int n = first; n <= last; ++n) {
            std::uint32_t cells = ~std::uint32_t{0} >> (CELL_VALUE_BIT_SIZE - cellsPerWord * bits);
            if (n == first) cells &= from_first;
            if (n == last) cells &= to_last;
            if (!apply(words[wordsPerRow * i + n], cells, pattern)) return false;
        }
    }
    return true;
}

void ERGrid2D::set(int i0, int j0, int i1, int j1, unsigned value) {
    all_words(i0, j0, i1, j1, value,
              [](std::uint32_t& word, std::uint32_t cells, std::uint32_t pattern) {
                  word = (word & ~cells) | (pattern & cells);
                  return true;
              });
}

void ERGrid2D::get_cell_dims(int i, int j, ERPoint2D& low, ERPoint2D& high) const {
    low = {box.xmin + i * xCell, box.ymin + j * yCell};
    high = {std::min(box.xmin + (i + 1) * xCell, box.xmax),
            std::min(box.ymin + (j + 1) * yCell, box.ymax)};
}

int ERGrid2D::indices(ERPoint2D const& p, int& i, int& j) const {
    if (!box.contains(p)) return 0;
    i = index_on_axis(p.x(), box.xmin, box.xmax, xCell, nx);
    j = index_on_axis(p.y(), box.ymin, box.ymax, yCell, ny);
    return 1;
}

unsigned ERGrid2D::check_point(ERPoint2D const& p) const {
    int i = 0, j = 0;
    return indices(p, i, j) ? get(i, j) : outsideValue;
}

int ERGrid2D::check_box(ERMinimax2D const& asked, unsigned& value) const {
    if (asked | box) {
        value = outsideValue;
        return 1;
    }
    const ERPoint2D low(std::max(asked.xmin, box.xmin), std::max(asked.ymin, box.ymin));
    const ERPoint2D high(std::min(asked.xmax, box.xmax), std::min(asked.ymax, box.ymax));
    const bool is_cut = !(low == asked.MinPoint() && high == asked.MaxPoint());
    int i0 = 0, j0 = 0, i1 = 0, j1 = 0;
    if (!indices(low, i0, j0) || !indices(high, i1, j1)) return 0;
    value = get(i0, j0);
    if (is_cut && value != outsideValue) return 0;
    return all_words(i0, j0, i1, j1, value,
                     [](std::uint32_t word, std::uint32_t cells, std::uint32_t pattern) {
                         return ((word ^ pattern) & cells) == 0;
                     });
}
