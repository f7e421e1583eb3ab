// velm::detail::compare_ends: how the ends of two pieces meet.
#pragma once

#include "velm/frame/point_functions.h"
#include "velm/planar/chainer_segment.h"

namespace velm::detail {

/// See ERChainerSeg2D::compareWith, of a chainable piece. Both have `first` and `last`.
/// `exceeds(d)` returns whether d exceeds the lengths of both pieces; it is called only if that
/// decides.
template <class Ends, class Exceeds>
SegCompState compare_ends(const Ends& a, const Ends& b, double tol, Exceeds exceeds) {
    const double limit = tol * tol;
    const double ff = distance2(a.first, b.first), fl = distance2(a.first, b.last);
    const double lf = distance2(a.last, b.first), ll = distance2(a.last, b.last);
    if ((ff < limit && fl < limit) || (lf < limit && ll < limit)) return SEGCOMP_REFUSED;
    if (ff < limit && !(ff > fl) && ff < lf && exceeds(ll)) return SEGCOMP_FIRST_FIRST;
    if (fl < limit && !(fl > ff) && fl < lf && fl < ll) return SEGCOMP_FIRST_LAST;
    if (lf < limit && !(lf > ll)) return SEGCOMP_LAST_FIRST;
    if (ll < limit && !(ll > lf)) return SEGCOMP_LAST_LAST;
    return SEGCOMP_APART;
}

} // namespace velm::detail
