// ERInfoPoint3DSurf: a point of a surface with its parameters and its first and second derivatives,
// the result of PtCur. velm::principal_curvatures: its curvatures, always defined where the surface
// has a tangent plane.
#pragma once

#include "velm/export.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/numerics/matrix.h"

#include <span>

/// A point of a surface. A plain value: the parameter pair, and a 3 x 3 matrix whose element (i, j)
/// is the derivative taken i times in V and j times in U. The elements (1, 2), (2, 1) and (2, 2)
/// are 0: no surface fills them.
class VELM_API ERInfoPoint3DSurf {
public:
    /// All zero.
    ERInfoPoint3DSurf() : derivatives_(order_count, order_count) {}
    /// In this order: P, dP/du, d2P/du2, dP/dv, d2P/dudv, d2P/dv2.
    ERInfoPoint3DSurf(const ERPoint2D& parameter, const ERPoint3D& point, const ERVector3D& du,
                      const ERVector3D& duu, const ERVector3D& dv, const ERVector3D& duv,
                      const ERVector3D& dvv);
    /// A point without derivatives, in a 1 x 1 matrix; the derivatives read as 0.
    ERInfoPoint3DSurf(const ERPoint2D& parameter, const ERPoint3D& point);

    /// (u, v).
    const ERPoint2D& parametre() const { return parameter_; }
    double u() const { return parameter_.x(); }
    double v() const { return parameter_.y(); }
    const ERPoint3D& point() const { return derivatives_[0]; }
    /// dP/du and dP/dv, not normalised.
    ERVector3D tangenteU() const { return derivative(0, 1); }
    ERVector3D tangenteV() const { return derivative(1, 0); }
    /// The derivative taken i times in V and j times in U; 0 where the matrix has no such element.
    ERVector3D derivative(int i, int j) const {
        if (i >= derivatives_.rows() || j >= derivatives_.columns()) return {};
        return ERVector3D(derivatives_(i, j));
    }
    const ERMatrix<ERPoint3D>& matrix() const { return derivatives_; }

    void setParametre(const ERPoint2D& parameter) { parameter_ = parameter; }
    /// The derivatives are unchanged.
    void setPoint(const ERPoint3D& point) { derivatives_[0] = point; }

    /// The unit normal: tangenteU ^ tangenteV. A tangent counts as null if no component exceeds
    /// `equalityTolerance`. If one tangent is null, the result is the second derivative in the
    /// direction of the other one, which at the pole of a sphere points to the center; if both are,
    /// the null vector. Part of the contract; velm::limit_normal has no such exceptions.
    ERVector3D normale() const;

    // Curvatures from the two fundamental forms, with the sign of tangenteU ^ tangenteV. Where the
    // tangents are parallel or null they divide by 0.

    /// The product and the mean of the principal curvatures.
    double courbureGaussienne() const;
    double courbureMoyenne() const;
    /// The normal curvature in the direction du, dv of the parameters.
    double courbureNormale(double du, double dv) const;
    /// The principal curvatures by EquationBiCarre, k1 with the positive root. Returns its result:
    /// at an umbilic, as everywhere on a plane or a sphere, the discriminant is 0 with rounding,
    /// and may give 0 with both unchanged. Part of the contract; see velm::principal_curvatures.
    int courburesExtremes(double& k1, double& k2) const;
    /// The ratios dv/du of the principal directions by EquationBiCarre, with its result.
    int directionPrincipale(double& d1, double& d2) const;

    /// Maps the point and, as vectors, the derivatives.
    void transformFrom(const ERTr3DRev& t);
    void transformTo(const ERTr3DRev& t);

private:
    static constexpr int order_count = 3;

    ERPoint2D parameter_;
    ERMatrix<ERPoint3D> derivatives_;
};

namespace velm {

/// The principal curvatures, min <= max, with the sign of tangenteU ^ tangenteV.
struct PrincipalCurvatures {
    double min = 0.0;
    double max = 0.0;
};

/// H -+ sqrt(H^2 - K) with a radicand below 0, which is rounding at an umbilic, taken as 0. NaN
/// where the tangents are parallel or null.
VELM_API PrincipalCurvatures principal_curvatures(const ERInfoPoint3DSurf& point);

} // namespace velm
