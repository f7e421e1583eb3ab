// velm::intersections of a prepared curve with a plane; curves/space_intersections.h declares it.
#include "velm/curves/space_intersections.h"
#include "velm/surfaces/plane.h"

namespace velm {

void intersections(const PreparedCurve<3>& curve, const ERPlane& plane,
                   std::vector<CurveCrossing<3>>& found) {
    curve.crossings(plane.origine(), plane.normalVector(), found);
}

} // namespace velm
