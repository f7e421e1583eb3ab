// get_stable_normal, FctProjSpoleOnSurface, FunctorNormalProjection: what the search for the foot
// of a perpendicular minimises and solves.
//
// With D = P(u, v) - Q, a foot of Q is a place where D is perpendicular to both tangents.
// Parameters x, y of FctProjSpoleOnSurface run over [0, 1] within the limits of the surface.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/numerics/downhill_simplex.h"
#include "velm/numerics/newton_problems.h"
#include "velm/surfaces/any_bounded_surface.h"
#include "velm/surfaces/surface_point.h"

#include <limits>
#include <type_traits>

namespace velm::detail {

VELM_API ERVector3D stable_normal(const ERAnyBoundedSurface& surface,
                                  const ERInfoPoint3DSurf& point, int& singular);

} // namespace velm::detail

/// The unit normal at a point of the surface, by Pu ^ Pv. Where a squared tangent is at most 1e-14
/// or the squared sine between them at most 1e-14, `singular` becomes 1, else 0, and the normal is
/// that of a triangle beside the point, its sides 1e-5 of the limits long: at the pole of a sphere
/// it is off by some 1e-5. velm::limit_normal is exact there.
template <class Surface = ERAnyBoundedSurface>
ERVector3D get_stable_normal(const std::type_identity_t<Surface>& surface,
                             const ERInfoPoint3DSurf& point, int& singular) {
    return velm::detail::stable_normal(surface, point, singular);
}

namespace velm::detail {

/// The foot of a point as a root: of Pu.D du and Pv.D dv in x and y, with the second derivatives of
/// |D|^2 / 2 as Jacobian. The last place is kept: its value, residual and Jacobian are one PtCur.
class VELM_API FootProblem : public ERCNewtonH {
public:
    /// Keeps a reference to the surface.
    FootProblem(const ERAnyBoundedSurface& on, const ERPoint3D& target);

    /// The residual. An unknown outside [0, 1] is set to the end of it, in the array too: part of
    /// the contract. REQUIRES an array that isn't itself const.
    ERVec<double> f(const ERVec<double>& x) override;
    ERMatrix<double> fprime(const ERVec<double>& x) override;
    /// |D|^2 / 2.
    double H(const ERVec<double>& x) override;
    /// 0 for unknowns in [0, 1], else 1.
    int HDomaine(const ERVec<double>& x) override;

    /// The same on plain numbers: two unknowns, which are clamped; two, and four row by row.
    void residual(double* x, double* values);
    void jacobian(double* x, double* values);

    const ERInfoPoint3DSurf& point() const { return point_; }
    const ERVector3D& difference() const { return difference_; }
    const ERPoint3D& target() const { return target_; }
    const ERLimites& limits_u() const { return limits_u_; }
    const ERLimites& limits_v() const { return limits_v_; }
    /// 1 / L with L the diagonal of the surface's box, and the middle of that box.
    double inverse_size() const { return inverse_size_; }
    const ERPoint3D& center() const { return center_; }

    /// The sine of the angle between D and the stable normal at the kept place, or at a parameter
    /// of the surface; the largest double without a normal.
    double angle_criterion(int& singular) const;
    double angle_criterion(const ERPoint2D& parameter, int& singular);

private:
    void move_to(double* x);
    void move_to_parameter(double u, double v);

    const ERAnyBoundedSurface& surface_;
    ERPoint3D target_;
    ERVector3D difference_;
    ERInfoPoint3DSurf point_;
    ERLimites limits_u_;
    double span_u_;
    ERLimites limits_v_;
    double span_v_;
    double inverse_size_;
    ERPoint3D center_;
    bool is_placed_ = false;                        ///< whether point_ is one of the surface
    double x_ = std::numeric_limits<double>::max(); ///< nowhere yet
    double y_ = std::numeric_limits<double>::max();
};

} // namespace velm::detail

/// The same for a class of surfaces; for any, in fact.
template <class Surface>
class FctProjSpoleOnSurface : public velm::detail::FootProblem {
public:
    FctProjSpoleOnSurface(const Surface& on, const ERPoint3D& target) : FootProblem(on, target) {}
};

/// The squared distance of a point from the normal of the surface at (u, v), |D|^2 - (D.n)^2 with
/// the stable normal n; 3.4028234663852886e+38 outside the limits.
template <class Surface = ERAnyBoundedSurface>
class FunctorNormalProjection : public FunctorBase {
public:
    /// Keeps a reference to the surface.
    FunctorNormalProjection(const Surface& on, const ERPoint3D& target)
        : FunctorBase(2), surface_(on), target_(target) {}

    double operator()(const ERVec<double>& parameter) override;
    /// The last one inside the limits.
    const ERInfoPoint3DSurf& point() const { return point_; }

private:
    const Surface& surface_;
    ERPoint3D target_;
    ERInfoPoint3DSurf point_;
};

template <class Surface>
double FunctorNormalProjection<Surface>::operator()(const ERVec<double>& parameter) {
    constexpr double outside = std::numeric_limits<float>::max();
    const double u = parameter.view()[0], v = parameter.view()[1];
    if (!surface_.getBoundU().inBound(u) || !surface_.getBoundV().inBound(v)) return outside;
    point_ = surface_.PtCur(u, v);
    int singular = 0;
    const ERVector3D difference(target_, point_.point());
    const double along = difference * get_stable_normal(surface_, point_, singular);
    return difference.norme2() - along * along;
}
