// ERPolyline2D, ERPolyline3D: open chains of segments. ERPolygone2D, ERPolygone3D: closed ones.
//
//     ERPolyline2D path({{0, 0}, {4, 0}, {4, 3}});
//     ERPoint2D corner = path(1.0);              // the parameter is the number of the vertex
//     double length = path.arcLength(0.0);       // 7
//     ERPolygone2D triangle(path.getPoints());   // length 12, parameters 0 to 3
//     ERVec<double> feet;
//     triangle.ProjectPoint({2, 1}, feet, 1.5);  // feet within 1.5
//
// Vertices count from 0. Sections are not found (the interface's default of 0): ask the NURBS form.
#pragma once

#include "velm/frame/finite_entity.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

namespace velm::detail {

/// The polylines of the plane and of space.
template <class D>
class VELM_API Polyline : public D::FiniteEntity {
public:
    using Point = typename D::Point;
    using Vector = typename D::Vector;
    using Curve = typename D::FiniteEntity;
    using Curve::approxime;
    using Curve::isClosed;

    /// Without vertices.
    Polyline() = default;
    /// Through the given points. Of three and more, those that are exactly equal to the one before
    /// are left out; fewer are taken as they are.
    Polyline(const ERVec<Point>& vertices);

    const ERVec<Point>& getPoints() const { return points; }
    /// The number of edges, which the parameter runs up to; of a polygon with the closing one.
    int edges() const;

    /// Leaves out the vertices closer than 1e-11 in each coordinate to the last one kept; the
    /// object is then in no store.
    void cleanUp();

    /// 0 to edges().
    double ufin() const override;
    /// 1 if the first and the last vertex differ by at most 1e-11 in each coordinate; of a polygon
    /// always.
    virtual int isClosed() const;
    /// 1 on a polygon.
    int isClosed(double tol) const override;

    /// On an edge its vector, at an inner vertex the mean of those of both edges; the second
    /// derivative is 0. The first edge goes on below 0 and the last beyond its end; on an open
    /// polyline it does so from edges() + 1 on a second time from its end: part of the contract. Of
    /// one vertex the vertex, of none the origin, with derivatives of 0. The info point's parameter
    /// is t.
    typename D::InfoPoint PtCur(double t) override;
    typename D::Box getBox() override;
    /// Of degree 1, with the knots 0, 0, 1, ..., n - 1, n - 1 of its n poles; without poles for
    /// fewer than two. Defined in curves/shape_outlines.cpp.
    typename D::NurbsCurve ConvertToNurbs() override;
    /// Exact; the tolerance is not used. The first and the last edge go on beyond the ends.
    double arcLength(ERLimites interval, double tol) const override;
    double arcLength(double tol) const override;
    /// Two polylines that meet at t, with the vertices on each side of it. Returns 0, the outputs
    /// unchanged, for a t that isn't strictly inside.
    int splitAt(t_SmartPtr<Curve>& first, t_SmartPtr<Curve>& second, double t) const override;

    /// Sets `params` to the parameters of the feet of the perpendiculars from p on the edges, start
    /// included and end not, so that a vertex comes once. With a tol above 0 those within tol; with
    /// 0 only of a p in the box. The closing edge counts on an open polyline too, with parameters
    /// above n - 1: part of the contract. Edges whose ends agree within 1e-11 are left out.
    int ProjectPoint(const Point& p, ERVec<double>& params, double tol) const override;

    void scale(double s) override;
    void translate(const Point& v) override;
    /// A polygon keeps its first vertex.
    void reverse() override;

    /// The array of the vertices. Damaged ones leave none.
    VELM_DECLARE_STORED_FORM();

protected:
    /// 0 for a polyline, 1 for a polygon.
    virtual int closing_edges() const;
    /// Vertex i, the first again after the last.
    const Point& vertex(int i) const;
    /// The ends of the interval and the vertices between them.
    void prepareApprox(typename D::PointList& list, const ERLimites& interval,
                       double tol) const override;
    typename D::InfoPoint point_at(double t) const;
    void print_as(std::ostream& out, const char* label) const;

    ERVec<Point> points;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);
};

} // namespace velm::detail

/// A polyline of the plane.
class VELM_API ERPolyline2D : public velm::detail::Polyline<velm::Plane> {
    VELM_DECLARE_CLASS(ERPolyline2D)

public:
    using Polyline::Polyline;

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    /// An ERPolyline3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A polyline of space.
class VELM_API ERPolyline3D : public velm::detail::Polyline<velm::Space> {
    VELM_DECLARE_CLASS(ERPolyline3D)

public:
    using Polyline::Polyline;

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// An ERPolyline2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// A polyline of the plane that goes back to its first vertex: the edge n - 1 closes it, and the
/// parameter runs from 0 to n.
class VELM_API ERPolygone2D : public ERPolyline2D {
    VELM_DECLARE_CLASS(ERPolygone2D)

public:
    using ERPolyline2D::ERPolyline2D;

    /// An ERPolygone3D.
    t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

protected:
    int closing_edges() const override;
};

/// The same in space.
class VELM_API ERPolygone3D : public ERPolyline3D {
    VELM_DECLARE_CLASS(ERPolygone3D)

public:
    using ERPolyline3D::ERPolyline3D;

    /// An ERPolygone2D.
    t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame) override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

protected:
    int closing_edges() const override;
};

extern template class velm::detail::Polyline<velm::Plane>;
extern template class velm::detail::Polyline<velm::Space>;
