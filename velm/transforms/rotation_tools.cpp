#include "velm/transforms/rotation_tools.h"

#include "velm/frame/point_functions.h"
#include "velm/transforms/transformation_handle.h"

#include <charconv>
#include <cmath>
#include <numbers>

int computeEulerAngles(const ERMatrix<double>& m, double& a, double& b, double& c) {
    const double s = m(2, 0);
    if (s >= 1.0) {
        a = 0.0;
        b = -std::numbers::pi / 2.0;
        c = std::atan2(-m(0, 1), m(1, 1));
    } else if (s <= -1.0) {
        a = std::atan2(-m(1, 2), m(1, 1));
        b = std::numbers::pi / 2.0;
        c = 0.0;
    } else {
        a = std::atan2(m(2, 1), m(2, 2));
        b = std::asin(-s);
        c = std::atan2(m(1, 0), m(0, 0));
    }
    return 1;
}

int computeEulerAngles(const ERPmIsometrie3D& t, double& a, double& b, double& c) {
    return computeEulerAngles(t.getMatrix(), a, b, c);
}

void find_flip_matrix(ERVector3D v, ERMatrix<double>& m) {
    ERVector3D u, w;
    GetOrthogonalDirections(v.normalize(), u, w);
    m = ERQuaternion(u, std::numbers::pi).GetMatrix();
}

void find_lock_quaternion(ERVector3D from, ERVector3D to, ERQuaternion& q) {
    from.normalize();
    to.normalize();
    ERQuaternion aside;
    constexpr double nearly_parallel = 0.001; // a sine: part of the contract
    if ((from ^ to).norme() < nearly_parallel) {
        ERVector3D u, w;
        GetOrthogonalDirections(to, u, w);
        aside = ERQuaternion(u, std::numbers::pi / 2.0);
        from = (aside * from).normalize();
    }
    const ERVector3D c = from ^ to;
    q = ERQuaternion(c, std::atan2(c.norme(), from * to)) * aside;
}

void find_lock_matrix(ERVector3D from, ERVector3D to, ERMatrix<double>& m) {
    ERQuaternion q;
    find_lock_quaternion(from, to, q);
    m = q.GetMatrix();
}

namespace {

// As "%- 8.3f ", without the locale.
void append_number(std::string& text, double value) {
    char digits[400];
    const char* const end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, 3).ptr;
    std::string number = std::signbit(value) ? "" : " ";
    number.append(digits, static_cast<std::size_t>(end - digits));
    if (number.size() < 8) number.resize(8, ' ');
    text += number + ' ';
}

} // namespace

std::string dump(const ERPmIsometrie3D& t) {
    const ERMatrix<double> m = t.getMatrix();
    const ERPoint3D origin = t.getTrans();
    std::string text;
    for (int i = 0; i < m.rows(); ++i) {
        for (const double element : m.row(i))
            append_number(text, element);
        append_number(text, origin[i]);
        text += '\n';
    }
    return text;
}
