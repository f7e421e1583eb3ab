// The bodies of compositions and inverses: double dispatch to the simplest kind that holds the map.
#include "velm/transforms/bodies.h"
#include "velm/transforms/detail/matrix3.h"

using velm::detail::Matrix3;

namespace {

// a after b: x to M_a (k_a (M_b (k_b x) + t_b)) + t_a.
const ERTr3DRevRep* general(const ERTr3DRevRep& a, const ERTr3DRevRep& b) {
    const Matrix3 m(a.getMatrix());
    const double k = a.getFactHomo();
    return new _ERSimilitude3D(m * Matrix3(b.getMatrix()), m.times(b.getTrans() * k) + a.getTrans(),
                               k * b.getFactHomo());
}

ERMatrix<double> product(const ERMatrix<double>& a, const ERMatrix<double>& b) {
    return Matrix3(a) * Matrix3(b);
}

ERPoint3D product(const ERMatrix<double>& m, const ERPoint3D& p) { return Matrix3(m).times(p); }

} // namespace

// ---- identity on either side ----

const ERTr3DRevRep* _ERIdentity3D::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep*
_ERIdentity3D::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return left->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return left->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return left->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return left->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return left->multiplyWith_ERIdentity3D(this);
}
const ERTr3DRevRep* _ERIdentity3D::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return left->multiplyWith_ERIdentity3D(this);
}

// ---- isometries with isometries ----

const ERTr3DRevRep* _ERTranslation3D::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERTranslation3D(this);
}
const ERTr3DRevRep*
_ERTranslation3D::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    const ERPoint3D sum = left->translation() + t;
    if (sum == ERPoint3D()) return GetIdentity();
    return new _ERTranslation3D(sum);
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return new _ERWorkplane(left->matrix(), product(left->matrix(), t));
}
const ERTr3DRevRep* _ERTranslation3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return new _ERWorkplane(left->matrix(), product(left->matrix(), t) + left->translation());
}

const ERTr3DRevRep* _ERRotation3D::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERRotation3D(this);
}
const ERTr3DRevRep*
_ERRotation3D::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return new _ERWorkplane(M, left->translation());
}
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return new _ERRotation3D(product(left->matrix(), M));
}
const ERTr3DRevRep* _ERRotation3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return new _ERWorkplane(product(left->matrix(), M), left->translation());
}

const ERTr3DRevRep* _ERWorkplane::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERWorkplane(this);
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return new _ERWorkplane(M, t + left->translation());
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return new _ERWorkplane(product(left->matrix(), M), product(left->matrix(), t));
}
const ERTr3DRevRep* _ERWorkplane::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return new _ERWorkplane(product(left->matrix(), M),
                            product(left->matrix(), t) + left->translation());
}

// ---- similarities ----

const ERTr3DRevRep*
ERAnySimilitude3D::multiplyWith_ERTranslation3D(const _ERTranslation3D* left) const {
    return general(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERRotation3D(const _ERRotation3D* left) const {
    return general(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERWorkplane(const _ERWorkplane* left) const {
    return general(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    return general(*left, *this);
}
const ERTr3DRevRep* ERAnySimilitude3D::multiplyWith_ERSymetrie3D(const _ERSymetrie3D* left) const {
    return general(*left, *this);
}
const ERTr3DRevRep*
ERAnySimilitude3D::multiplyWith_ERSimilitude3D(const _ERSimilitude3D* left) const {
    return general(*left, *this);
}

const ERTr3DRevRep* _ERScaling3D::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERScaling3D(this);
}
const ERTr3DRevRep* _ERScaling3D::multiplyWith_ERScaling3D(const _ERScaling3D* left) const {
    const double both = left->factor() * k;
    if (both == 1.0) return GetIdentity();
    return new _ERScaling3D(both);
}
const ERTr3DRevRep* _ERSymetrie3D::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERSymetrie3D(this);
}
const ERTr3DRevRep* _ERSimilitude3D::operator*(const ERTr3DRevRep* other) const {
    return other->multiplyWith_ERSimilitude3D(this);
}

// ---- inverses ----

const ERTr3DRevRep* _ERIdentity3D::getInverse() const { return this; }
const ERTr3DRevRep* _ERTranslation3D::getInverse() const { return new _ERTranslation3D(-t); }
const ERTr3DRevRep* _ERRotation3D::getInverse() const {
    return new _ERRotation3D(Matrix3(M).transposed());
}
const ERTr3DRevRep* _ERWorkplane::getInverse() const {
    const Matrix3 back = Matrix3(M).transposed();
    return new _ERWorkplane(back, -back.times(t));
}
const ERTr3DRevRep* _ERScaling3D::getInverse() const { return new _ERScaling3D(1.0 / k); }
const ERTr3DRevRep* _ERSymetrie3D::getInverse() const {
    return new _ERSymetrie3D(Matrix3(M).transposed());
}
const ERTr3DRevRep* _ERSimilitude3D::getInverse() const {
    const Matrix3 back = Matrix3(M).transposed();
    return new _ERSimilitude3D(back, -(back.times(t) / k), 1.0 / k);
}
