// CircleCurve2D, CircleCurve3D: a circle, and a helix about the z axis, of radius 2 as a host would
// add them to the library: registered classes below the trimmed entities.
#pragma once

#include "velm/curves/nurbs_curve.h"

#include <cmath>

namespace velm_test {

/// Of D only the lift of a point of the circle differs.
template <class D>
class CircleCurve : public D::TrimmedEntity {
public:
    using Point = typename D::Point;
    using Vector = typename D::Vector;
    using D::TrimmedEntity::arcLength;
    using D::TrimmedEntity::TrimmedEntity;

    static constexpr double radius = 2.0;
    static constexpr double rise = 0.5;

    typename D::InfoPoint PtCur(double t) override {
        double c = radius * std::cos(turn * t);
        double s = radius * std::sin(turn * t);
        return {t, 1, lift<Point>(c, s, rise * t), lift<Vector>(-s, c, rise) * turn,
                lift<Vector>(-c, -s, 0.0)};
    }
    void reverse() override {
        D::TrimmedEntity::reverse();
        turn = -turn;
    }
    typename D::Box getBox() override { return {}; }
    typename D::NurbsCurve ConvertToNurbs() override { return {}; }
    double arcLength(ERLimites, double) const override { return 0.0; }
    double arcLength(double) const override { return 0.0; }
    int splitAt(t_SmartPtr<typename D::FiniteEntity>&, t_SmartPtr<typename D::FiniteEntity>&,
                double) const override {
        return 0;
    }
    void scale(double) override {}
    void translate(const Point&) override {}

    /// +1 or -1, the sense of rotation.
    double turn = 1.0;

private:
    template <class Value>
    static Value lift(double x, double y, double z) {
        if constexpr (D::size == 2) {
            return Value(x, y);
        } else {
            return Value(x, y, z);
        }
    }
};

class CircleCurve2D : public CircleCurve<velm::Plane> {
    VELM_DECLARE_CLASS(CircleCurve2D)

public:
    using CircleCurve::CircleCurve;
    ERObject* getCopy() const override { return new CircleCurve2D(*this); }

    void transformFrom(const ERTransfo2D&) override {}
    void transformTo(const ERTransfo2D&) override {}
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D&) override { return {}; }

    /// Nothing to the left of the centre, everything at the centre.
    int ProjectPoint(const ERPoint2D& p, ERVec<double>& params, double) const override {
        if (p == ERPoint2D()) return -1;
        if (p.x() < 0.0) return 0;
        params.append(std::atan2(p.y(), p.x()));
        return params.size();
    }
};

class CircleCurve3D : public CircleCurve<velm::Space> {
    VELM_DECLARE_CLASS(CircleCurve3D)

public:
    using CircleCurve::CircleCurve;
    ERObject* getCopy() const override { return new CircleCurve3D(*this); }
    void transformFrom(const ERPmSimilitude3D&) override {}
    void transformFrom(const ERPmIsometrie3D&) override {}
    void transformTo(const ERPmSimilitude3D&) override {}
    void transformTo(const ERPmIsometrie3D&) override {}
};

} // namespace velm_test
