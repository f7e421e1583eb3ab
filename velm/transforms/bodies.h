// _ERIdentity3D, _ERTranslation3D, _ERRotation3D, _ERWorkplane, _ERScaling3D, _ERSymetrie3D,
// _ERSimilitude3D: the kinds of transformation bodies, each holding the least data for its map.
#pragma once

#include "velm/frame/radian.h"
#include "velm/numerics/quaternion.h"
#include "velm/transforms/transformation_body.h"

namespace velm::detail {

/// The operations that the kinds of bodies have in common, made from each kind's map. For an array
/// the map's numbers are read once, before one loop.
template <class Body, class Base>
class VELM_API BodyOperations : public Base {
public:
    ERVec<ERPole3DH>& TransTo(ERVec<ERPole3DH>& poles) const override;
    void TransTo(ERPoint3D* points, int n) const override;
    ERVec<ERPoint3D>& TransTo(ERVec<ERPoint3D>& points) const override;
    ERVector3D& TransTo(ERVector3D& v) const override;
    ERPoint3D& TransTo(ERPoint3D& p) const override;
    int isEqual(const ERTr3D& other) const override;

    ERVec<ERPole3DH>& TransFrom(ERVec<ERPole3DH>& poles) const override;
    ERVec<ERPoint3D>& TransFrom(ERVec<ERPoint3D>& points) const override;
    void TransFrom(ERPoint3D* points, int n) const override;
    ERVector3D& TransFrom(ERVector3D& v) const override;
    ERPoint3D& TransFrom(ERPoint3D& p) const override;

    ERMatrix<double> getMatrix() const override;
    ERPoint3D getTrans() const override;
    double getFactHomo() const override;

    ERObject* getCopy() const override;

    // Defaults for the parts that a body doesn't hold; a body hides those that it holds.
    ERMatrix<double> matrix() const;
    ERPoint3D translation() const { return {}; }
    double factor() const { return 1.0; }

private:
    const Body& body() const { return static_cast<const Body&>(*this); }
};

} // namespace velm::detail

// A matrix that is not 3 x 3 makes a body whose maps give NaN. A default-constructed body of any
// kind maps everything to itself. The stored form of each is its fields in order.

/// p to p.
class VELM_API _ERIdentity3D
    : public velm::detail::BodyOperations<_ERIdentity3D, ERAnyIsometrie3D> {
    VELM_DECLARE_CLASS(_ERIdentity3D)

public:
    _ERIdentity3D() = default;

    const ERTr3DRevRep* getInverse() const override;
    void printOn(std::ostream& out) const override;

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;
    const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const override;
};

/// p to p + t.
class VELM_API _ERTranslation3D
    : public velm::detail::BodyOperations<_ERTranslation3D, ERAnyIsometrie3D> {
    VELM_DECLARE_CLASS(_ERTranslation3D)

public:
    _ERTranslation3D() = default;
    explicit _ERTranslation3D(const ERPoint3D& translation) : t(translation) {}
    explicit _ERTranslation3D(const ERVector3D& translation) : t(translation) {}

    const ERPoint3D& translation() const { return t; }

    const ERTr3DRevRep* getInverse() const override;
    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.t);
    }

    ERPoint3D t;
};

/// p to M p, M a rotation.
class VELM_API _ERRotation3D
    : public velm::detail::BodyOperations<_ERRotation3D, ERAnyIsometrie3D> {
    VELM_DECLARE_CLASS(_ERRotation3D)

public:
    _ERRotation3D();
    explicit _ERRotation3D(const ERMatrix<double>& matrix) : M(matrix) {}
    explicit _ERRotation3D(const ERQuaternion& q) : M(q.GetMatrix()) {}
    /// About a coordinate axis; a zero matrix for an axis out of range.
    _ERRotation3D(Coord3D axis, ERRadian angle);
    /// About an axis through the origin, of any length; exactly the identity for whole turns.
    _ERRotation3D(const ERVector3D& axis, ERRadian angle);

    const ERMatrix<double>& matrix() const { return M; }

    const ERTr3DRevRep* getInverse() const override;
    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.M);
    }

    ERMatrix<double> M;
};

