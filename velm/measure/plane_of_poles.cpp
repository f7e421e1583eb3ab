// velm::detail::plane_of_poles; surfaces/detail/projection_cache.h declares it.
#include "velm/measure/best_fit.h"
#include "velm/surfaces/detail/projection_cache.h"
#include "velm/surfaces/plane.h"

ERPlane velm::detail::plane_of_poles(const ERVec<ERPoint3D>& poles) {
    ERPlane plane;
    GetMediumPlane(poles, plane, 0.0);
    return plane;
}
