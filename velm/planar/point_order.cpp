#include "velm/planar/detail/point_order.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>

namespace {

constexpr auto before = [](const ERPoint2D& a, const ERPoint2D& b) {
    return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
};
// The same order with NaNs, which come after all numbers.
bool less(double a, double b) { return a < b || (std::isnan(b) && !std::isnan(a)); }
constexpr auto before_with_nan = [](const ERPoint2D& a, const ERPoint2D& b) {
    return less(a.x(), b.x()) || (!less(b.x(), a.x()) && less(a.y(), b.y()));
};

// The place of an abscissa in the extent, in two digits: a monotone function of x.
class Places {
public:
    static constexpr unsigned int most_digit_bits = 11;

    Places(double least, double greatest, std::size_t points)
        : digit_bits_(points < 10000 ? 8 : most_digit_bits), least_(least),
          scale_((digit_values() * digit_values() - 1) / (greatest - least)) {}

    // Whether the abscissae differ, by a finite extent.
    bool are_defined() const {
        return scale_ > 0.0 && scale_ < std::numeric_limits<double>::infinity();
    }
    std::uint32_t of(const ERPoint2D& p) const {
        return static_cast<std::uint32_t>((p.x() - least_) * scale_);
    }
    std::uint32_t low_digit(const ERPoint2D& p) const { return of(p) & (digit_values() - 1); }
    std::uint32_t high_digit(const ERPoint2D& p) const { return of(p) >> digit_bits_; }
    std::uint32_t digit_values() const { return 1u << digit_bits_; }

private:
    unsigned int digit_bits_;
    double least_;
    double scale_;
};

// Distributes the points by one digit, keeping the order of equal ones.
template <class Digit>
void distribute(std::span<const ERPoint2D> from, std::span<ERPoint2D> to,
                std::uint32_t digit_values, Digit digit) {
    std::array<std::uint32_t, 1u << Places::most_digit_bits> starts;
    std::fill_n(starts.begin(), digit_values, 0);
    for (const ERPoint2D& p : from)
        ++starts[digit(p)];
    std::uint32_t start = 0;
    for (std::uint32_t i = 0; i < digit_values; ++i)
        starts[i] = std::exchange(start, start + starts[i]);
    for (const ERPoint2D& p : from)
        to[starts[digit(p)]++] = p;
}

// Distributes by place, then sorts the points that share one, in the same way for up to `rounds`
// rounds.
void sort_finite(std::span<ERPoint2D> points, std::span<ERPoint2D> scratch, int rounds) {
    constexpr std::size_t worth_distributing = 128;
    if (points.size() < worth_distributing || rounds == 0) {
        std::sort(points.begin(), points.end(), before);
        return;
    }
    const auto [least, greatest] =
        std::minmax_element(points.begin(), points.end(),
                            [](const ERPoint2D& a, const ERPoint2D& b) { return a.x() < b.x(); });
    const Places places(least->x(), greatest->x(), points.size());
    if (!places.are_defined()) {
        std::sort(points.begin(), points.end(), before);
        return;
    }
    distribute(points, scratch, places.digit_values(),
               [&](const ERPoint2D& p) { return places.low_digit(p); });
    distribute(scratch, points, places.digit_values(),
               [&](const ERPoint2D& p) { return places.high_digit(p); });
    for (std::size_t start = 0, end; start < points.size(); start = end) {
        const std::uint32_t place = places.of(points[start]);
        end = start + 1;
        while (end < points.size() && places.of(points[end]) == place)
            ++end;
        const std::size_t n = end - start;
        if (n > 1) sort_finite(points.subspan(start, n), scratch.subspan(start, n), rounds - 1);
    }
}

} // namespace

velm::detail::Extent::Extent(std::span<const ERPoint2D> points)
    : xmin(points[0].x()), xmax(xmin), ymin(points[0].y()), ymax(ymin), finite(true) {
    for (const ERPoint2D& p : points) {
        xmin = std::min(xmin, p.x());
        xmax = std::max(xmax, p.x());
        ymin = std::min(ymin, p.y());
        ymax = std::max(ymax, p.y());
        finite &= std::isfinite(p.x()) & std::isfinite(p.y());
    }
}

void velm::detail::sort_by_x_then_y(std::vector<ERPoint2D>& points, std::vector<ERPoint2D>& scratch,
                                    const Extent& extent) {
    constexpr int rounds = 3; // clusters and outliers need another round
    if (extent.finite)
        sort_finite(points, scratch, rounds);
    else
        std::sort(points.begin(), points.end(), before_with_nan);
}
