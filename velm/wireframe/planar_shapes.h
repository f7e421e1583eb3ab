// ERRectangle2D, ERRegularPolygon2D, ERRoundedSlot2D: closed outlines of the plane, with fixed
// parameter ranges of one unit for each edge. Their twins in space are in shapes_in_space.h, their
// recognition in points in shape_recognition.h.
//
//     ERRectangle2D plate(ERPoint2D(0, 0), ERVector2D(1, 0), 40.0, 20.0);
//     ERPoint2D corner = plate.PtCur(1.0).point();    // (20, -10)
//     ERPoint2D foot;
//     double distance;
//     int edge;
//     plate.Project({3, 25}, foot, distance, edge);   // (3, 10), 15, edge 2
//     ERCompCurve2D outline = plate.composite_curve(); // where a finite curve is wanted
//
// An edge is known by the whole number that its parameters start at, from 0 on. All evaluate at
// any parameter; the operations that find an edge return 0, the outputs unchanged, where there is
// none or p is not finite.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/entity.h"
#include "velm/frame/info_point.h"
#include "velm/frame/point.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/vec.h"
#include "velm/wireframe/circle.h"

namespace velm::detail {

/// What all closed shapes of the plane offer beside their own.
class VELM_API ClosedShape : public virtual EREntity2DWF {
public:
    virtual ERInfoPoint2D PtCur(double t) const = 0;
    virtual ERMinimax2D getBox() const = 0;
    /// The edges as segments and arcs, one unit of the parameter each, counter-clockwise if the
    /// shape is. Defined in curves/shape_outlines.cpp.
    virtual ERCompCurve2D composite_curve() const = 0;

    /// The nearest point of the outline, its distance and its edge, the first of several.
    virtual int Project(const ERPoint2D& p, ERPoint2D& foot, double& distance,
                        int& entity) const = 0;
    /// The nearest point alone; p itself where there is none.
    ERPoint2D ProjectPt(const ERPoint2D& p) const;
    /// The edge alone.
    int Get_Entity_Number(const ERPoint2D& p, int& entity) const;
};

/// The shapes that are given by their vertices.
class VELM_API VertexShape : public ClosedShape {
public:
    const ERVec<ERPoint2D>& getPoints() const { return points; }

    /// t is brought into [0, n] by whole turns of n edges. A whole t belongs to the edge that ends
    /// there, except 0: so t = n is the end of the last edge. The first derivative is the vector of
    /// the edge, the second 0. NaN for a t that isn't finite and without vertices.
    ERInfoPoint2D PtCur(double t) const override;
    ERMinimax2D getBox() const override;
    ERCompCurve2D composite_curve() const override;
    int Project(const ERPoint2D& p, ERPoint2D& foot, double& distance, int& entity) const override;
    /// The distance to the outline, negative inside it by `Inside`; DISTMIN_FOUND, or DISTMIN_NONE
    /// without vertices. Defined in planar/shape_distances.cpp.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist) override;

    void scale(double s) override;
    void translate(const ERPoint2D& v) override;
    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// The vertices in the opposite order: lengths stay, the edges change their numbers.
    void reverse() override;

    /// The array of the vertices.
    VELM_DECLARE_STORED_FORM();

protected:
    VertexShape() = default;
    explicit VertexShape(const ERVec<ERPoint2D>& vertices) : points(vertices) {}
    const ERPoint2D& vertex(int i) const { return points[i < points.size() ? i : 0]; }

    ERVec<ERPoint2D> points;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);
};

} // namespace velm::detail

/// A rectangle, by its four corners; nothing tests that they are those of one.
class VELM_API ERRectangle2D : public velm::detail::VertexShape {
    VELM_DECLARE_CLASS(ERRectangle2D)

public:
    /// All corners at the origin.
    ERRectangle2D();
    /// Corner 0 is half the length back along the unit direction and half the width to its right;
    /// from there the outline runs along the direction, counter-clockwise.
    ERRectangle2D(const ERPoint2D& centre, const ERVector2D& direction, double length,
                  double width);
    /// The first four points as they stand; of fewer the last is repeated.
    explicit ERRectangle2D(const ERVec<ERPoint2D>& corners);

