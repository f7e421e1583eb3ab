// ERRaySurfaceResult: the points in which a line meets a surface. filtreOutsidePoint: leaves only
// those inside the limits.
#pragma once

#include "velm/fwd.h"
#include "velm/surfaces/surface_point.h"

#include <list>

/// A list of solutions in the order in which they were found. Copies own copies of the points.
class VELM_API ERRaySurfaceResult {
public:
    virtual ~ERRaySurfaceResult() = default;
    ERRaySurfaceResult() = default;
    ERRaySurfaceResult(const ERRaySurfaceResult&) = default;
    ERRaySurfaceResult& operator=(const ERRaySurfaceResult&) = default;

    /// Appends a copy. A subclass may override it to pick or to count.
    virtual void AddPointSolution(ERInfoPoint3DSurf& solution);
    /// Calls the function on each solution with the same context.
    void apply(void (*function)(ERInfoPoint3DSurf*, void*), void* context);
    /// Removes each solution for which the function returns something other than 0.
    void filtre(int (*removes)(ERInfoPoint3DSurf*, void*), void* context);

    int size() const { return static_cast<int>(solutions_.size()); }
    bool empty() const { return solutions_.empty(); }
    auto begin() { return solutions_.begin(); }
    auto end() { return solutions_.end(); }
    auto begin() const { return solutions_.begin(); }
    auto end() const { return solutions_.end(); }

private:
    std::list<ERInfoPoint3DSurf> solutions_;
};

/// For ERRaySurfaceResult::filtre, with an ERAnyBoundedSurface* as context: 1 if the parameter is
/// outside the limits of the surface, which belong to it.
VELM_API int filtreOutsidePoint(ERInfoPoint3DSurf* solution, void* surface);
