#include "velm/surfaces/ray_surface_result.h"

#include "velm/surfaces/any_bounded_surface.h"

void ERRaySurfaceResult::AddPointSolution(ERInfoPoint3DSurf& solution) {
    solutions_.push_back(solution);
}

void ERRaySurfaceResult::apply(void (*function)(ERInfoPoint3DSurf*, void*), void* context) {
    for (ERInfoPoint3DSurf& solution : solutions_)
        function(&solution, context);
}

void ERRaySurfaceResult::filtre(int (*removes)(ERInfoPoint3DSurf*, void*), void* context) {
    solutions_.remove_if(
        [&](ERInfoPoint3DSurf& solution) { return removes(&solution, context) != 0; });
}

int filtreOutsidePoint(ERInfoPoint3DSurf* solution, void* surface) {
    const auto& limits = *static_cast<const ERAnyBoundedSurface*>(surface);
    const bool inside =
        limits.getBoundU().inBound(solution->u()) && limits.getBoundV().inBound(solution->v());
    return inside ? 0 : 1;
}
