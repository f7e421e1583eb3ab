// ERPlane: a plane without bounds.
#pragma once

#include "velm/frame/point.h"
#include "velm/frame/vector.h"
#include "velm/surfaces/surface.h"

/// The plane a x + b y + c z + d = 0. Every constructor but the default one brings the coefficients
/// to a unit normal (a, b, c), without a guard against a normal of length 0. With a unit normal a x
/// + b y + c z + d is the distance of a point, positive on the side of the normal.
class VELM_API ERPlane : public ERSurface {
    VELM_DECLARE_CLASS(ERPlane)

public:
    /// Not a plane: all coefficients are 0.
    ERPlane() = default;
    /// Divides all four by the length of (a, b, c).
    ERPlane(double a, double b, double c, double d);
    ERPlane(const ERPoint3D& through, const ERVector3D& normal);
    /// Along u and v; the normal is on the side of u ^ v.
    ERPlane(const ERPoint3D& through, const ERVector3D& u, const ERVector3D& v);
    /// Through the frame's origin, the normal along one of its axes.
    ERPlane(const ERPmIsometrie3D& frame, Coord3D axis);

    void getCoefficients(double& a, double& b, double& c, double& d) const;
    ERVector3D normalVector() const { return {a_, b_, c_}; }
    /// The foot of the perpendicular from the origin of coordinates.
    ERPoint3D origine() const { return ERPoint3D(normalVector() * -d_); }
    /// A frame with its origin at origine() and z along the normal.
    ERPmIsometrie3D getTransfo() const;

    /// The distance from p, and from the origin of coordinates, without a sign.
    double distancePt(const ERPoint3D& p) const;
    double distanceOrg() const;
    /// The signed distance a x + b y + c z + d; always DISTMIN_FOUND.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;
    static DISTMINRES SignedMinimalDistancePlane(double a, double b, double c, double d,
                                                 const ERPoint3D& p, double& dist);
    /// Always 1. The normal is the plane's own, regardless of the side of p.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;

    /// The perpendicular projections of a point, a vector and a line. A line along the normal
    /// becomes a line without direction.
    ERPoint3D project(const ERPoint3D& p) const;
    ERVector3D project(const ERVector3D& v) const;
    ERInfLine3D project(const ERInfLine3D& line) const;
    /// Whether the line is perpendicular to the plane within the angle tol.
    bool is_perpendicular(const ERInfLine3D& line, double tol) const;

    /// The plane moved by d along the normal.
    ERPlane getOffset(double d) const;
    void offset(double d) override;
    /// The same points with the opposite normal.
    ERPlane getreversed() const;
    void reverse() override;

    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    /// Whether no coefficient differs by more than `equalityTolerance`. A reversed plane is not
    /// equal: the orientation is part of a plane.
    bool operator==(const ERPlane& other) const;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// a, b, c, d as doubles.
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.a_, self.b_, self.c_, self.d_);
    }

    double a_ = 0.0;
    double b_ = 0.0;
    double c_ = 0.0;
    double d_ = 0.0;
};
