// velm::detail::PairZeros: all common zeros of two polynomials of two variables in a square.
#pragma once

#include <array>
#include <cstddef>

namespace velm::detail {

/// A common zero, or what may hold some.
struct PairZero {
    double x[2];     ///< in [-1, 1]
    double reach[2]; ///< zeros are within this of x
    /// Whether one zero, and only one, was shown to be there. If not, the polynomials are parallel
    /// there, as where a line touches a surface.
    bool simple;
    bool line = false; ///< not simple: the polynomials are the same there, but for rounding
};

/// The polynomials are the first two components of a grid of coefficients as leaves have them.
///
/// Multiplied by the inverse of their derivatives in the middle of a part they are x + value +
/// rest: zeros have |x + value| <= |rest|, which leaves a part out or makes it smaller. Where the
/// derivatives of the rest are less than 1/2 there is at most one zero (Neumaier, Interval Methods
/// for Systems of Equations, 1990, chapter 5), found by Newton's method. Parts that neither decides
/// are halved, down to 2^-22 of the square or until the polynomials are multiples of each other but
/// for rounding; those left are joined and reported as not simple.
class PairZeros {
public:
    static constexpr int most = 64;

    /// `error` bounds the rounding of values. `part` has room for a grid.
    void find(const double* coefs, int p, int q, double error, double* part);

    void clear() { count_ = 0; }
    int count() const { return count_; }
    const PairZero& operator[](int i) const { return zeros_[static_cast<std::size_t>(i)]; }

private:
    struct Part {
        double middle[2], half[2];
    };
    enum class Verdict { none, one, smaller, open };

    Verdict judge(const double* coefs, int p, int q, double error, double* zero, double* low,
                  double* high) const;
    void simple(const Part& part, const double* zero);
    void join(const Part& part, bool line);

    std::array<PairZero, most> zeros_;
    int count_ = 0;
};

} // namespace velm::detail
