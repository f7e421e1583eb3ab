#include "velm/surfaces/process_mesh.h"

#include "velm/frame/finite_entity.h"
#include "velm/surfaces/any_bounded_surface.h"

void gmProcessMesh::tessellate(const ERAnyBoundedSurface& surface) { surface.tessalate(*this); }

void gmProcessMesh::on_begin_tessellation() {}

void gmProcessMesh::on_add_wireframe(const ERFiniteEntity3DWF& curve, const ERLimites& limits) {
    // approxime only reads, although the interface of the curves declares it without const.
    on_add_polyline(const_cast<ERFiniteEntity3DWF&>(curve).approxime(limits, chordal_deviation));
}

void gmProcessMesh::on_add_polyline(const ERVec<ERPoint3D>&) {}

void gmProcessMesh::on_end_tessellation() {}

int gmProcessMesh::u_density() const { return 2; }

int gmProcessMesh::v_density() const { return 2; }
