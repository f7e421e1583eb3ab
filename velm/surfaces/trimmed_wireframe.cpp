// ERTrimmedSurface: its wireframe, the lines of constant u and v cut to the region.
#include "velm/frame/finite_entity.h"
#include "velm/surfaces/trimmed_surface.h"

#include <algorithm>
#include <cmath>

void ERTrimmedSurface::tessalate(gmProcessMesh& mesh) const {
    if (!base_) return;
    if (boundaries_.isEmpty()) return base_->tessalate(mesh);
    ConstructRegion2D();
    for (const t_SmartPtr<ERSurfaceBoundary>& boundary : boundaries_)
        mesh.on_add_polyline(boundary->smash(mesh.chordal_deviation));
    const auto lines = [&](const ERLimites& limits, int steps, gmMeshDir dir) {
        for (int i = 0; steps > 0 && i <= steps; ++i)
            extract_wireframe(limits(double(i) / steps), dir, 0, mesh);
    };
    lines(getBoundU(), mesh.u_density(), gmMeshDirU);
    lines(getBoundV(), mesh.v_density(), gmMeshDirV);
}

void ERTrimmedSurface::extract_wireframe(double value, gmMeshDir dir, int on_box,
                                         gmProcessMesh& mesh) const {
    constexpr double same_line = 1e-11;
    if (!base_) return;
    ConstructRegion2D();
    const bool constant_u = dir == gmMeshDirU;
    if (on_box == 0 && region_->entries() > 0) {
        const ERMinimax2D box = region_->getBox();
        const double low = constant_u ? box.xmin : box.ymin;
        const double high = constant_u ? box.xmax : box.ymax;
        if (std::fabs(value - low) <= same_line || std::fabs(value - high) <= same_line) return;
    }
    // A tenth beyond the limits, so that the line's ends are in no boundary that keeps to them.
    const ERLimites limits = constant_u ? getBoundV() : getBoundU();
    const double from = limits(-0.1), to = limits(1.1);
    const ERVec<ERPoint2D> line = constant_u ? ERVec<ERPoint2D>{{value, from}, {value, to}}
                                             : ERVec<ERPoint2D>{{from, value}, {to, value}};
    ERTValVector<ERVec<ERPoint2D>> pieces;
    region_->Intersect(line, pieces, nullptr);
    if (pieces.length() == 0) return;
    const t_SmartPtr<ERFiniteEntity3DWF> curve =
        constant_u ? base_->getEntityIsoU(value) : base_->getEntityIsoV(value);
    if (curve) extract_polyline_from_wireframe(curve, pieces, value, dir, mesh);
}

void ERTrimmedSurface::extract_polyline_from_wireframe(const t_SmartPtr<ERFiniteEntity3DWF>& curve,
                                                       const ERTValVector<ERVec<ERPoint2D>>& pieces,
                                                       double value, gmMeshDir dir,
                                                       gmProcessMesh& mesh) const {
    constexpr double on_line = 1e-09;
    const int constant = dir == gmMeshDirU ? 0 : 1, running = 1 - constant;
    for (const ERVec<ERPoint2D>& piece : pieces) {
        const ERPoint2D first = piece.view().front(), last = piece.view().back();
        const bool is_part = std::fabs(first[constant] - value) <= on_line &&
                             std::fabs(last[constant] - value) <= on_line;
        if (!is_part) continue;
        const double start = std::max(first[running], curve->udeb());
        const double end = std::min(last[running], curve->ufin());
        if (end > start) mesh.on_add_wireframe(*curve, ERLimites(start, end));
    }
}

void ERTrimmedSurface::extract_u_wireframe(double value, gmProcessMesh& mesh) const {
    extract_wireframe(value, gmMeshDirU, 0, mesh);
}

void ERTrimmedSurface::extract_v_wireframe(double value, gmProcessMesh& mesh) const {
    extract_wireframe(value, gmMeshDirV, 0, mesh);
}
