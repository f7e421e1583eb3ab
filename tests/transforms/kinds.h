// Random transformations of every kind, and the map of each in plain numbers.
#pragma once

#include "support/test.h"
#include "velm/transforms/bodies.h"
#include "velm/transforms/matrix_products.h"
#include "velm/transforms/transformation_factories.h"

namespace velm_test {

/// The kinds by one letter each.
inline constexpr char kinds[] = "ITRWSYM";

inline const char* class_of(char kind) {
    const char* names[] = {"_ERIdentity3D", "_ERTranslation3D", "_ERRotation3D",  "_ERWorkplane",
                           "_ERScaling3D",  "_ERSymetrie3D",    "_ERSimilitude3D"};
    return names[std::string(kinds).find(kind)];
}

/// p to m p + t with the factor taken into m, in extended precision.
struct PlainMap {
    long double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    long double t[3] = {};

    static PlainMap of(const ERTr3DRev& transformation) {
        PlainMap map;
        const ERMatrix<double> m = transformation.getMatrix();
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j)
                map.m[i][j] = static_cast<long double>(transformation.getFactHomo()) * m(i, j);
            map.t[i] = transformation.getTrans()[i];
        }
        return map;
    }
    ERPoint3D operator()(const ERPoint3D& p) const {
        return ERPoint3D::each([&](int i) {
            return static_cast<double>(m[i][0] * p.x() + m[i][1] * p.y() + m[i][2] * p.z() + t[i]);
        });
    }
    long double determinant() const {
        long double sum = 0;
        for (int j = 0; j < 3; ++j) {
            const int k = (j + 1) % 3, l = (j + 2) % 3;
            sum += m[0][j] * (m[1][k] * m[2][l] - m[1][l] * m[2][k]);
        }
        return sum;
    }
    /// The letter of the simplest kind that holds the map.
    char kind() const {
        const auto near = [](long double a, long double b) { return std::fabs(a - b) < 1e-9L; };
        const long double volume = determinant(), factor = std::cbrt(volume);
        bool still = true, diagonal = true;
        for (int i = 0; i < 3; ++i) {
            still = still && near(t[i], 0);
            for (int j = 0; j < 3; ++j)
                diagonal = diagonal && near(m[i][j], i == j ? factor : 0.0L);
        }
        if (near(factor, 1)) return diagonal ? (still ? 'I' : 'T') : (still ? 'R' : 'W');
        if (still && diagonal) return 'S';
        return still && near(volume, -1) ? 'Y' : 'M';
    }
};

class RandomTransformations {
public:
    explicit RandomTransformations(std::uint64_t seed) : random(seed) {}

    ERPoint3D point() { return random.value<ERPoint3D>(10); }
    ERVector3D direction() { return random.direction<ERVector3D>(); }
    ERMatrix<double> rotation() {
        return ERQuaternion(direction(), random.uniform(0.1, 6.0)).GetMatrix();
    }
    /// A new body of the kind.
    ERTr3DRevRep* body(char kind) {
        if (kind == 'I') return new _ERIdentity3D;
        if (kind == 'T') return new _ERTranslation3D(point());
        if (kind == 'R') return new _ERRotation3D(rotation());
        if (kind == 'W') return new _ERWorkplane(rotation(), point());
        if (kind == 'S') return new _ERScaling3D(random.uniform(1.1, 3.0));
        if (kind == 'Y') return new _ERSymetrie3D(direction());
        return new _ERSimilitude3D(rotation(), point(), random.uniform(-3.0, -0.3));
    }
    ERPmSimilitude3D handle(char kind) { return body(kind); }

    Random random;
};

} // namespace velm_test
