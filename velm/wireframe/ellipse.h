// EREllipse2D: an ellipse of the plane, by its foci and the length of its major axis.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/entity.h"
#include "velm/frame/info_point.h"
#include "velm/frame/point.h"
#include "velm/frame/vec.h"

namespace velm::detail {

/// An ellipse ready for evaluation: the point of eccentric angle t is
/// centre + half_big cos t axis + half_small sin t (axis turned by +90 degrees).
struct EllipseFrame {
    ERPoint2D centre;
    ERVector2D axis;
    double half_big;
    double half_small;

    ERVector2D across() const { return {-axis.j(), axis.i()}; }
    /// The half axes.
    ERVector2D big() const { return axis * half_big; }
    ERVector2D small() const { return across() * half_small; }
    ERPoint2D at(double t) const;
    ERInfoPoint2D info_at(double t) const;
    /// Into the frame and back.
    ERPoint2D to_frame(const ERPoint2D& p) const;
    ERPoint2D from_frame(double x, double y) const;
};

} // namespace velm::detail

/// An ellipse of the plane. It has no ends, and so no parameter interval of its own. The big axis
/// is the whole length 2a, the sum of the distances to the foci.
class VELM_API EREllipse2D : public virtual EREntity2DWF {
    VELM_DECLARE_CLASS(EREllipse2D)

public:
    /// Both foci at the origin, big axis 0.
    EREllipse2D() = default;
    /// A big axis shorter than the distance of the foci is set to that distance: a segment.
    EREllipse2D(const ERPoint2D& focus1, const ERPoint2D& focus2, double big);
    /// The big axis is 2 bigHalf and turned by `angle` from the x axis. Part of the contract: the
    /// focal distance is computed from the longer and the shorter half axis, in either order of
    /// the two, while the big axis is always the first one.
    EREllipse2D(double bigHalf, double smallHalf, double angle, const ERPoint2D& center);
    /// The conic A x^2 + B y^2 + C x y + D x + E y + F = 0, where |C| < 1e-13 and |F| > 1e-13 and
    /// it is an ellipse. Any other leaves the foci at the origin and the big axis 0.
    EREllipse2D(double A, double B, double C, double D, double E, double F);

    const ERPoint2D& focus1() const { return focus1_; }
    const ERPoint2D& focus2() const { return focus2_; }
    /// The two foci.
    ERVec<ERPoint2D> getFocus() const;
    ERPoint2D center() const;
    /// The whole lengths of the axes. The small one is sqrt(big^2 - focal distance^2), in pairs of
    /// doubles for a flat ellipse; never below 0.
    double getBigAxe() const { return big_; }
    double getSmallAxe() const;
    /// The unit vector from the first focus to the second, (1, 0) if they agree.
    ERVector2D getBigAxisDirection() const;
    /// That direction turned by +90 degrees.
    ERVector2D getSmallAxisDirection() const;
    /// The angle of the big axis from the x axis, in [0, 2 pi), by the arc cosine of anglePI:
    /// accurate to about 1e-8 near 0 and pi. Evaluation uses the direction itself.
    double getAngle() const;

    ERMinimax2D getBox() const;
    /// The whole ellipse; defined in curves/wireframe_to_nurbs.cpp.
    ERCpoleNURBS2D ConvertToNurbs() const;

    /// The point of the ellipse nearest to p, by tqkEllipse2 in the ellipse's own frame. Among
    /// equally near points it is the one on the left of the big axis; for the center of a circle,
    /// the far end of the big axis; for a p that isn't finite, the origin; a coordinate of p in
    /// that frame that is the most negative double counts as the largest double.
    ERPoint2D get_closest(const ERPoint2D& p) const;

    /// Multiplies the foci and the big axis.
    void scale(double s) override;
    void translate(const ERPoint2D& v) override;
    /// The big axis is multiplied by the ratio of lengths of t, or of its inverse, like the
    /// distance of the foci: the shape is kept.
    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An EREllipse3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    /// Swaps the foci.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The foci, then the big axis, as doubles.
    VELM_DECLARE_STORED_FORM();

    /// Center, axes and half lengths, for evaluation.
    velm::detail::EllipseFrame frame() const;

protected:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.focus1_, self.focus2_, self.big_);
    }

    ERPoint2D focus1_;
    ERPoint2D focus2_;
    double big_ = 0.0;
};
