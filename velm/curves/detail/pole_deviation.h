// velm::detail::pole_deviation: how far two curves with the same basis functions may differ.
#pragma once

#include "velm/curves/detail/bernstein_rows.h"

namespace velm::detail {

/// A bound of the distance of the curves of two rows of as many poles, at each parameter: basis
/// functions are positive and sum up to 1, so no difference of points is greater than that of
/// poles. `size` is the dimension, the number of components before a weight; `terms` is the number
/// of poles that a point is the sum of, each with its rounding. A difference of weights counts with
/// the reach of the second curve about the middle of the first one's poles, over the least weight.
/// Infinite where a weight isn't positive.
VELM_API double pole_deviation(ConstPoleRow p, ConstPoleRow q, int size, int terms);

} // namespace velm::detail
