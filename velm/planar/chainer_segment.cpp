#include "velm/planar/chainer_segment.h"

#include "velm/planar/detail/compare_ends.h"

#include <ostream>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERChainerSeg2D, ERObject)

double ERChainerSeg2D::length() const { return distance(getExt1(), getExt2()); }

SegCompState ERChainerSeg2D::compareWith(ERChainerSeg2D const* other, double tol) const {
    struct Ends {
        ERPoint2D first, last;
    };
    if (!isChainable()) return SEGCOMP_APART;
    return velm::detail::compare_ends(Ends{first(), last()}, Ends{other->first(), other->last()},
                                      tol, [&](double squared_distance) {
                                          return squared_distance > length() &&
                                                 squared_distance > other->length();
                                      });
}

void ERChainerSeg2D::printOn(std::ostream& out) const {
    out << " reverse :" << reversed << "  first  = " << first() << " last  = " << last()
        << "  firstT = " << firstT() << " lastT = " << lastT();
}
