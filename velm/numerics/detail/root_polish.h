// velm::detail::polish_lone_root, resolve_cluster: from an interval that holds roots to their value
// and enclosure.
#pragma once

#include "velm/numerics/detail/local_polynomial.h"
#include "velm/numerics/detail/root_isolation.h"
#include "velm/numerics/real_roots.h"

namespace velm::detail {

/// Whether p is surely not within the noise at x.
bool clear_of_zero(const LocalPolynomial& p, double x, double uncertainty);

/// The root of p in an interval at whose ends its sign is that of its lone root.
RealRoot polish_lone_root(const LocalPolynomial& p, const RootInterval& interval,
                          double uncertainty);

/// What a cluster holds. `derivative` and `piece` are room of p's size to work in.
RealRoot resolve_cluster(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                         LocalPolynomial& derivative, BernsteinPiece& piece);

} // namespace velm::detail
