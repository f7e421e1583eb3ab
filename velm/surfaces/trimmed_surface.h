// ERTrimmedSurface: a face, a surface within closed curves in its parameters.
// filtreOutsidePointTrimedSurface: leaves only solutions inside of it.
//
//     ERTrimmedSurface face(cylinder);                     // keeps a copy
//     face.addBound(outline, ERSurfaceBoundary::outer);
//     face.addBound(hole, ERSurfaceBoundary::inner);
//     if (face.isInBound({u, v})) use(face(u, v));
//
// The face is where the parameter is inside the limits of the base surface and in the region that
// the curves enclose. Evaluation, splits and estimates are those of the base: nothing but
// isInBound, projections with `inBound` and the wireframe knows the trim.
//
// The region is that of polylines of the curves, within 0.0001 of a model length (see
// ERSurfaceBoundary::getBound2DasPolyline). It and the polylines are built in const operations: a
// face belongs to one thread at a time. velm::PreparedFace is for many threads, and exact.
#pragma once

#include "velm/frame/val_dlist.h"
#include "velm/planar/region.h"
#include "velm/surfaces/any_bounded_surface.h"
#include "velm/surfaces/process_mesh.h"
#include "velm/surfaces/surface_boundary.h"

#include <memory>

/// Without a base surface, as by default and from a damaged record, points are at the origin and
/// nothing is inside.
class VELM_API ERTrimmedSurface : public ERAnyBoundedSurface {
    VELM_DECLARE_CLASS(ERTrimmedSurface)

public:
    using Boundaries = ERTValDlist<t_SmartPtr<ERSurfaceBoundary>>;

    ERTrimmedSurface() = default;
    /// Keeps a copy of the base, without boundaries.
    explicit ERTrimmedSurface(const ERAnyBoundedSurface& base);
    /// Shares the base, which is on the heap: maps of this surface change it, or a copy that takes
    /// its place if the base is stored.
    explicit ERTrimmedSurface(ERAnyBoundedSurface* base);
    /// The part of the frame's xy plane within the curve, which is shared, as outer boundary. The
    /// limits of the plane are the curve's box.
    ERTrimmedSurface(const ERPmIsometrie3D& frame, ERFiniteEntity2DWF* outer);
    /// A copy has a base and boundaries of its own.
    ERTrimmedSurface(const ERTrimmedSurface& other);
    ERTrimmedSurface& operator=(const ERTrimmedSurface& other);
    /// Boundaries that are still counted elsewhere lose their surface.
    ~ERTrimmedSurface() override;

    /// Add a copy of the curve, or the curve itself, which is on the heap; null adds nothing. An
    /// inner boundary is appended. An outer one comes first, and is silently left out if there is
    /// one already. An unset one becomes outer and is appended in any case, even after inner ones,
    /// so that the region then takes the first boundary for the outer one: part of the contract.
    void addBound(const ERFiniteEntity2DWF& curve, ERSurfaceBoundary::Side side);
    void addBound(ERFiniteEntity2DWF* curve, ERSurfaceBoundary::Side side);
    /// The first boundary's curve if it is an outer one, else null.
    t_SmartPtr<ERFiniteEntity2DWF> getOutBnd() const;
    /// The curve of the i-th boundary after the outer one if it is an inner one, else null.
    t_SmartPtr<ERFiniteEntity2DWF> getInBnd(int i) const;
    const Boundaries& getBoundList() const { return boundaries_; }
    /// A change of a boundary through it doesn't reach a region that is already built.
    ERTValDlistIterator<t_SmartPtr<ERSurfaceBoundary>> getBoundIterator() {
        return ERTValDlistIterator<t_SmartPtr<ERSurfaceBoundary>>(boundaries_);
    }
    /// Whether the region takes the first boundary for the outer one.
    int isFirstOuter() const { return first_is_outer_; }
    /// The box of the outer boundary in the parameters, or the limits of the base.
    const ERMinimax2D& boundaryBox() const { return box_; }

    /// 1 in the closed limits of the base and in the region or on its edge, else 0. Without
    /// boundaries the limits decide.
    int isInBound(const ERPoint2D& parameter) const;
    /// The region, built if there is none; it belongs to this surface, which drops it when a
    /// boundary is added or a record read.
    ERRegion2D* GetRegion() const;
    /// ERRegion2D::IsInDomain of a box of parameters, POLYGONE_INSIDE_BOX without boundaries.
    ER_MINMAX_POSITION_POLYGONE PositionFenetre(ERMinimax2D& box) const;

