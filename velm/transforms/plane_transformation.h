// ERTransfo2D: the transformation of the plane, a 2 x 2 matrix and a translation held by value.
#pragma once

#include "velm/frame/object.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/radian.h"
#include "velm/frame/vec.h"
#include "velm/frame/vector.h"

/// TransFrom maps a point (x, y) to (a x + b y + tx, c x + d y + ty). A vector is mapped by the
/// matrix alone. A pole is mapped by its point, the weighted coordinates divided by the weight, and
/// keeps its weight. Operations on arrays change them in place and return them.
class VELM_API ERTransfo2D : public ERObject {
    VELM_DECLARE_CLASS(ERTransfo2D)

public:
    /// The identity.
    ERTransfo2D() = default;
    /// The translation by v.
    explicit ERTransfo2D(const ERVector2D& v);
    /// The homothety of ratio k about a centre.
    ERTransfo2D(double k, const ERPoint2D& centre);
    /// The frame with its first axis along `direction`; a zero direction gives a zero matrix.
    ERTransfo2D(ERVector2D direction, const ERPoint2D& origin);
    /// The mirror that keeps an axis; for an axis out of range the point reflection.
    explicit ERTransfo2D(Coord2D axis);

    /// The rotation about the origin, counter-clockwise.
    static ERTransfo2D rotation(ERRadian angle);
    /// The homothety of ratio k about the origin.
    static ERTransfo2D Scaling(double k);

    ERPoint2D TransFrom(const ERPoint2D& p) const;
    ERVector2D TransFrom(const ERVector2D& v) const;
    ERVec<ERPoint2D>& TransFrom(ERVec<ERPoint2D>& points) const;
    ERVec<ERPole2DH>& TransFrom(ERVec<ERPole2DH>& poles) const;

    /// Backward: the transpose of the matrix over its determinant, after the translation is taken
    /// off. This is the inverse for rotations, homotheties, frames and their compositions, but not
    /// for mirrors: the mirror that keeps the x axis sends (x, y) back to (-x, y), which is part of
    /// the contract.
    ERPoint2D TransTo(const ERPoint2D& p) const;
    ERVector2D TransTo(const ERVector2D& v) const;
    ERVec<ERPoint2D>& TransTo(ERVec<ERPoint2D>& points) const;
    ERVec<ERPole2DH>& TransTo(ERVec<ERPole2DH>& poles) const;

    /// atan2(-b, a): the angle of rotation, in (-pi, pi].
    ERRadian angle() const;
    /// The ratio of lengths, the square root of the determinant's absolute value.
    double factHomo() const;
    /// 1 if the determinant is above 0, else 0.
    int isDirect() const;
    ERPoint2D origine() const { return {tx, ty}; }

    ERObject* getCopy() const override;
    /// Fixed texts; the angle in degrees.
    void printOn(std::ostream& out) const override;
    /// Six doubles in the order of the fields.
    VELM_DECLARE_STORED_FORM();

    double a = 1.0;
    double b = 0.0;
    double c = 0.0;
    double d = 1.0;
    double tx = 0.0;
    double ty = 0.0;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.a, self.b, self.c, self.d, self.tx, self.ty);
    }
};

/// A after B: TransFrom of the result is TransFrom of B, then of A.
VELM_API ERTransfo2D operator*(const ERTransfo2D& a, const ERTransfo2D& b);
