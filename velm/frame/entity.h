// EREntity and its halves EREntity2D, EREntity3D, EREntity2DWF, EREntity3DWF: everything that has a
// place in the plane or in space, and the wireframe entities among them.
#pragma once

#include "velm/frame/class_macros.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"
#include "velm/fwd.h"

/// The root of all geometry. Lengths are in model units, angles in radians.
class VELM_API EREntity : public ERObject {
    VELM_DECLARE_CLASS(EREntity)

public:
    /// The result of a distance operation. The values are fixed: hosts store them.
    enum DISTMINRES {
        /// No nearest point.
        DISTMIN_NONE = 0,
        /// A nearest point inside the entity.
        DISTMIN_FOUND = 1,
        /// Every point of the entity is equally near, as from the centre of a circle.
        DISTMIN_EVERYWHERE = 2,
        /// The nearest point is an end; the foot of the perpendicular falls outside.
        DISTMIN_AT_END = 3,
        /// A further status of lines in space, and of circles in space for a point of their plane.
        DISTMIN_IN_SPACE = 4
    };

    /// Multiplies all coordinates by s, about the origin.
    virtual void scale(double s) = 0;
};

/// An entity of the plane.
class VELM_API EREntity2D : public EREntity {
    VELM_DECLARE_CLASS(EREntity2D)

public:
    /// The distance from p to the entity, signed in classes that distinguish the sides. `dist` is
    /// unchanged if nothing is found, which is the result of this default.
    virtual DISTMINRES SignedMinimalDistance(const ERPoint2D& p, double& dist);

    /// Moves the entity by v.
    virtual void translate(const ERPoint2D& v) = 0;

    /// Maps the entity by TransFrom of t, or by TransTo.
    virtual void transformFrom(const ERTransfo2D& t) = 0;
    virtual void transformTo(const ERTransfo2D& t) = 0;
};

/// An entity of space.
class VELM_API EREntity3D : public EREntity {
    VELM_DECLARE_CLASS(EREntity3D)

public:
    /// As EREntity2D::SignedMinimalDistance.
    virtual DISTMINRES SignedMinimalDistance(const ERPoint3D& p, double& dist);

    /// Moves the entity by v.
    virtual void translate(const ERPoint3D& v) = 0;

    /// Maps the entity by TransFrom of t, or by TransTo.
    virtual void transformFrom(const ERPmSimilitude3D& t) = 0;
    virtual void transformFrom(const ERPmIsometrie3D& t) = 0;
    virtual void transformTo(const ERPmSimilitude3D& t) = 0;
    virtual void transformTo(const ERPmIsometrie3D& t) = 0;
};

/// A wireframe entity of the plane. Curves inherit it virtually, so that a class that derives from
/// it along two paths still has one ERObject part.
class VELM_API EREntity2DWF : public EREntity2D {
    VELM_DECLARE_CLASS(EREntity2DWF)

public:
    /// The same entity in the plane z = 0 of a frame, a new object.
    virtual t_SmartPtr<EREntity3DWF> get3DEquiv(const ERPmIsometrie3D& frame) = 0;
    /// Reverses the sense of travel.
    virtual void reverse() = 0;
};

/// A wireframe entity of space. Curves inherit it virtually.
class VELM_API EREntity3DWF : public EREntity3D {
    VELM_DECLARE_CLASS(EREntity3DWF)

public:
    /// The projection onto the plane z = 0 of a frame, in the frame's x and y, a new object; empty
    /// if the class has none, as by this default.
    virtual t_SmartPtr<EREntity2DWF> get2DEntProjectedOn(const ERPmIsometrie3D& frame);
    /// Reverses the sense of travel.
    virtual void reverse() = 0;
};
