// ERTr3DRevRep: the bodies of transformations, which handles share. ERAnySimilitude3D,
// ERAnyIsometrie3D: the bodies that keep angles, and those that keep lengths too.
// ERTr3DRevRep_ThreadLocalData: the identity of a thread.
#pragma once

#include "velm/platform/thread_local_object.h"
#include "velm/transforms/transformation.h"

/// A body: a small transformation that is never changed once it is made. Handles hold it by
/// reference count (see transformation_handle.h).
///
/// A result of getReduced, operator* or getInverse is a new body without references, an operand, or
/// the thread's identity; give it to a handle. A result that equals an operand is that operand if
/// it was made by `new`, else a copy of it.
class VELM_API ERTr3DRevRep : public ERTr3DRev {
    VELM_DECLARE_CLASS(ERTr3DRevRep)

public:
    // The kinds of bodies of the library override these. These break into the debugger and return
    // null: they must not be reached.

    /// The simplest equal body, every number within 1e-11.
    virtual const ERTr3DRevRep* getReduced() const;
    /// This after `other`: TransFrom of the result is TransFrom of `other`, then of this.
    virtual const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const;
    /// The second step of operator*, a call on its right operand: the composition of `left` after
    /// this, chosen by the class of `left`.
    virtual const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const;
    virtual const ERTr3DRevRep* multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const;

    /// This body.
    const ERTr3DRevRep* multiplyWith_ERIdentity3D(const _ERIdentity3D* left) const;

    /// The calling thread's identity, one object for as long as the thread lives; the thread holds
    /// one reference on it, so that handles may hold it longer.
    static ERTr3DRevRep* GetIdentity();

protected:
    /// This body if it was made by `new`, else a heap copy.
    const ERTr3DRevRep* shareable() const;
};

/// The bodies of the maps M (k p) + t.
class VELM_API ERAnySimilitude3D : public ERTr3DRevRep {
    VELM_DECLARE_CLASS(ERAnySimilitude3D)

public:
    /// The general composition: an _ERSimilitude3D of both bodies' matrices, translations and
    /// factors. The kinds that know a simpler result override it.
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;
    const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const override;
};

/// The bodies of the maps that keep lengths and orientation.
class VELM_API ERAnyIsometrie3D : public ERAnySimilitude3D {
    VELM_DECLARE_CLASS(ERAnyIsometrie3D)
};

/// The data that the transformations keep for each thread.
class VELM_API ERTr3DRevRep_ThreadLocalData : public CNoTrackObject {
public:
    ERTr3DRevRep_ThreadLocalData() = default;
    ERTr3DRevRep_ThreadLocalData(const ERTr3DRevRep_ThreadLocalData&) = delete;
    ERTr3DRevRep_ThreadLocalData& operator=(const ERTr3DRevRep_ThreadLocalData&) = delete;
    /// Gives up the thread's reference on the identity.
    ~ERTr3DRevRep_ThreadLocalData() override;

    ERTr3DRevRep* identity = nullptr; // null until it is asked for
};