    /// The mean of the corners 0 and 2.
    ERPoint2D centre() const;
    /// From corner 0 to corner 1, and from corner 1 to corner 2.
    double length() const;
    double width() const;
    /// The unit vectors of these edges.
    ERVector2D main_direction() const;
    ERVector2D auxiliary_direction() const;

    /// An ERRectangle3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// A damaged record leaves all corners at the origin, one with another number as the
    /// constructor does.
    void restoreGuts(ERFile& file) override;
};

/// A regular polygon, by its vertices.
class VELM_API ERRegularPolygon2D : public velm::detail::VertexShape {
    VELM_DECLARE_CLASS(ERRegularPolygon2D)

public:
    /// Without vertices.
    ERRegularPolygon2D() = default;
    /// n vertices at even angles, counter-clockwise from the direction, with the circumradius
    /// side / (2 cos((pi - a) / 2)), a = 2 pi / n; none for n < 1.
    ERRegularPolygon2D(const ERPoint2D& centre, const ERVector2D& direction, double side, int n);
    /// The points as they stand.
    explicit ERRegularPolygon2D(const ERVec<ERPoint2D>& vertices) : VertexShape(vertices) {}

    int nb_sides() const { return points.size(); }
    /// The mean of the vertices; the origin without any.
    ERPoint2D barycenter() const;
    /// The length of edge 0.
    double length_side() const;
    /// The circles about the barycenter: to the middle of edge 0, and to vertex 0.
    ERCircle2D inside_circle() const;
    ERCircle2D outside_circle() const;
    /// Moves every edge outwards by d, inwards for a negative one. Returns 1, or 0 with the polygon
    /// unchanged where nothing would be left of it.
    int offset(double d);

    /// An ERRegularPolygon3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A slot with round ends: two half circles and the two segments between them, counter-clockwise
/// from the left of center1, seen towards center2. Equal centers make it a circle, with its
/// direction along x.
class VELM_API ERRoundedSlot2D : public velm::detail::ClosedShape {
    VELM_DECLARE_CLASS(ERRoundedSlot2D)

public:
    /// Radius 0 at the origin.
    ERRoundedSlot2D() = default;
    ERRoundedSlot2D(const ERPoint2D& first, const ERPoint2D& second, double radius)
        : center1_(first), center2_(second), radius_(radius) {}

    const ERPoint2D& center1() const { return center1_; }
    const ERPoint2D& center2() const { return center2_; }
    double radius() const { return radius_; }
    /// The mean of both centers.
    ERPoint2D center() const;
    /// From end to end: the distance of the centers and twice the radius.
    double length() const;
    double diameter() const { return 2.0 * radius_; }
    void diameter(double d) { radius_ = d * 0.5; }
    /// From center1 to center2.
    ERVector2D main_direction() const;

    /// 0 to 1 is the arc about center1, 1 to 2 the edge to the right of the direction, 2 to 3 the
    /// arc about center2, 3 to 4 the edge back; a whole t belongs to the earlier one. Part of the
    /// contract: the derivatives on the arcs are 0, and a t outside [0, 4] gives the point (0, 0).
    ERInfoPoint2D PtCur(double t) const override;
    ERMinimax2D getBox() const override;
    ERCompCurve2D composite_curve() const override;
    int Project(const ERPoint2D& p, ERPoint2D& foot, double& distance, int& entity) const override;
    /// The distance to the outline, negative inside it; DISTMIN_FOUND.
    DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist) override;

    void scale(double s) override;
    void translate(const ERPoint2D& v) override;
    /// The radius is multiplied by the ratio of lengths of t, or of its inverse.
    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// Exchanges the centers: the same points in the same sense, starting at the other end.
    void reverse() override;
    /// An ERRoundedSlot3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// Both centers, then the radius, as doubles.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.center1_, self.center2_, self.radius_);
    }

    ERPoint2D center1_;
    ERPoint2D center2_;
    double radius_ = 0.0;
};
