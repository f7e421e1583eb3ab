#include "velm/planar/detail/exact_turn.h"

#include "velm/numerics/detail/double_double.h"

#include <iterator>

namespace velm::detail {

// The exact sign of a x b + b x c + c x a, twice the area of the triangle: its six products, of
// two doubles each, are added one by one to an expansion with nonoverlapping terms of increasing
// size (Shewchuk 1997, Grow-Expansion), so that the last nonzero term has the sign of the sum.
int turn_by_expansion(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& c) {
    const DoubleDouble products[] = {two_product(a.x(), b.y()), two_product(-a.y(), b.x()),
                                     two_product(b.x(), c.y()), two_product(-b.y(), c.x()),
                                     two_product(c.x(), a.y()), two_product(-c.y(), a.x())};
    double terms[2 * std::size(products)];
    int count = 0;
    const auto add = [&](double x) {
        for (int i = 0; i < count; ++i) {
            const DoubleDouble sum = two_sum(x, terms[i]);
            x = sum.hi;
            terms[i] = sum.lo;
        }
        terms[count++] = x;
    };
    for (const DoubleDouble& product : products) {
        add(product.lo);
        add(product.hi);
    }
    while (count > 0 && terms[count - 1] == 0.0)
        --count;
    return count == 0 ? 0 : terms[count - 1] > 0.0 ? 1 : -1;
}

} // namespace velm::detail
