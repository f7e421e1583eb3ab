// ERTr3D, ERTr3DRev: the interfaces of the transformations of space, of those that map one way only
// and of those that can be inverted.
#pragma once

#include "velm/frame/class_macros.h"
#include "velm/frame/enumerations.h"
#include "velm/frame/object.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/vec.h"
#include "velm/frame/vector.h"
#include "velm/fwd.h"
#include "velm/numerics/matrix.h"

/// A map of space into local coordinates. The operations change their argument in place and return
/// it.
///
/// A point is mapped as a place, a vector by the linear part alone. A pole is mapped by its point,
/// the weighted coordinates divided by the weight, and keeps its weight.
class VELM_API ERTr3D : public ERObject {
    VELM_DECLARE_CLASS(ERTr3D)

public:
    /// From global to local coordinates.
    virtual ERVec<ERPole3DH>& TransTo(ERVec<ERPole3DH>& poles) const;
    virtual void TransTo(ERPoint3D* points, int n) const;
    virtual ERVec<ERPoint3D>& TransTo(ERVec<ERPoint3D>& points) const;
    virtual ERVector3D& TransTo(ERVector3D& v) const = 0;
    virtual ERPoint3D& TransTo(ERPoint3D& p) const = 0;

    /// 1 if the other transformation has a body of the same class and the same matrix, translation
    /// and factor, each number within 1e-9; else 0.
    virtual int isEqual(const ERTr3D& other) const = 0;

    /// The local x and y: the projection onto the plane z = 0 of the frame.
    virtual ERPole2DH Project(const ERPole3DH& pole) const;
    virtual ERPoint2D Project(const ERPoint3D& p) const;
};

/// isEqual.
VELM_API bool operator==(const ERTr3D& a, const ERTr3D& b);

/// TransFrom and TransTo change their argument in place and return it; for a copy write T >> x and
/// T << x (transformed_values.h). Those of ERTransfo2D, in the plane, return copies.
///
/// A map that can be inverted: with the matrix M, the translation t and the factor k, TransFrom
/// computes M (k p) + t from local to global coordinates, and TransTo is its inverse. The inverse
/// assumes that M is orthogonal: for another M, TransTo is not the inverse.
class VELM_API ERTr3DRev : public ERTr3D {
    VELM_DECLARE_CLASS(ERTr3DRev)

public:
    /// The inverse: a body without references, which the caller gives to a handle.
    virtual const ERTr3DRevRep* getInverse() const = 0;

    /// From local to global coordinates.
    virtual ERVec<ERPole3DH>& TransFrom(ERVec<ERPole3DH>& poles) const;
    virtual ERVec<ERPoint3D>& TransFrom(ERVec<ERPoint3D>& points) const;
    virtual void TransFrom(ERPoint3D* points, int n) const;
    virtual ERVector3D& TransFrom(ERVector3D& v) const = 0;
    virtual ERPoint3D& TransFrom(ERPoint3D& p) const = 0;

    /// M, 3 x 3.
    virtual ERMatrix<double> getMatrix() const = 0;
    /// t.
    virtual ERPoint3D getTrans() const = 0;
    /// k; 1.0 for an isometry.
    virtual double getFactHomo() const;
    /// 1 if the orientation of space is kept, else 0.
    virtual int isDirect() const;

    /// The place of the local origin: getTrans().
    virtual ERPoint3D origine() const;
    /// The unit vector of a local axis through TransFrom; zero for an axis out of range.
    virtual ERVector3D getVector(Coord3D axis) const;
};
