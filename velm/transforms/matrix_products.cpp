#include "velm/transforms/matrix_products.h"

#include "velm/transforms/detail/matrix3.h"

using velm::detail::Matrix3;

ERPoint3D operator*(const ERMatrix<double>& m, const ERPoint3D& p) { return Matrix3(m).times(p); }

ERVector3D operator*(const ERMatrix<double>& m, const ERVector3D& v) { return Matrix3(m).times(v); }

ERPoint3D mulInverseIsoMat(const ERMatrix<double>& m, const ERPoint3D& p) {
    return Matrix3(m).transposed_times(p);
}

ERVector3D mulInverseIsoMat(const ERMatrix<double>& m, const ERVector3D& v) {
    return Matrix3(m).transposed_times(v);
}

ERMatrix<double> velm::matrix_of_columns(const ERVector3D& x, const ERVector3D& y,
                                         const ERVector3D& z) {
    const double values[] = {x.i(), y.i(), z.i(), x.j(), y.j(), z.j(), x.k(), y.k(), z.k()};
    return ERMatrix<double>(3, 3, values);
}
