#include "velm/transforms/bodies.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/frame/thread_data.h"
#include "velm/transforms/detail/matrix3.h"
#include "velm/transforms/matrix_products.h"

#include <cmath>
#include <numbers>
#include <ostream>

VELM_DEFINE_CLASS(_ERIdentity3D, ERAnyIsometrie3D)
VELM_DEFINE_CLASS(_ERTranslation3D, ERAnyIsometrie3D)
VELM_DEFINE_CLASS(_ERRotation3D, ERAnyIsometrie3D)
VELM_DEFINE_CLASS(_ERWorkplane, ERAnyIsometrie3D)
VELM_DEFINE_CLASS(_ERScaling3D, ERAnySimilitude3D)
VELM_DEFINE_CLASS(_ERSymetrie3D, ERAnySimilitude3D)
VELM_DEFINE_CLASS(_ERSimilitude3D, ERAnySimilitude3D)

VELM_DEFINE_STORED_FORM(_ERTranslation3D, ERAnyIsometrie3D)
VELM_DEFINE_STORED_FORM(_ERRotation3D, ERAnyIsometrie3D)
VELM_DEFINE_STORED_FORM(_ERWorkplane, ERAnyIsometrie3D)
VELM_DEFINE_STORED_FORM(_ERScaling3D, ERAnySimilitude3D)
VELM_DEFINE_STORED_FORM(_ERSymetrie3D, ERAnySimilitude3D)
VELM_DEFINE_STORED_FORM(_ERSimilitude3D, ERAnySimilitude3D)

using velm::detail::Matrix3;

// ---- the matrices of the constructors ----

namespace {

ERMatrix<double> elementary_rotation(Coord3D axis, double angle) {
    Matrix3 result = {};
    if (axis < Coord3D_X || axis > Coord3D_Z) return result;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const int next = (axis + 1) % 3;
    const int last = (axis + 2) % 3;
    result.m[4 * axis] = 1.0;
    result.m[4 * next] = result.m[4 * last] = c;
    result.m[3 * next + last] = -s;
    result.m[3 * last + next] = s;
    return result;
}

ERMatrix<double> rotation_about(const ERVector3D& axis, double angle) {
    double turns;
    if (std::modf(angle / (2.0 * std::numbers::pi), &turns) == 0.0) return IdentityMatrix(3);
    return ERQuaternion(axis, angle).GetMatrix();
}

ERMatrix<double> axes_from(const ERVector3D& x, const ERVector3D& y) {
    const ERVector3D first = x.getnormalized();
    const ERVector3D third = (first ^ y.getnormalized()).getnormalized();
    return velm::matrix_of_columns(first, third ^ first, third);
}

ERMatrix<double> axes_about(const ERVector3D& z) {
    ERVector3D u, v;
    GetOrthogonalDirections(z, u, v);
    return velm::matrix_of_columns(u, v, z.getnormalized());
}

ERMatrix<double> reflection(Coord3D axis) {
    ERMatrix<double> result = IdentityMatrix(3);
    if (axis >= Coord3D_X && axis <= Coord3D_Z) result(axis, axis) = -1.0;
    return result;
}

ERMatrix<double> reflection(const ERVector3D& n) {
    const Matrix3 q(axes_about(n));
    Matrix3 mirrored = q;
    for (int row = 0; row < 3; ++row)
        mirrored.m[3 * row + 2] *= -1.0;
    return mirrored * q.transposed();
}

} // namespace

_ERRotation3D::_ERRotation3D() : M(GetThreadIdentityMatrix()) {}
_ERRotation3D::_ERRotation3D(Coord3D axis, ERRadian angle) : M(elementary_rotation(axis, angle)) {}
_ERRotation3D::_ERRotation3D(const ERVector3D& axis, ERRadian angle)
    : M(rotation_about(axis, angle)) {}
_ERWorkplane::_ERWorkplane() : M(GetThreadIdentityMatrix()) {}
_ERWorkplane::_ERWorkplane(const ERVector3D& x, const ERVector3D& y, const ERPoint3D& o)
    : M(axes_from(x, y)), t(o) {}
_ERWorkplane::_ERWorkplane(const ERVector3D& z, const ERPoint3D& o) : M(axes_about(z)), t(o) {}
_ERSymetrie3D::_ERSymetrie3D() : M(GetThreadIdentityMatrix()) {}
_ERSymetrie3D::_ERSymetrie3D(Coord3D axis) : M(reflection(axis)) {}
_ERSymetrie3D::_ERSymetrie3D(const ERVector3D& n) : M(reflection(n)) {}
_ERSimilitude3D::_ERSimilitude3D() : M(GetThreadIdentityMatrix()) {}

// ---- orientation and validity ----

int _ERScaling3D::isDirect() const { return k > 0.0; }
int _ERSymetrie3D::isDirect() const { return determinant(Matrix3(M)) > 0.0; }
int _ERSimilitude3D::isDirect() const { return determinant(Matrix3(M)) * k > 0.0; }

int _ERSimilitude3D::isValid() const {
    const double volume = std::fabs(determinant(Matrix3(M)));
    return std::fabs(volume - 1.0) <= 1e-11 && k != 0.0;
}

// ---- texts; the labels are fixed, the trailing blanks too ----

namespace {

void print_matrix(std::ostream& out, const ERMatrix<double>& m) {
    out << "Matrice de Rotation    : " << m;
}
void print_translation(std::ostream& out, const ERPoint3D& t) {
    out << "Composante Translation : " << t << '\n';
}
void print_factor(std::ostream& out, double k) { out << "facteur d'homothetie   : " << k << '\n'; }

} // namespace

void _ERIdentity3D::printOn(std::ostream& out) const { out << "Identite\n"; }
void _ERTranslation3D::printOn(std::ostream& out) const { print_translation(out, t); }
void _ERRotation3D::printOn(std::ostream& out) const { print_matrix(out, M); }
void _ERWorkplane::printOn(std::ostream& out) const {
    print_matrix(out, M);
    print_translation(out, t);
}
void _ERScaling3D::printOn(std::ostream& out) const { print_factor(out, k); }
void _ERSymetrie3D::printOn(std::ostream& out) const { print_matrix(out, M); }
void _ERSimilitude3D::printOn(std::ostream& out) const {
    print_matrix(out, M);
    print_translation(out, t);
    print_factor(out, k);
}