/// p to M p + t, M a rotation: a frame with the origin t and the columns of M as its axes.
class VELM_API _ERWorkplane : public velm::detail::BodyOperations<_ERWorkplane, ERAnyIsometrie3D> {
    VELM_DECLARE_CLASS(_ERWorkplane)

public:
    _ERWorkplane();
    _ERWorkplane(const ERMatrix<double>& matrix, const ERPoint3D& translation)
        : M(matrix), t(translation) {}
    /// The frame with its origin at o, its first axis along x and its second in the plane of x and
    /// y on y's side. Parallel x and y give a singular matrix.
    _ERWorkplane(const ERVector3D& x, const ERVector3D& y, const ERPoint3D& o);
    /// The frame with its origin at o and its third axis along z; the others are those of
    /// GetOrthogonalDirections.
    _ERWorkplane(const ERVector3D& z, const ERPoint3D& o);

    const ERMatrix<double>& matrix() const { return M; }
    const ERPoint3D& translation() const { return t; }

    const ERTr3DRevRep* getInverse() const override;
    /// Writes the matrix and the translation after fixed labels.
    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;
    const ERTr3DRevRep* multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERRotation3D(const _ERRotation3D* left) const override;
    const ERTr3DRevRep* multiplyWith_ERWorkplane(const _ERWorkplane* left) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.M);
        form(self.t);
    }

    ERMatrix<double> M;
    ERPoint3D t;
};

/// p to k p.
class VELM_API _ERScaling3D : public velm::detail::BodyOperations<_ERScaling3D, ERAnySimilitude3D> {
    VELM_DECLARE_CLASS(_ERScaling3D)

public:
    _ERScaling3D() = default;
    explicit _ERScaling3D(double factor) : k(factor) {}

    double factor() const { return k; }

    const ERTr3DRevRep* getInverse() const override;
    int isDirect() const override;
    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;
    const ERTr3DRevRep* multiplyWith_ERScaling3D(const _ERScaling3D* left) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.k);
    }

    double k = 1.0;
};

/// p to M p, M orthogonal with a negative determinant: a reflection, or one followed by a rotation.
class VELM_API _ERSymetrie3D
    : public velm::detail::BodyOperations<_ERSymetrie3D, ERAnySimilitude3D> {
    VELM_DECLARE_CLASS(_ERSymetrie3D)

public:
    _ERSymetrie3D();
    explicit _ERSymetrie3D(const ERMatrix<double>& matrix) : M(matrix) {}
    /// The reflection that reverses a coordinate axis; the identity matrix for an axis out of
    /// range.
    explicit _ERSymetrie3D(Coord3D axis);
    /// The reflection in the plane through the origin that is perpendicular to n.
    explicit _ERSymetrie3D(const ERVector3D& n);

    const ERMatrix<double>& matrix() const { return M; }

    const ERTr3DRevRep* getInverse() const override;
    int isDirect() const override;
    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.M);
    }

    ERMatrix<double> M;
};

/// p to M (k p) + t, M orthogonal.
class VELM_API _ERSimilitude3D
    : public velm::detail::BodyOperations<_ERSimilitude3D, ERAnySimilitude3D> {
    VELM_DECLARE_CLASS(_ERSimilitude3D)

public:
    _ERSimilitude3D();
    explicit _ERSimilitude3D(const ERMatrix<double>& matrix) : M(matrix) {}
    _ERSimilitude3D(const ERMatrix<double>& matrix, const ERPoint3D& translation, double factor)
        : M(matrix), t(translation), k(factor) {}

    const ERMatrix<double>& matrix() const { return M; }
    const ERPoint3D& translation() const { return t; }
    double factor() const { return k; }

    const ERTr3DRevRep* getInverse() const override;
    int isDirect() const override;
    /// 1 for a 3 x 3 matrix with a determinant within 1e-11 of 1 or -1 and a factor other than 0.
    int isValid() const override;
    /// Writes the matrix, the translation and the factor after fixed labels.
    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

    const ERTr3DRevRep* getReduced() const override;
    const ERTr3DRevRep* operator*(const ERTr3DRevRep* other) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.M);
        form(self.t, self.k);
    }

    ERMatrix<double> M;
    ERPoint3D t;
    double k = 1.0;
};

namespace velm::detail {
extern template class BodyOperations<_ERIdentity3D, ERAnyIsometrie3D>;
extern template class BodyOperations<_ERTranslation3D, ERAnyIsometrie3D>;
extern template class BodyOperations<_ERRotation3D, ERAnyIsometrie3D>;
extern template class BodyOperations<_ERWorkplane, ERAnyIsometrie3D>;
extern template class BodyOperations<_ERScaling3D, ERAnySimilitude3D>;
extern template class BodyOperations<_ERSymetrie3D, ERAnySimilitude3D>;
extern template class BodyOperations<_ERSimilitude3D, ERAnySimilitude3D>;
} // namespace velm::detail
