#include "velm/transforms/plane_transformation.h"

#include "velm/frame/stored_form.h"

#include <cmath>
#include <ostream>

VELM_DEFINE_CLASS(ERTransfo2D, ERObject)
VELM_DEFINE_STORED_FORM(ERTransfo2D, ERObject)

namespace {

constexpr double degrees_per_radian = 57.29577951308232;

ERTransfo2D of_matrix(double a, double b, double c, double d) {
    ERTransfo2D result;
    result.a = a;
    result.b = b;
    result.c = c;
    result.d = d;
    return result;
}

template <class Value>
Value times_matrix(const ERTransfo2D& t, const Value& v) {
    return Value(t.a * v[0] + t.b * v[1], t.c * v[0] + t.d * v[1]);
}

// By the transposed matrix over the determinant.
template <class Value>
Value backward(const ERTransfo2D& t, const Value& v) {
    const double determinant = t.a * t.d - t.b * t.c;
    return Value((t.a / determinant) * v[0] + (t.c / determinant) * v[1],
                 (t.b / determinant) * v[0] + (t.d / determinant) * v[1]);
}

template <class Map>
ERVec<ERPoint2D>& map_points(ERVec<ERPoint2D>& points, Map map) {
    for (ERPoint2D& p : points.writable())
        p = map(p);
    return points;
}

template <class Map>
ERVec<ERPole2DH>& map_poles(ERVec<ERPole2DH>& poles, Map map) {
    for (ERPole2DH& pole : poles.writable())
        pole = ERPole2DH(map(pole.castToPoint()) * pole.weigth(), pole.weigth());
    return poles;
}

} // namespace

ERTransfo2D::ERTransfo2D(const ERVector2D& v) : tx(v.i()), ty(v.j()) {}

ERTransfo2D::ERTransfo2D(double k, const ERPoint2D& centre)
    : a(k), d(k), tx((1.0 - k) * centre.x()), ty((1.0 - k) * centre.y()) {}

ERTransfo2D::ERTransfo2D(ERVector2D direction, const ERPoint2D& origin)
    : tx(origin.x()), ty(origin.y()) {
    direction.normalize();
    a = d = direction.i();
    b = -direction.j();
    c = direction.j();
}

ERTransfo2D::ERTransfo2D(Coord2D axis)
    : a(axis == Coord2D_X ? 1.0 : -1.0), d(axis == Coord2D_Y ? 1.0 : -1.0) {}

ERTransfo2D ERTransfo2D::rotation(ERRadian angle) {
    const double cosine = angle.cosinus();
    const double sine = angle.sinus();
    return of_matrix(cosine, -sine, sine, cosine);
}

ERTransfo2D ERTransfo2D::Scaling(double k) { return of_matrix(k, 0.0, 0.0, k); }

ERPoint2D ERTransfo2D::TransFrom(const ERPoint2D& p) const {
    return times_matrix(*this, p) + ERPoint2D(tx, ty);
}

ERVector2D ERTransfo2D::TransFrom(const ERVector2D& v) const { return times_matrix(*this, v); }

ERVec<ERPoint2D>& ERTransfo2D::TransFrom(ERVec<ERPoint2D>& points) const {
    return map_points(points, [this](const ERPoint2D& p) { return TransFrom(p); });
}

ERVec<ERPole2DH>& ERTransfo2D::TransFrom(ERVec<ERPole2DH>& poles) const {
    return map_poles(poles, [this](const ERPoint2D& p) { return TransFrom(p); });
}

ERPoint2D ERTransfo2D::TransTo(const ERPoint2D& p) const {
    return backward(*this, p - ERPoint2D(tx, ty));
}

ERVector2D ERTransfo2D::TransTo(const ERVector2D& v) const { return backward(*this, v); }

ERVec<ERPoint2D>& ERTransfo2D::TransTo(ERVec<ERPoint2D>& points) const {
    return map_points(points, [this](const ERPoint2D& p) { return TransTo(p); });
}

ERVec<ERPole2DH>& ERTransfo2D::TransTo(ERVec<ERPole2DH>& poles) const {
    return map_poles(poles, [this](const ERPoint2D& p) { return TransTo(p); });
}

ERRadian ERTransfo2D::angle() const { return std::atan2(-b, a); }

double ERTransfo2D::factHomo() const { return std::sqrt(std::fabs(a * d - c * b)); }

int ERTransfo2D::isDirect() const { return a * d - c * b > 0.0; }

ERObject* ERTransfo2D::getCopy() const { return new ERTransfo2D(*this); }

void ERTransfo2D::printOn(std::ostream& out) const {
    out << "Transfo2D definie par :  T*H*Sym*R :\n"
        << "    Rotation d'angle  :                  :  " << angle() * degrees_per_radian << '\n'
        << "    Symetrie par rapport a l'axe 'Ox' ?  :  " << (isDirect() ? "Non" : "Oui") << '\n'
        << "    Homothetie de rapport                :  " << factHomo() << '\n'
        << "    Translation de vecteur               :  " << ERVector2D(tx, ty) << '\n'
        << "    Matrice de transfo                   :  \n"
        << "    [  " << a << "  " << b << " ] \n"
        << "    [  " << c << "  " << d << " ] \n";
}

ERTransfo2D operator*(const ERTransfo2D& a, const ERTransfo2D& b) {
    ERTransfo2D result = of_matrix(a.a * b.a + a.b * b.c, a.a * b.b + a.b * b.d,
                                   a.c * b.a + a.d * b.c, a.c * b.b + a.d * b.d);
    const ERPoint2D origin = a.TransFrom(b.origine());
    result.tx = origin.x();
    result.ty = origin.y();
    return result;
}
