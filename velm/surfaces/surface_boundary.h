// ERSurfaceBoundary: a closed curve in the parameters of a surface, with its polylines.
// ExtractList23: its polyline on the surface.
//
//     ERSurfaceBoundary hole(ERArc2D({2, 1}, 0.5, 0, 6.283), ERSurfaceBoundary::inner);
//     hole.setBaseSurface(surface.get());
//     draw(hole.smash(0.01)); // in space, chords within 0.01 of the surface
//
// ERTrimmedSurface is made of them. The polylines are cached in const operations: one boundary
// belongs to one thread at a time.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/finite_entity.h"
#include "velm/frame/object.h"
#include "velm/frame/point23_list.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/vec.h"

/// The curve is shared with whoever holds it, the surface isn't owned: it outlives the boundary or
/// is taken away with setBaseSurface. A copy has a curve of its own and no surface.
///
/// The curve is in the parameters of the surface: maps of the surface don't change it.
class VELM_API ERSurfaceBoundary : public ERObject {
    VELM_DECLARE_CLASS(ERSurfaceBoundary)

public:
    /// What a boundary encloses: a hole, or the face. The values are stored: never renumber them.
    enum Side : int { unset = 0, inner = 1, outer = 2 };

    ERSurfaceBoundary() = default;
    /// Keeps a copy of the curve.
    ERSurfaceBoundary(const ERFiniteEntity2DWF& curve, Side side);
    /// Shares the curve, which is on the heap.
    ERSurfaceBoundary(ERFiniteEntity2DWF* curve, Side side);
    ERSurfaceBoundary(const ERSurfaceBoundary& other);
    ERSurfaceBoundary& operator=(const ERSurfaceBoundary& other);

    const t_SmartPtr<ERFiniteEntity2DWF>& getBound2D() const { return curve_; }
    /// Set the curve as the constructors do and drop both polylines.
    void setBoundary(const ERFiniteEntity2DWF& curve);
    void setBoundary(ERFiniteEntity2DWF* curve);
    Side side() const { return side_; }
    /// Returns the old side.
    Side setSide(Side side);
    ERAnyBoundedSurface* baseSurface() const { return base_; }
    /// Both polylines are kept: those that were stored stay valid.
    void setBaseSurface(ERAnyBoundedSurface* surface) { base_ = surface; }

    /// 1 if the curve's ends were within 0.001 of each other on both axes when it was set, or there
    /// is no curve. Nothing refuses an open one.
    int isClose() const { return (flags_ & open_flag) == 0; }
    /// The curve's box, empty without one.
    ERMinimax2D getBox() const;

    /// The curve as a polyline within the tolerance, by its approxime; cached until another
    /// tolerance is asked for. A negative tolerance means any that is cached. 0, or a negative one
    /// with nothing cached, means 0.0001 of a model length: 0.0001 times the smaller ratio of the
    /// surface's limits to its estimated lengths, 0.0001 if there is none above 0.
    ERVec<ERPoint2D> getBound2DasPolyline(double tolerance) const;
    /// The curve as a polyline in space, by ExtractList23 with a derived tolerance in the
    /// parameters; cached until another tolerance is asked for. Empty without a curve or a surface.
    ERVec<ERPoint3D> smash(double tolerance) const;
    /// The same with the parameters of its points, not cached.
    void smash(ERVec<ERPoint3D>& points, ERVec<ERPoint2D>& parameters, double tolerance) const;

    /// After the surface has been moved: the polyline in space is dropped, the curve unchanged.
    void scale(double s);
    void translate(const ERPoint3D& v);
    void transformFrom(const ERPmSimilitude3D& t);
    void transformFrom(const ERPmIsometrie3D& t);
    void transformTo(const ERPmSimilitude3D& t);
    void transformTo(const ERPmIsometrie3D& t);

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// A reserved int 0, the curve as an optional reference; as ints whether the polylines of the
    /// plane and of space are valid, their tolerances, that of space first; both polylines as
    /// array bodies; the side and the flags as ints.
    VELM_DECLARE_STORED_FORM();

private:
    friend class ERTrimmedSurface;
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);
    double derived_tolerance() const;
    void drop_space_polyline() { space_polyline_.valid = 0; }

    template <class Point>
    struct Polyline {
        int valid = 0;
        double tolerance = 0.0; // that it was made with
        ERVec<Point> vertices;
    };

    static constexpr int open_flag = 1;

    ERAnyBoundedSurface* base_ = nullptr;
    t_SmartPtr<ERFiniteEntity2DWF> curve_;
    Side side_ = unset;
    int flags_ = 0x14; // the other bits are kept for file compatibility
    mutable Polyline<ERPoint2D> polyline_;
    mutable Polyline<ERPoint3D> space_polyline_;
};

/// Appends the vertices of getBound2DasPolyline(tolerance2D) with their points on the surface,
/// except those that repeat the previous one within 1e-11 in both parameters, then the first vertex
/// again if the last differs from it at all, and refines the list by ERPoint23List::Smash with
/// tolerance3D. Nothing without a surface.
VELM_API void ExtractList23(const ERSurfaceBoundary& boundary, ERPoint23List& list,
                            double tolerance2D, double tolerance3D);