    double udeb() const override;
    double ufin() const override;
    double vdeb() const override;
    double vfin() const override;
    ERLimites getBoundU() const override;
    ERLimites getBoundV() const override;
    t_SmartPtr<ERAnyBoundedSurface> base_surface() const override;
    ERVec<ERPoint3D> boundary_points() const override;
    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::PtCur;
    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    ERInfoPoint3DSurf randomPoint() const override;
    ERMinimax3D getBox() const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoU(double u) const override;
    t_SmartPtr<ERFiniteEntity3DWF> getEntityIsoV(double v) const override;

    /// The boundaries, then the parts of the lines of constant u and of constant v inside, without
    /// those on the region's box. Without boundaries that of the base.
    void tessalate(gmProcessMesh& mesh) const override;
    /// Gives the parts of one line inside to on_add_wireframe. If `on_box` is 0, nothing for a line
    /// within 1e-11 of a side of the region's box.
    void extract_wireframe(double value, gmMeshDir dir, int on_box, gmProcessMesh& mesh) const;
    void extract_u_wireframe(double value, gmProcessMesh& mesh) const;
    void extract_v_wireframe(double value, gmProcessMesh& mesh) const;

    /// The crossings with the base; if inBound is not 0, all of `result` that are outside go, also
    /// those that were there before.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int inBound) const override;
    void ProjectPoint(const ERPoint3D& p, const ERVector3D& direction, ERRaySurfaceResult& result,
                      int inBound) const override;
    using ERAnyBoundedSurface::ProjectionNormale;
    /// The foot on the base; if inBound is not 0, 0 for one that is outside.
    int ProjectionNormale(const ERPoint3D& p, double distance, ERPoint2D& parameter,
                          int inBound) const override;
    int ReajustProjection(ERPoint3D& p, ERPoint2D& parameter, int inBound) const override;
    /// On the base.
    ERPoint3D project_inbound(const ERPoint3D& p) const override;
    DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist) override;

    double upperEstimateInU() const override;
    double upperEstimateInV() const override;
    /// The parts of the base, without a trim.
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a,
                 t_SmartPtr<ERAnyBoundedSurface>& b) const override;
    int SplitInU(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double u) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a,
                 t_SmartPtr<ERAnyBoundedSurface>& b) const override;
    int SplitInV(t_SmartPtr<ERAnyBoundedSurface>& a, t_SmartPtr<ERAnyBoundedSurface>& b,
                 double v) const override;
    int IsContinuous(int order) const override;
    int GetDiscontinuitiesU(int order, ERVec<double>& params) const override;
    int GetDiscontinuitiesV(int order, ERVec<double>& params) const override;
    void GetNumberOfSpans(int& nu, int& nv) const override;
    void GetSpanBoxes(ERSimpleVec2<ERMinimax3D>& boxes) const override;
    const ERMatrix<ERPoint3D>& getMatricePoint(int n, int m) const override;
    void CleanUpTemporaries(int level) override;

    /// These change the base, and the boundaries drop their polylines in space. The curves stay as
    /// they are, also where the base's parameters scale with it or mirror: part of the contract.
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    void offset(double d) override;
    /// Reverses the base and mirrors the curves, as NURBS curves, as the base's parameters are: u
    /// and v exchanged, v negated on a surface of revolution. The face stays where it is if the
    /// base does.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
    /// The base as an optional reference; whether the first boundary is the outer one, as an int;
    /// the box; the boundaries as a list of optional references. Boundaries that can't be read are
    /// left out; if one of them was to be the outer one, there is none.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form);

    void _addBound(t_SmartPtr<ERSurfaceBoundary>& boundary);
    void calculate_bounding_box();
    void ConstructRegion2D() const;
    void extract_polyline_from_wireframe(const t_SmartPtr<ERFiniteEntity3DWF>& curve,
                                         const ERTValVector<ERVec<ERPoint2D>>& pieces, double value,
                                         gmMeshDir dir, gmProcessMesh& mesh) const;
    void take_copies(const ERTrimmedSurface& other);
    void release_boundaries();
    void give_base_to_boundaries();
    /// The base and the boundaries, as objects of their own where they are stored, to be changed.
    void own_all();
    template <class Change>
    void move(Change change);

    t_SmartPtr<ERAnyBoundedSurface> base_;
    ERMinimax2D box_;
    int first_is_outer_ = 0;
    Boundaries boundaries_;
    mutable std::unique_ptr<ERRegion2D> region_;
};

/// For ERRaySurfaceResult::filtre, with an ERTrimmedSurface* as context: 1 if the parameter is not
/// in bound.
VELM_API int filtreOutsidePointTrimedSurface(ERInfoPoint3DSurf* solution, void* surface);
