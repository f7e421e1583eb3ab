// velm::detail::LeafFeet: all places of one leaf where the distance of a point is stationary.
#pragma once

#include "velm/surfaces/detail/leaf_search.h"
#include "velm/surfaces/detail/pair_zeros.h"

namespace velm::detail {

/// Common zeros of the derivatives of the squared distance, as PairZeros finds them.
class LeafFeet {
public:
    /// Of the leaf `number`; q is local.
    void find(const SurfaceLeaves& leaves, int number, const double* q);

    int count() const { return zeros_.count(); }
    const PairZero& zero(int i) const { return zeros_[i]; }
    LeafPlace place(int i) const;
    /// Whether the squared distance is a minimum at a simple zero, by its second derivatives.
    bool is_minimum(int i) const;

private:
    const SurfaceLeaves* leaves_ = nullptr;
    int number_ = -1;
    double q_[3] = {};
    PairZeros zeros_;
};

} // namespace velm::detail
