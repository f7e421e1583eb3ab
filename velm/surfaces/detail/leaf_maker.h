// velm::detail::LeafMaker: makes a part of a patch a leaf: a polynomial about its own centre in the
// power form, with its box and the bounds of its second derivatives.
#pragma once

#include "velm/numerics/detail/double_double.h"
#include "velm/surfaces/detail/surface_leaves.h"

#include <vector>

namespace velm::detail {

class LeafMaker {
public:
    /// For patches of these degrees. A leaf no larger than a small part of `size`, that of the
    /// surface, is always good. Power forms up to the degree `plain` are computed in doubles, of
    /// higher ones in pairs.
    LeafMaker(int p, int q, bool rational, double size, int plain);

    /// Of weighted poles that count from `origin`, local; the surface is within `error` of them.
    /// Fills what follows from the poles alone.
    void make(const std::vector<double>& poles, const double* origin, double error,
              SurfaceLeaf& leaf, OrientedBox& box);

    // Of the last leaf:
    const std::vector<double>& coefs() const { return coefs_; }
    /// Whether it is small enough; else whether its halves along u are better than those along v.
    bool is_good() const { return good_; }
    bool cuts_u() const { return cut_u_; }

private:
    const double* corner(int i, int j) const;
    void enclose(double error, OrientedBox& box);
    void judge(SurfaceLeaf& leaf, const OrientedBox& box);
    QuadraticPart weighted(std::size_t component);

    const int p_, q_;
    const bool rational_;
    const double size_;
    const int plain_;
    const std::vector<DoubleDouble> power_u_, power_v_;
    const std::size_t count_;
    std::vector<double> poles_, coefs_, product_, points_, unit_;
    bool good_ = false, cut_u_ = false;
};

} // namespace velm::detail
