// velm::detail::OffsetFit: a polynomial that replaces the offset of a Bezier patch, with a proved
// bound of its distance from it.
#pragma once

#include "velm/surfaces/detail/bernstein_net.h"

#include <vector>

namespace velm::detail {

/// The offset X + d n of a patch X with the unit normal n is algebraic: no polynomial. P is the one
/// that has its points at Chebyshev's nodes. With D = P - X, the products D . Xu, D . Xv and D . D
/// - d^2 would vanish if D were d n. They are polynomials over powers of the weight, so that values
/// at enough places bound them: with alpha and beta bounds of |D . Xu| / |Xu| and of |D . Xv| /
/// |Xv|, c of the cosine between Xu and Xv, gamma of |D . D - d^2|, the part of D in the tangent
/// plane is at most tau = sqrt((alpha^2 + beta^2) / (1 - c)), and its part along n, the square of
/// which is between d^2 - gamma - tau^2 and d^2 + gamma, within (gamma + tau^2) / |d| of d.
///
/// A row of poles that is one point has Xu = 0; there Xu / v, a polynomial too, takes its place.
class OffsetFit {
public:
    static constexpr int degree = 9;

    /// Of patches of the degrees p and q.
    OffsetFit(int p, int q, bool rational, double offset);

    /// `poles` are weighted, the offset is along Xu ^ Xv. A bound is only looked for where the last
    /// coefficients show that it may be below `wanted`.
    void fit(const double* poles, double wanted);

    /// Where the pole is, as a number of doubles, that poles should count from: one of the shortest
    /// side, which may be a point, since normals beside it depend on small differences.
    static int origin_pole(const double* poles, int p, int q);

    /// Weighted poles of P, with the weight 1.
    const std::vector<double>& poles() const { return fitted_; }
    /// No point of P is further from the point of the offset with its parameter.
    double error() const { return error_; }
    /// Whether most of the error is that of the arithmetic, which only shorter parts have less of.
    bool is_rounding() const { return error_ < 4.0 * rounding_; }
    /// Whether halves along u are expected to fit better than those along v.
    bool rougher_along_u() const { return roughness_[0] >= roughness_[1]; }

private:
    struct Basis {
        explicit Basis(int n);
        std::vector<double> value, slope; ///< at each node n + 1 of them
    };
    void interpolate(const double* poles);
    double proved_error(const double* poles);
    static int samples_for(int p, bool rational);
    const double* functions(int p);
    template <int width>
    std::vector<double> sampled(const BernsteinNet& net);
    BernsteinNet tangent(const BernsteinNet& points, const BernsteinNet& weights,
                         const double* poles, bool along_u) const;

    const int p_, q_;
    const bool rational_;
    const double offset_;
    const int samples_;
    const Basis in_u_, in_v_;
    std::vector<std::vector<double>> functions_; ///< Bernstein's of each degree at all samples
    std::vector<double> to_bernstein_;           ///< from values at the nodes
    std::vector<double> fitted_;
    double error_ = 0.0, rounding_ = 0.0;
    double roughness_[2] = {};
};

} // namespace velm::detail
