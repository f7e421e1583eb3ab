#include "velm/numerics/quaternion.h"

#include <cmath>
#include <numbers>

namespace {

// The sine of an angle counts as zero below this in Exp, Log and the interpolations; the results
// depend on it, so it is part of the contract.
constexpr double small_sine = 0.001;

ERQuaternion interpolate(double t, const ERQuaternion& p, const ERQuaternion& q, double phase) {
    const double a = std::acos(p.Dot(q));
    if (std::fabs(a) < small_sine) return p;
    const double s = std::sin(a);
    return p * (std::sin((1.0 - t) * a - phase) / s) + q * (std::sin(t * a + phase) / s);
}

// The nine elements of a rotation matrix, row by row.
void write_rotation(const ERQuaternion& q, double* m) {
    const double w = q[0], x = q[1], y = q[2], z = q[3];
    m[0] = 1.0 - 2.0 * (z * z + y * y);
    m[1] = 2.0 * (x * y - w * z);
    m[2] = 2.0 * (x * z + w * y);
    m[3] = 2.0 * (x * y + w * z);
    m[4] = 1.0 - 2.0 * (z * z + x * x);
    m[5] = 2.0 * (y * z - w * x);
    m[6] = 2.0 * (x * z - w * y);
    m[7] = 2.0 * (y * z + w * x);
    m[8] = 1.0 - 2.0 * (y * y + x * x);
}

} // namespace

ERQuaternion::ERQuaternion(const ERVector3D& axis, double angle) {
    const ERVector3D unit = axis.getnormalized();
    const double s = std::sin(angle / 2.0);
    w_ = std::cos(angle / 2.0);
    x_ = s * unit.i();
    y_ = s * unit.j();
    z_ = s * unit.k();
}

ERQuaternion::ERQuaternion(const ERVector3D& rodrigues) { set_from_rodrigues(rodrigues); }

ERQuaternion::ERQuaternion(const ERVec<double>& q) {
    if (q.size() == 4)
        *this = ERQuaternion(q[0], q[1], q[2], q[3]);
    else if (q.size() == 3)
        set_from_rodrigues(ERVector3D(q[0], q[1], q[2]));
}

void ERQuaternion::set_from_rodrigues(const ERVector3D& v) {
    const double c = std::cos(std::atan(v.norme()));
    *this = ERQuaternion(c, c * v.i(), c * v.j(), c * v.k());
}

ERQuaternion::ERQuaternion(const ERMatrix<double>& m) {
    if (m.rows() != 3 || m.columns() != 3 || !m.is_whole()) return;
    const double trace = m(0, 0) + m(1, 1) + m(2, 2);
    if (trace > 0.0) {
        double s = std::sqrt(trace + 1.0);
        w_ = s / 2.0;
        s = 0.5 / s;
        x_ = (m(2, 1) - m(1, 2)) * s;
        y_ = (m(0, 2) - m(2, 0)) * s;
        z_ = (m(1, 0) - m(0, 1)) * s;
        return;
    }
    static constexpr int next[] = {1, 2, 0};
    int i = m(1, 1) > m(0, 0) ? 1 : 0;
    if (m(2, 2) > m(i, i)) i = 2;
    const int j = next[i];
    const int k = next[j];
    double s = std::sqrt(m(i, i) - m(j, j) - m(k, k) + 1.0);
    (*this)[i + 1] = s / 2.0;
    s = 0.5 / s;
    w_ = (m(k, j) - m(j, k)) * s;
    (*this)[j + 1] = (m(j, i) + m(i, j)) * s;
    (*this)[k + 1] = (m(k, i) + m(i, k)) * s;
}

ERMatrix<double> ERQuaternion::GetMatrix() const {
    ERMatrix<double> result = ERMatrix<double>::unfilled(3, 3);
    write_rotation(*this, result.data());
    return result;
}

ERVector3D operator*(const ERQuaternion& q, const ERVector3D& v) {
    double m[9];
    write_rotation(q, m);
    return ERVector3D::each([&](int n) {
        const double* const row = m + 3 * n;
        return row[0] * v.i() + row[1] * v.j() + row[2] * v.k();
    });
}

ERQuaternion ERQuaternion::Inverse() const {
    const double norm2 = Norm2();
    if (!(norm2 > 0.0)) return {0.0, 0.0, 0.0, 0.0};
    return {w_ / norm2, -x_ / norm2, -y_ / norm2, -z_ / norm2};
}

double ERQuaternion::Angle() const { return 2.0 * std::atan2(ERVector3D(x_, y_, z_).norme(), w_); }

ERVector3D ERQuaternion::Axis() const { return ERVector3D(x_, y_, z_).getnormalized(); }

ERQuaternion ERQuaternion::Exp() const {
    const double a = ERVector3D(x_, y_, z_).norme();
    const double sine = std::sin(a);
    const double s = std::fabs(sine) >= small_sine ? sine / a : 1.0;
    return {s * x_, 0.0, s * y_, s * z_};
}

ERQuaternion ERQuaternion::Log() const {
    if (std::fabs(w_) < 1.0) {
        const double a = std::acos(w_);
        const double sine = std::sin(a);
        if (std::fabs(sine) >= small_sine) {
            const double c = a / sine;
            return {c * x_, 0.0, c * y_, c * z_};
        }
    }
    return {0.0, x_, y_, z_};
}

ERQuaternion ERQuaternion::Slerp(double t, const ERQuaternion& p, const ERQuaternion& q) {
    return interpolate(t, p, q, 0.0);
}

ERQuaternion ERQuaternion::SlerpExtraSpins(double t, const ERQuaternion& p, const ERQuaternion& q,
                                           int spins) {
    return interpolate(t, p, q, spins * std::numbers::pi * t);
}

ERQuaternion ERQuaternion::Squad(double t, const ERQuaternion& p, const ERQuaternion& a,
                                 const ERQuaternion& b, const ERQuaternion& q) {
    return Slerp(2.0 * t * (1.0 - t), Slerp(t, p, q), Slerp(t, a, b));
}

void ERQuaternion::Intermediate(const ERQuaternion& q0, const ERQuaternion& q1,
                                const ERQuaternion& q2, ERQuaternion& a, ERQuaternion& b) {
    const ERQuaternion p0 = q0.UnitInverse() * q1;
    const ERQuaternion p1 = q1.UnitInverse() * q2;
    const ERQuaternion arg = 0.25 * (p0.Log() - p1.Log());
    const ERQuaternion opposite = -arg;
    const ERQuaternion first = q1 * arg.Exp();
    b = q1 * opposite.Exp();
    a = first;
}
