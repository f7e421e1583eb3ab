// ERTr3DRevEnveloppe, ERPmSimilitude3D, ERPmIsometrie3D: the handles through which transformations
// of space are used.
#pragma once

#include "velm/transforms/transformation.h"

/// Owns a body by reference count and forwards everything to it. The body is never null and always
/// reduced to the simplest kind that holds the map. Copies share it; they may be used in other
/// threads and outlive the thread that made them.
///
/// The stored form is the same for every body: the matrix, the translation and the factor.
class VELM_API ERTr3DRevEnveloppe : public ERTr3DRev {
    VELM_DECLARE_CLASS(ERTr3DRevEnveloppe)

public:
    ~ERTr3DRevEnveloppe() override;
    ERTr3DRevEnveloppe& operator=(const ERTr3DRevEnveloppe& other);
    /// Takes the body as the constructor does.
    ERTr3DRevEnveloppe& operator=(const ERTr3DRevRep* body);

    /// Never null; a caller that keeps it makes a handle on it.
    const ERTr3DRevRep* body() const { return body_; }
    /// Replaces the body by the simplest equal one.
    void reduce();

    ERVec<ERPole3DH>& TransTo(ERVec<ERPole3DH>& poles) const override;
    void TransTo(ERPoint3D* points, int n) const override;
    ERVec<ERPoint3D>& TransTo(ERVec<ERPoint3D>& points) const override;
    ERVector3D& TransTo(ERVector3D& v) const override;
    ERPoint3D& TransTo(ERPoint3D& p) const override;
    /// isEqual of the body; if the other is a handle, with the other's body.
    int isEqual(const ERTr3D& other) const override;
    ERPole2DH Project(const ERPole3DH& pole) const override;
    ERPoint2D Project(const ERPoint3D& p) const override;

    const ERTr3DRevRep* getInverse() const override;
    ERVec<ERPole3DH>& TransFrom(ERVec<ERPole3DH>& poles) const override;
    ERVec<ERPoint3D>& TransFrom(ERVec<ERPoint3D>& points) const override;
    void TransFrom(ERPoint3D* points, int n) const override;
    ERVector3D& TransFrom(ERVector3D& v) const override;
    ERPoint3D& TransFrom(ERPoint3D& p) const override;
    ERMatrix<double> getMatrix() const override;
    ERPoint3D getTrans() const override;
    double getFactHomo() const override;
    int isDirect() const override;
    ERPoint3D origine() const override;
    ERVector3D getVector(Coord3D axis) const override;

    int isValid() const override;
    void printOn(std::ostream& out) const override;
    /// The matrix with its counts of rows and columns, the translation and the factor.
    void saveGuts(ERFile& file) const override;
    /// A record that is cut short leaves the parts that it does not reach unchanged. A damaged one
    /// may give a transformation that is not valid.
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;

protected:
    /// The thread's identity.
    ERTr3DRevEnveloppe();
    /// A body that was not made by `new` is copied; null means the identity. The body is reduced.
    ERTr3DRevEnveloppe(const ERTr3DRevRep* body);
    ERTr3DRevEnveloppe(const ERTr3DRevEnveloppe& other);

private:
    struct Acquired {
        const ERTr3DRevRep* body;
    };
    explicit ERTr3DRevEnveloppe(Acquired acquired) : body_(acquired.body) {}

    const ERTr3DRevRep* body_;
};

/// A similarity of space: a rotation or reflection, a scaling and a translation (default: the
/// identity).
class VELM_API ERPmSimilitude3D : public ERTr3DRevEnveloppe {
    VELM_DECLARE_CLASS(ERPmSimilitude3D)

public:
    ERPmSimilitude3D() = default;
    ERPmSimilitude3D(const ERTr3DRevRep* body) : ERTr3DRevEnveloppe(body) {}
    ERPmSimilitude3D(const ERTr3DRevRep& body) : ERTr3DRevEnveloppe(&body) {}

    ERPmSimilitude3D& operator=(const ERTr3DRevRep* body) {
        ERTr3DRevEnveloppe::operator=(body);
        return *this;
    }
    ERObject* getCopy() const override;
};

/// An isometry that keeps orientation: a rotation and a translation (default: the identity). It is
/// also a frame, with the origin origine() and the axes getVector().
class VELM_API ERPmIsometrie3D : public ERPmSimilitude3D {
    VELM_DECLARE_CLASS(ERPmIsometrie3D)

public:
    ERPmIsometrie3D() = default;
    ERPmIsometrie3D(const ERTr3DRevRep* body) : ERPmSimilitude3D(body) {}
    ERPmIsometrie3D(const ERTr3DRevRep& body) : ERPmSimilitude3D(body) {}

    ERPmIsometrie3D& operator=(const ERTr3DRevRep* body) {
        ERTr3DRevEnveloppe::operator=(body);
        return *this;
    }
    ERObject* getCopy() const override;

    /// Only the rotation.
    ERPmIsometrie3D get_rotation_matrix() const;
    /// Only the translation.
    ERPmIsometrie3D get_translation_matrix() const;
};

/// A after B: TransFrom of the result is TransFrom of B, then of A.
VELM_API ERPmSimilitude3D operator*(const ERPmSimilitude3D& a, const ERPmSimilitude3D& b);
VELM_API ERPmIsometrie3D operator*(const ERPmIsometrie3D& a, const ERPmIsometrie3D& b);
/// The inverse.
VELM_API ERPmSimilitude3D operator~(const ERPmSimilitude3D& t);
VELM_API ERPmIsometrie3D operator~(const ERPmIsometrie3D& t);
