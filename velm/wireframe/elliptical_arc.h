// ERArcEllipse2D: an arc of an ellipse of the plane.
#pragma once

#include "velm/wireframe/angle_interval.h"
#include "velm/wireframe/ellipse.h"

/// An arc of an ellipse. The stored angles are central ones, seen from the center against the big
/// axis; the parameter t is the eccentric angle, so that the point at t is
/// center + a cos t (big axis) + b sin t (small axis).
class VELM_API ERArcEllipse2D : public EREllipse2D, public ERFiniteEntity2DWFBoundedWithAngle {
    VELM_DECLARE_CLASS(ERArcEllipse2D)

public:
    using ERFiniteEntity2DWF::approxime;

    ERArcEllipse2D() = default;
    ERArcEllipse2D(const EREllipse2D& ellipse, ERRadian start, ERRadian end)
        : EREllipse2D(ellipse), ERFiniteEntity2DWFBoundedWithAngle(start, end) {}
    ERArcEllipse2D(const ERPoint2D& focus1, const ERPoint2D& focus2, double big, ERRadian start,
                   ERRadian end)
        : ERArcEllipse2D(EREllipse2D(focus1, focus2, big), start, end) {}
    ERArcEllipse2D(double bigHalf, double smallHalf, double angle, const ERPoint2D& center,
                   ERRadian start, ERRadian end)
        : ERArcEllipse2D(EREllipse2D(bigHalf, smallHalf, angle, center), start, end) {}

    ERArcEllipse2D(const ERArcEllipse2D&) = default;
    ERArcEllipse2D& operator=(const ERArcEllipse2D& other);

    /// The eccentric angle of a central one: an angle of one turn or more loses its whole turns,
    /// except 2 pi itself; a negative angle keeps them.
    double central_to_param(double a) const;
    /// The central angle of an eccentric one, within a quarter turn of it.
    double param_to_central(double t) const;

    /// The parameters of the stored angles in rising order; a whole turn from 0 if they agree and
    /// on an ellipse without a small axis. Part of the contract: an arc that runs through the angle
    /// 2 pi comes out as its complement. Give such an arc a negative start.
    ERLimites getBound() override;
    /// The ends of getBound, swapped on an arc whose end angle is below its start angle.
    double udeb() const override;
    double ufin() const override;

    ERInfoPoint2D PtCur(double t) override;
    ERPoint2D operator()(double t) override;
    /// The least box: the ends and the ellipse's extremes between them.
    ERMinimax2D getBox() override;
    /// Convert, see curves/conics.h.
    ERCpoleNURBS2D ConvertToNurbs() override;
    /// By the incomplete elliptic integral of the second kind, to rounding; the tolerance is not
    /// used.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    /// Cuts at the parameter t. Returns 1.
    int splitAt(t_SmartPtr<ERFiniteEntity2DWF>& first, t_SmartPtr<ERFiniteEntity2DWF>& second,
                double t) const override;

    void scale(double s) override;
    void translate(const ERPoint2D& v) override;
    /// A mirror negates and swaps the angles.
    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERArcEllipse3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    /// Swaps the angles; the foci are unchanged.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The ellipse, then the start and the end angle.
    VELM_DECLARE_STORED_FORM();

private:
    ERLimites bound() const;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        EREntAngle::stored_fields(self, form);
    }
};
