#include "velm/surfaces/any_bounded_surface.h"

#include "velm/frame/finite_entity.h"
#include "velm/frame/random_draw.h"
#include "velm/frame/simple_vec.h"
#include "velm/surfaces/detail/seed_grid.h"
#include "velm/surfaces/process_mesh.h"
#include "velm/surfaces/ray_surface_result.h"
#include "velm/transforms/transformation_factories.h"

#include <algorithm>
#include <iterator>

VELM_DEFINE_CLASS_NOT_CREATABLE(ERAnyBoundedSurface, ERSurface)

ERAnyBoundedSurface& ERAnyBoundedSurface::operator=(const ERAnyBoundedSurface& other) {
    ERSurface::operator=(other);
    drop_grid();
    return *this;
}

ERLimites ERAnyBoundedSurface::getBoundU() const { return {udeb(), ufin()}; }

ERLimites ERAnyBoundedSurface::getBoundV() const { return {vdeb(), vfin()}; }

t_SmartPtr<ERAnyBoundedSurface> ERAnyBoundedSurface::base_surface() const {
    return const_cast<ERAnyBoundedSurface*>(this);
}

ERVec<ERPoint3D> ERAnyBoundedSurface::boundary_points() const {
    return {(*this)(udeb(), vdeb()), (*this)(ufin(), vdeb()), (*this)(ufin(), vfin()),
            (*this)(udeb(), vfin())};
}

ERInfoPoint3DSurf ERAnyBoundedSurface::PtCur(const ERPoint2D& parameter) const {
    return PtCur(std::min(ufin(), std::max(udeb(), parameter.x())),
                 std::min(vfin(), std::max(vdeb(), parameter.y())));
}

ERPoint3D ERAnyBoundedSurface::operator()(double u, double v) const { return PtCur(u, v).point(); }

ERPoint3D ERAnyBoundedSurface::operator()(const ERPoint2D& parameter) const {
    return (*this)(parameter.x(), parameter.y());
}

ERInfoPoint3DSurf ERAnyBoundedSurface::randomPoint() const {
    constexpr double largest_draw = 32767.0;
    const auto drawn = [](const ERLimites& limits) {
        return limits(2.0 * velm::detail::rand15() / largest_draw - 1.0);
    };
    const double v = drawn(getBoundV());
    const double u = drawn(getBoundU());
    return PtCur(u, v);
}

void ERAnyBoundedSurface::tessalate(gmProcessMesh& mesh) const {
    const ERLimites in_u = getBoundU(), in_v = getBoundV();
    if (!(in_u.amplitude() > 0.0 && in_v.amplitude() > 0.0)) return;
    const int u_steps = mesh.u_density(), v_steps = mesh.v_density();
    const auto add = [&mesh](const t_SmartPtr<ERFiniteEntity3DWF>& line, const ERLimites& limits) {
        if (line) mesh.on_add_wireframe(*line, limits);
    };
    for (int i = 0; u_steps > 0 && i <= u_steps; ++i)
        add(getEntityIsoU(in_u(double(i) / u_steps)), in_v);
    for (int i = 0; v_steps > 0 && i <= v_steps; ++i)
        add(getEntityIsoV(in_v(double(i) / v_steps)), in_u);
}

void ERAnyBoundedSurface::ProjectPoint(const ERPoint3D&, ERRaySurfaceResult&, int) const {}

void ERAnyBoundedSurface::ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                                       ERRaySurfaceResult& result, int inBound) const {
    const t_SmartPtr<ERAnyBoundedSurface> copy(castdown(getCopy()));
    const ERPmIsometrie3D frame = ERChgRepere3D(direction, p);
    copy->transformTo(frame);
    const int before = result.size();
    copy->ProjectPoint(ERPoint3D(), result, inBound);
    for (auto added = std::next(result.begin(), before); added != result.end(); ++added)
        added->transformFrom(frame);
}

int ERAnyBoundedSurface::ProjectionNormale(const ERPoint3D&, double, ERPoint2D&, int) const {
    return 0;
}

