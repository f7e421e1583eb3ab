// gmProcessMesh: receives the wireframe of a surface for display. gmMeshDir: the direction of a
// line.
//
//     struct Drawing : gmProcessMesh {
//         Drawing() : gmProcessMesh(0.01) {}
//         void on_add_polyline(const ERVec<ERPoint3D>& line) override { draw(line); }
//     };
//     Drawing drawing;
//     drawing.tessellate(surface);
#pragma once

#include "velm/export.h"
#include "velm/frame/interval.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"
#include "velm/fwd.h"

/// Which parameter is constant along a line of a wireframe. The values are fixed.
enum gmMeshDir : int { gmMeshDirU = 0, gmMeshDirV = 1 };

/// An interface with defaults: a host overrides on_add_polyline and, for more or fewer lines, the
/// densities.
class VELM_API gmProcessMesh {
public:
    gmProcessMesh(int quality, double deviation)
        : display_quality(quality), chordal_deviation(deviation) {}
    explicit gmProcessMesh(double deviation) : gmProcessMesh(0, deviation) {}
    gmProcessMesh(const gmProcessMesh&) = default;
    gmProcessMesh& operator=(const gmProcessMesh&) = default;

    /// Calls the surface's tessalate with this object.
    virtual void tessellate(const ERAnyBoundedSurface& surface);
    virtual void on_begin_tessellation();
    /// Passes the curve over these limits on to on_add_polyline, within chordal_deviation as far as
    /// ERFiniteEntity3DWF::approxime keeps it.
    virtual void on_add_wireframe(const ERFiniteEntity3DWF& curve, const ERLimites& limits);
    virtual void on_add_polyline(const ERVec<ERPoint3D>& polyline);
    virtual void on_end_tessellation();
    /// The number of steps between the lines of constant u, and of constant v: 2.
    virtual int u_density() const;
    virtual int v_density() const;
    virtual ~gmProcessMesh() = default;

    int display_quality;
    double chordal_deviation;
};
