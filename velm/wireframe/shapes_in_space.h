// ERRectangle3D, ERRegularPolygon3D, ERRoundedSlot3D: the closed shapes of planar_shapes.h in a
// frame of space. They are built, recognised and asked as those of the plane are.
//
//     ERRectangle3D plate(frame, 40.0, 20.0);       // centred, its length along the frame's x axis
//     ERPoint3D foot;
//     double distance;
//     int edge;
//     plate.Project({3, 25, 8}, foot, distance, edge);
#pragma once

#include "velm/frame/info_point.h"
#include "velm/wireframe/circle_in_space.h"
#include "velm/wireframe/planar_shapes.h"

namespace velm::detail {

/// A shape of the plane in a frame.
template <class Flat>
class VELM_API FramedShape : public ERPlanarEntity3DWF {
public:
    /// The shape in the frame's plane.
    const Flat& flat() const { return flat_; }

    /// That of the flat shape, lifted. A slot outside [0, 4] gives the frame's origin.
    ERInfoPoint3DWF PtCur(double t) const;
    /// The box of the flat shape's box.
    ERMinimax3D getBox() const;
    /// The edges as segments and arcs. Defined in curves/shape_outlines.cpp.
    ERCompCurve3D composite_curve() const;

    /// The nearest point of the outline, its distance in space and its edge. Returns 0, the outputs
    /// unchanged, where there is none.
    int Project(const ERPoint3D& p, ERPoint3D& foot, double& distance, int& entity) const;
    ERPoint3D ProjectPt(const ERPoint3D& p) const;
    int Get_Entity_Number(const ERPoint3D& p, int& entity) const;
    /// The distance to the outline, negative for a p whose foot on the plane is inside it.
    /// DISTMIN_IN_SPACE for a p within 1e-11 of the plane, else DISTMIN_FOUND, as for ERCircle3D.
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;

    /// The same shape of the plane if the planes are parallel by the tolerance of
    /// ERCircle3D::SetProjectionPrecision, else an ERCompCurve2D of the projected edges. Defined in
    /// curves/shape_outlines.cpp.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    /// Multiplies the frame's origin and the shape.
    void scale(double s) override;

    /// The frame, then the shape in it.
    VELM_DECLARE_STORED_FORM();

protected:
    FramedShape() = default;
    FramedShape(const ERPmIsometrie3D& frame, const Flat& shape)
        : ERPlanarEntity3DWF(frame), flat_(shape) {}

    ERPoint3D lift(const ERPoint2D& p) const { return lifted(getRepere(), p); }
    ERVector3D lift(const ERVector2D& v) const { return lifted(getRepere(), v); }
    ERVec<ERPoint3D> lift(const ERVec<ERPoint2D>& flat) const;
    void scale_flat(double ratio) override;

    Flat flat_;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.flat_);
    }
};

} // namespace velm::detail

/// A rectangle of space.
class VELM_API ERRectangle3D : public velm::detail::FramedShape<ERRectangle2D> {
    VELM_DECLARE_CLASS(ERRectangle3D)

public:
    ERRectangle3D() = default;
    /// About the frame's origin, the length along its x axis.
    ERRectangle3D(const ERPmIsometrie3D& frame, double length, double width);
    ERRectangle3D(const ERPmIsometrie3D& frame, const ERRectangle2D& rectangle)
        : FramedShape(frame, rectangle) {}
    /// In the plane of the first three points, or of what they have of one, with its origin at the
    /// mean of corners 0 and 2 and x from corner 0 to corner 1: the projections of the first four
    /// points as they stand; of fewer the last is repeated.
    explicit ERRectangle3D(const ERVec<ERPoint3D>& corners);

    /// The corners.
    ERVec<ERPoint3D> getPoints() const { return lift(flat_.getPoints()); }
    ERPoint3D centre() const { return lift(flat_.centre()); }
    double length() const { return flat_.length(); }
    double width() const { return flat_.width(); }
    ERVector3D main_direction() const { return lift(flat_.main_direction()); }
    ERVector3D auxiliary_direction() const { return lift(flat_.auxiliary_direction()); }

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A regular polygon of space.
class VELM_API ERRegularPolygon3D : public velm::detail::FramedShape<ERRegularPolygon2D> {
    VELM_DECLARE_CLASS(ERRegularPolygon3D)

public:
    ERRegularPolygon3D() = default;
    /// About the frame's origin, vertex 0 on its x axis.
    ERRegularPolygon3D(const ERPmIsometrie3D& frame, double side, int n);
    ERRegularPolygon3D(const ERPmIsometrie3D& frame, const ERRegularPolygon2D& polygon)
        : FramedShape(frame, polygon) {}

    /// The vertices.
    ERVec<ERPoint3D> getPoints() const { return lift(flat_.getPoints()); }
    int nb_sides() const { return flat_.nb_sides(); }
    ERPoint3D barycenter() const { return lift(flat_.barycenter()); }
    double length_side() const { return flat_.length_side(); }
    ERCircle3D inside_circle() const { return {getRepere(), flat_.inside_circle()}; }
    ERCircle3D outside_circle() const { return {getRepere(), flat_.outside_circle()}; }
    int offset(double d) { return flat_.offset(d); }

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A rounded slot of space.
class VELM_API ERRoundedSlot3D : public velm::detail::FramedShape<ERRoundedSlot2D> {
    VELM_DECLARE_CLASS(ERRoundedSlot3D)

public:
    ERRoundedSlot3D() = default;
    ERRoundedSlot3D(const ERPmIsometrie3D& frame, const ERRoundedSlot2D& slot)
        : FramedShape(frame, slot) {}

    ERPoint3D center1() const { return lift(flat_.center1()); }
    ERPoint3D center2() const { return lift(flat_.center2()); }
    double radius() const { return flat_.radius(); }
    ERPoint3D center() const { return lift(flat_.center()); }
    double length() const { return flat_.length(); }
    double diameter() const { return flat_.diameter(); }
    void diameter(double d) { flat_.diameter(d); }
    ERVector3D main_direction() const { return lift(flat_.main_direction()); }

    /// Exchanges the centers; the frame stays.
    void reverse() override { flat_.reverse(); }
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

extern template class velm::detail::FramedShape<ERRectangle2D>;
extern template class velm::detail::FramedShape<ERRegularPolygon2D>;
extern template class velm::detail::FramedShape<ERRoundedSlot2D>;