int ERAnyBoundedSurface::ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot,
                                           ERVector3D& normal) const {
    ERPoint2D parameter;
    if (!ProjectionNormale(p, 0.0, parameter, 1)) return 0;
    const ERInfoPoint3DSurf found = PtCur(parameter);
    foot = found.point();
    normal = found.normale();
    return 1;
}

ERPoint3D ERAnyBoundedSurface::project_inbound(const ERPoint3D& p) const { return p; }

int ERAnyBoundedSurface::ReajustProjection(ERPoint3D&, ERPoint2D&, int) const { return 0; }

int ERAnyBoundedSurface::SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                                  t_SmartPtr<ERAnyBoundedSurface>& b) const {
    return SplitInU(a, b, getBoundU()(0.5));
}

int ERAnyBoundedSurface::SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                                  t_SmartPtr<ERAnyBoundedSurface>& b) const {
    return SplitInV(a, b, getBoundV()(0.5));
}

int ERAnyBoundedSurface::IsContinuous(int) const { return 0; }

int ERAnyBoundedSurface::GetDiscontinuitiesU(int, ERVec<double>& params) const {
    params = ERVec<double>();
    return 1;
}

int ERAnyBoundedSurface::GetDiscontinuitiesV(int order, ERVec<double>& params) const {
    return ERAnyBoundedSurface::GetDiscontinuitiesU(order, params);
}

void ERAnyBoundedSurface::GetNumberOfSpans(int& nu, int& nv) const { nu = nv = 1; }

void ERAnyBoundedSurface::GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const {
    boxes = ERSimpleVec2<ERMinimax3D>(1, 1, getBox());
}

const ERMatrix<ERPoint3D>& ERAnyBoundedSurface::getMatricePoint(int n, int m) const {
    n = std::max(n, 0);
    m = std::max(m, 0);
    if (grid_.columns() == n && grid_.rows() == m) return grid_;
    ERMatrix<ERPoint3D> grid = velm::detail::points_at_even_steps(*this, n, m);
    grid_.swap(grid);
    return grid_;
}

void ERAnyBoundedSurface::CleanUpTemporaries(int) { drop_grid(); }

void ERAnyBoundedSurface::scale(double s) {
    for (ERPoint3D& p : grid_.writable())
        p = p * s;
}

void ERAnyBoundedSurface::translate(const ERPoint3D& v) {
    for (ERPoint3D& p : grid_.writable())
        p = p + v;
}

void ERAnyBoundedSurface::transformFrom(const ERPmSimilitude3D& t) { t.TransFrom(grid_); }

void ERAnyBoundedSurface::transformFrom(const ERPmIsometrie3D& t) { t.TransFrom(grid_); }

void ERAnyBoundedSurface::transformTo(const ERPmSimilitude3D& t) { t.TransTo(grid_); }

void ERAnyBoundedSurface::transformTo(const ERPmIsometrie3D& t) { t.TransTo(grid_); }

void ERAnyBoundedSurface::offset(double) {}

void ERAnyBoundedSurface::saveGuts(ERFile& file) const { ERSurface::saveGuts(file); }

void ERAnyBoundedSurface::restoreGuts(ERFile& file) {
    drop_grid();
    ERSurface::restoreGuts(file);
}

unsigned int ERAnyBoundedSurface::binaryStoreSize() const { return ERSurface::binaryStoreSize(); }

void ERAnyBoundedSurface::drop_grid() const {
    if (!grid_.empty() || grid_.rows() != 0 || grid_.columns() != 0) grid_ = ERMatrix<ERPoint3D>();
}

void ERAnyBoundedSurface::transpose_grid() {
    if (grid_.empty()) return;
    ERMatrix<ERPoint3D> turned(grid_.columns(), grid_.rows());
    const std::span<ERPoint3D> points = turned.writable();
    for (int i = 0; i < grid_.rows(); ++i)
        for (int j = 0; j < grid_.columns(); ++j)
            points[std::size_t(j) * std::size_t(grid_.rows()) + std::size_t(i)] =
                grid_.row(i)[std::size_t(j)];
    grid_.swap(turned);
}
