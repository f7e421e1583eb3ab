// velm::detail::polish_lone_root, resolve_cluster: from an interval that holds roots to their value
// and enclosure.
#pragma once

#include "velm/numerics/detail/local_polynomial.h"
#include "velm/numerics/detail/root_isolation.h"
#include "velm/numerics/real_roots.h"

namespace velm::detail {

/// Whether p is surely not within the noise at x.
bool clear_of_zero(const LocalPolynomial& p, double x, double uncertainty);

/// Sets `root` to the root of p in an interval that holds just this one.
void polish_lone_root(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                      RealRoot& root);

/// How many roots the polynomials within the uncertainty have in a cluster.
enum class Cluster {
    empty,      ///< no root
    perhaps,    ///< some of them have roots, perhaps not all
    surely_one, ///< each of them has at least one root
};

/// Sets `root` to the roots of a cluster, unless it is empty. `spare` is p's degree less the roots
/// that are surely elsewhere, and less a root that is surely in this cluster. `derivative` has room
/// for p's derivatives, `room` for five times p's coefficients.
Cluster resolve_cluster(const LocalPolynomial& p, const RootInterval& interval, double uncertainty,
                        int spare, LocalPolynomial& derivative, double* room, RealRoot& root);

} // namespace velm::detail
