// velm::detail::FramedSurface: what the bounded plane, cylinder, cone, sphere and torus have in
// common.
#pragma once

#include "velm/surfaces/bounded_surface.h"
#include "velm/surfaces/surface_in_frame.h"

#include <type_traits>

class ERBoundedCone;
class ERBoundedCylinder;
class ERBoundedPlane;
class ERBoundedSphere;
class ERBoundedTorus;

namespace velm::detail {

/// A point of a surface with its derivatives, in the surface's frame.
struct LocalPoint {
    ERVector3D point;
    ERVector3D du;
    ERVector3D duu;
    ERVector3D dv;
    ERVector3D duv;
    ERVector3D dvv;
};

/// How project_inbound brings a parameter that is outside its limits to an end of them.
enum class EndRule {
    /// The end that it is beyond.
    clamp,
    /// The end whose point is nearer; the upper one for a tie.
    nearest
};

/// What a family states about itself: which parameter is the angle about the frame's z axis (0 for
/// u, 1 for v, -1 for none), and the rules of project_inbound for u and v.
template <class Surface>
struct FamilyTraits;
template <>
struct FamilyTraits<ERBoundedPlane> {
    static constexpr int turning = -1;
    static constexpr EndRule ends[2] = {EndRule::clamp, EndRule::clamp};
    static constexpr bool virtual_bases = false;
};
template <>
struct FamilyTraits<ERBoundedCylinder> {
    static constexpr int turning = 1;
    static constexpr EndRule ends[2] = {EndRule::clamp, EndRule::nearest};
    static constexpr bool virtual_bases = false;
};
template <>
struct FamilyTraits<ERBoundedCone> : FamilyTraits<ERBoundedCylinder> {};
template <>
struct FamilyTraits<ERBoundedSphere> {
    static constexpr int turning = 0;
    static constexpr EndRule ends[2] = {EndRule::nearest, EndRule::clamp};
    /// Part of the class tree that hosts know: the sphere alone has virtual bases.
    static constexpr bool virtual_bases = true;
};
template <>
struct FamilyTraits<ERBoundedTorus> {
    static constexpr int turning = 0;
    static constexpr EndRule ends[2] = {EndRule::nearest, EndRule::nearest};
    static constexpr bool virtual_bases = false;
};

template <class Base>
class VirtualBase : public virtual Base {
protected:
    VirtualBase() = default;
    VirtualBase(const VirtualBase&) = default;
    // Copies, never moves: a virtual base would be moved from twice.
    VirtualBase& operator=(const VirtualBase&) = default;
};
template <class Self, class Base>
using FamilyBase = std::conditional_t<FamilyTraits<Self>::virtual_bases, VirtualBase<Base>, Base>;

/// The family of Self, whose geometry is a function local(u, v) in the frame.
///
/// Every point of the surface goes where a map takes it. A map that reverses orientation keeps the
/// sense of the frame's z axis on the image and mirrors the angle about it: its limits [a, b]
/// become [-b, -a], and the grid is dropped. On a plane u and v stay as they are.
template <class Self>
class VELM_API FramedSurface : public FamilyBase<Self, ERSurfaceBasedOnTransfo3D>,
                               public FamilyBase<Self, ERBoundedSurface> {
public:
    using ERAnyBoundedSurface::operator();
    using ERAnyBoundedSurface::ProjectionNormale;
    using ERAnyBoundedSurface::ProjectPoint;
    using ERAnyBoundedSurface::PtCur;

    ERInfoPoint3DSurf PtCur(double u, double v) const override;
    ERPoint3D operator()(double u, double v) const override;
    /// The point at the parameters of ProjectionNormale, brought into the limits: clamped, except
    /// that an angle outside goes to the end whose point is nearer to p, first in u, then in v. A p
    /// without a foot gives the point at (0, 0), brought in likewise.
    ERPoint3D project_inbound(const ERPoint3D& p) const override;

    /// All crossings with the whole surface beyond its limits, in the order of z; with inBound
    /// those in the limits, 1e-12 allowed. A line that touches gives one, a line in the surface
    /// none. Defined in analytic_crossings.cpp.
    void ProjectPoint(const ERPoint3D& p, ERRaySurfaceResult& result, int inBound) const override;

    /// Multiplies the frame's origin, the radii and the limits that are lengths; the axes are
    /// unchanged. A factor below 0 gives negative radii and reversed limits, which are the scaled
    /// points nevertheless; the plane exchanges the ends of its limits then.
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    ERObject* getCopy() const override;

    // Two bases have these: each family settles them.
    ERClassRegistration const* isA() const override = 0;
    char const* className() const override = 0;
    void* _castdown(ERClassRegistration const& wanted) const override = 0;
    CRuntimeClass* GetRuntimeClass() const override = 0;
    void saveGuts(ERFile& file) const override = 0;
    void restoreGuts(ERFile& file) override = 0;
    unsigned int binaryStoreSize() const override = 0;

protected:
    FramedSurface() = default;
    FramedSurface(const FramedSurface&) = default;
    FramedSurface& operator=(const FramedSurface&) = default;
    FramedSurface(const ERPmIsometrie3D& placed, const ERLimites& u, const ERLimites& v);

    const ERPmIsometrie3D& getRepere() const { return this->frame; }
    ERPoint3D in_frame(const ERPoint3D& p) const;
    /// The frame moved along its z axis.
    ERPmIsometrie3D raised_frame(double height) const;
    ERVector3D axis(Coord3D name) const { return this->frame.getVector(name); }

    template <class Object, class Form>
    static void placed_fields(Object& self, Form& form) {
        ERSurfaceBasedOnTransfo3D::stored_fields(self, form);
        ERBoundedSurface::stored_fields(self, form);
    }

private:
    const Self& self() const { return static_cast<const Self&>(*this); }
    template <class Map>
    void move(Map map, double factor);
};

} // namespace velm::detail
