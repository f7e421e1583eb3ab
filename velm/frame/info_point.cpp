#include "velm/frame/info_point.h"

#include "velm/frame/math_utils.h"
#include "velm/frame/point_functions.h"

#include <cmath>
#include <limits>
#include <ostream>

namespace {

// |T|^3 / c with c = |T x A|, the radius of curvature.
template <class Vector>
double radius_of_curvature(const Vector& tangent, double c) {
    if (c <= equalityTolerance) return std::numeric_limits<double>::max();
    double length = tangent.norme();
    return length * length * length / c;
}

// Labels of a printed info point. Fixed texts, the trailing blanks too.
struct Labels {
    const char* parameter;
    const char* sense;
    const char* point;
    const char* tangent;
    const char* normal;
    const char* curvature;
};

constexpr Labels plane_labels = {"- Parametre     : ", "- Sens          : ", "- Point courant : ",
                                 "- Tangente      : ", "- Normale       : ", "- courbure      : "};

constexpr Labels space_labels = {
    "- Parametre         :  u = ", "- Sens              :  s = ", "- Point courant     :  P = ",
    "- Tangente          :  T = ", "- Normale           :  N = ", "- Rayon de courbure :  R = "};

template <class InfoPoint>
void print(std::ostream& out, const InfoPoint& info, const Labels& labels) {
    out << labels.parameter << info.Parametre << '\n'
        << labels.sense << info.Sens << '\n'
        << labels.point << info.point() << '\n'
        << labels.tangent << info.tangente() << '\n'
        << labels.normal << info.normale() << '\n'
        << labels.curvature << info.radius() << '\n';
}

} // namespace

ERVector2D ERInfoPoint2D::normale() const {
    return ERVector2D(-tangente().j(), tangente().i()).getnormalized();
}

ERVector3D ERInfoPoint3DWF::normale() const {
    const ERVector3D& t = tangente();
    return ((t ^ second_derivative()) ^ t).getnormalized();
}

double ERInfoPoint2D::radius() const {
    const ERVector2D& t = tangente();
    const ERVector2D& a = second_derivative();
    return radius_of_curvature(t, std::fabs(t.i() * a.j() - t.j() * a.i()));
}

double ERInfoPoint3DWF::radius() const {
    return radius_of_curvature(tangente(), (tangente() ^ second_derivative()).norme());
}

int ERInfoPoint3DWF::isTgteSingular() const { return tangente().norme2() == 0.0; }

int ERInfoPoint3DWF::isNormSingular() const {
    const ERVector3D& a = second_derivative();
    return a.norme2() == 0.0 || (a ^ tangente()).norme() == 0.0;
}

void ERInfoPoint2D::printOn(std::ostream& out) const { print(out, *this, plane_labels); }

void ERInfoPoint3DWF::printOn(std::ostream& out) const { print(out, *this, space_labels); }

std::ostream& operator<<(std::ostream& out, const ERInfoPoint2D& info) {
    info.printOn(out);
    return out;
}

std::ostream& operator<<(std::ostream& out, const ERInfoPoint3DWF& info) {
    info.printOn(out);
    return out;
}
