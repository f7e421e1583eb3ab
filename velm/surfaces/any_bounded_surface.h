// ERAnyBoundedSurface: the interface of the surfaces on a rectangle of parameters, with evaluation,
// sampling, boxes, iso curves, splitting and projection.
#pragma once

#include "velm/frame/box.h"
#include "velm/frame/interval.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/vec.h"
#include "velm/surfaces/surface.h"
#include "velm/surfaces/surface_point.h"

class ERFiniteEntity3DWF;
class ERRaySurfaceResult;
class gmProcessMesh;

/// A surface P(u, v) between udeb and ufin, vdeb and vfin. Parameters are not clamped, except where
/// a member says so.
///
/// Operations that only read are const, but getMatricePoint keeps its grid, and some classes keep
/// more: one surface belongs to one thread at a time.
class VELM_API ERAnyBoundedSurface : public virtual ERSurface {
    VELM_DECLARE_CLASS(ERAnyBoundedSurface)

public:
    ERAnyBoundedSurface() = default;
    ERAnyBoundedSurface(const ERAnyBoundedSurface&) = default;
    /// Takes over no grid and drops its own.
    ERAnyBoundedSurface& operator=(const ERAnyBoundedSurface& other);

    virtual double udeb() const = 0;
    virtual double ufin() const = 0;
    virtual double vdeb() const = 0;
    virtual double vfin() const = 0;
    virtual ERLimites getBoundU() const;
    virtual ERLimites getBoundV() const;
    /// The surface itself; a trimmed surface gives the one that it is cut from. The surface must be
    /// on the heap.
    virtual t_SmartPtr<ERAnyBoundedSurface> base_surface() const;
    /// The corners (udeb, vdeb), (ufin, vdeb), (ufin, vfin), (udeb, vfin).
    virtual ERVec<ERPoint3D> boundary_points() const;

    /// The point with all first and second derivatives.
    virtual ERInfoPoint3DSurf PtCur(double u, double v) const = 0;
    /// The parameter is clamped into the limits.
    ERInfoPoint3DSurf PtCur(const ERPoint2D& parameter) const;
    virtual ERPoint3D operator()(double u, double v) const;
    /// Not clamped.
    ERPoint3D operator()(const ERPoint2D& parameter) const;
    /// PtCur at parameters drawn with std::rand(), v first. Half of the draws of each are outside
    /// the limits, by up to their width: part of the contract.
    virtual ERInfoPoint3DSurf randomPoint() const;

    virtual ERMinimax3D getBox() const = 0;
    /// Gives the lines of constant u and of constant v at even steps, as many as the densities of
    /// the mesh want, to on_add_wireframe. A direction whose limits have no extent or whose density
    /// is below 1 is skipped.
    virtual void tessalate(gmProcessMesh& mesh) const;
    /// The curve of constant u, with v as its parameter, and the other way round.
    virtual t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const = 0;
    virtual t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const = 0;

    /// Appends the points in which the line through p along the z axis meets the surface. The
    /// default finds none; `reserved` is for the classes.
    virtual void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int reserved) const;
    /// The same for the line along `direction`: by the operation above on a copy of the surface
    /// that is moved so that the line becomes the z axis.
    virtual void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction,
                              ERRaySurfaceResult& result, int inBound) const;

    /// The parameter of the foot of the perpendicular from p, within the limits if inBound is not
    /// 0. `distance` is the greatest distance that the caller accepts; it may be used to give up
    /// early. Returns 1, or 0 (the default).
    virtual int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                                  int inBound) const;
    /// By the operation above with distance 0 inside the limits; the parameter is clamped, and the
    /// normal is that of the point there.
    int ProjectionNormale(const ERPoint3D& p, ERPoint3D& foot, ERVector3D& normal) const override;
    /// The point of the surface inside the limits near p; the default returns p.
    virtual ERPoint3D project_inbound(const ERPoint3D& p) const;
    /// Polishes a parameter that is near the foot of p, and moves p onto the surface. Returns 1, or
    /// 0 (the default).
    virtual int ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const;

    /// Estimates of the length of the surface along u and along v, from above unless the class says
    /// otherwise.
    virtual double upperEstimateInU() const = 0;
    virtual double upperEstimateInV() const = 0;

    /// Cuts at u, or at v: a and b take new surfaces. Returns 1, or 0 with both unchanged. Either
    /// may be the pointer that holds this surface. Without a parameter: in the middle.
    virtual int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                         t_SmartPtr<ERAnyBoundedSurface>& b) const;
    virtual int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                         double u) const = 0;
    virtual int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                         t_SmartPtr<ERAnyBoundedSurface>& b) const;
    virtual int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                         double v) const = 0;

    /// 1 if the derivatives up to the given order are known to be continuous; the default is 0.
    virtual int IsContinuous(int order) const;
    /// The parameters at which the derivative of the given order jumps: by default none, and 1.
    virtual int GetDiscontinuitiesU(int order, ERVec<double>& params) const;
    virtual int GetDiscontinuitiesV(int order, ERVec<double>& params) const;
    /// The numbers of polynomial pieces: by default 1 and 1.
    virtual void GetNumberOfSpans(int& nu, int& nv) const;
    /// A box for each piece, in an array with a row per span in U: by default getBox alone.
    virtual void GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const;

    /// n points in U times m in V at even steps, point (i, j) at element n j + i (a row per step in
    /// V), by the curves of getEntityIsoU. The surface keeps the grid and returns it again as long
    /// as its sizes are asked for, even if the surface has changed since by an operation that
    /// doesn't move or drop the grid: part of the contract. A single point in a direction is at a
    /// NaN parameter; n or m below 1 gives an empty matrix.
    virtual const ERMatrix<ERPoint3D>& getMatricePoint(int n, int m) const;
    /// Drops the grid; the argument is not used here.
    void CleanUpTemporaries(int level) override;

    /// These move the grid, and a derived class moves its own geometry and calls them.
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    /// By default nothing changes: a class that knows its offset overrides it, and EROffsetSurface
    /// offsets any other.
    void offset(double d) override;

    /// Reading a record drops the grid, which is never stored.
    VELM_DECLARE_STORED_FORM();

protected:
    void drop_grid() const;
    /// Exchanges rows and columns of the grid, for a class that exchanges U and V.
    void transpose_grid();

private:
    mutable ERMatrix<ERPoint3D> grid_;
};
