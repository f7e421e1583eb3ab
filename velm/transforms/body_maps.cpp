// The bodies' maps of points, vectors and poles, and the parts of the map that they report.
#include "velm/frame/thread_data.h"
#include "velm/transforms/bodies.h"
#include "velm/transforms/detail/matrix3.h"
#include "velm/transforms/detail/point_pair.h"
#include "velm/transforms/transformation_handle.h"

#include <cmath>
#include <span>

namespace velm::detail {

namespace {

constexpr double equal_tolerance = 1e-9; // part of the contract

// The maps as values: a loop over an array keeps their numbers in registers. In both directions,
// `point` maps a place, one or two side by side, and `vector` is the linear part.

struct IdentityMap {
    static constexpr ERPoint3D point(const ERPoint3D& p) { return p; }
    static constexpr ERVector3D vector(const ERVector3D& v) { return v; }
};

struct ShiftMap {
    ERPoint3D t;
    template <class Place>
    Place point(const Place& p) const {
        return p + t;
    }
    ERVector3D vector(const ERVector3D& v) const { return v; }
};

struct ScaleMap {
    double k;
    template <class Place>
    Place point(const Place& p) const {
        return p * k;
    }
    ERVector3D vector(const ERVector3D& v) const { return v * k; }
};

struct LinearMap {
    Matrix3 m;
    template <class Place>
    Place point(const Place& p) const {
        return m.times(p);
    }
    ERVector3D vector(const ERVector3D& v) const { return m.times(v); }
};

// p to M p + t.
struct FrameMap {
    Matrix3 m;
    ERPoint3D t;
    template <class Place>
    Place point(const Place& p) const {
        return m.times(p) + t;
    }
    ERVector3D vector(const ERVector3D& v) const { return m.times(v); }
};

// One map after another.
template <class First, class Second>
struct Chain {
    First first;
    Second second;
    template <class Place>
    Place point(const Place& p) const {
        return second.point(first.point(p));
    }
    ERVector3D vector(const ERVector3D& v) const { return second.vector(first.vector(v)); }
};

IdentityMap forward(const _ERIdentity3D&) { return {}; }
IdentityMap backward(const _ERIdentity3D&) { return {}; }
ShiftMap forward(const _ERTranslation3D& body) { return {body.translation()}; }
ShiftMap backward(const _ERTranslation3D& body) { return {-body.translation()}; }
LinearMap forward(const _ERRotation3D& body) { return {Matrix3(body.matrix())}; }
LinearMap backward(const _ERRotation3D& body) { return {Matrix3(body.matrix()).transposed()}; }
FrameMap forward(const _ERWorkplane& body) { return {Matrix3(body.matrix()), body.translation()}; }
Chain<ShiftMap, LinearMap> backward(const _ERWorkplane& body) {
    return {{-body.translation()}, {Matrix3(body.matrix()).transposed()}};
}
ScaleMap forward(const _ERScaling3D& body) { return {body.factor()}; }
ScaleMap backward(const _ERScaling3D& body) { return {1.0 / body.factor()}; }
LinearMap forward(const _ERSymetrie3D& body) { return {Matrix3(body.matrix())}; }
LinearMap backward(const _ERSymetrie3D& body) { return {Matrix3(body.matrix()).transposed()}; }
Chain<ScaleMap, FrameMap> forward(const _ERSimilitude3D& body) {
    return {{body.factor()}, {Matrix3(body.matrix()), body.translation()}};
}
Chain<Chain<ShiftMap, LinearMap>, ScaleMap> backward(const _ERSimilitude3D& body) {
    return {{{-body.translation()}, {Matrix3(body.matrix()).transposed()}}, {1.0 / body.factor()}};
}

// The map is passed by value, so that no write to the array can change it.
template <class Map>
void map_points(ERPoint3D* points, int n, Map map) {
    ERPoint3D* p = points;
    for (; n >= 2; n -= 2, p += 2)
        map.point(PointPair::load(p)).store(p);
    if (n == 1) *p = map.point(*p);
}

template <class Map>
void map_poles(std::span<ERPole3DH> poles, const Map& map) {
    for (ERPole3DH& pole : poles)
        pole = ERPole3DH(map.point(pole.castToPoint()) * pole.weigth(), pole.weigth());
}

// The identity does nothing; it doesn't even detach a shared array.
void map_points(ERVec<ERPoint3D>&, IdentityMap) {}
void map_poles(ERVec<ERPole3DH>&, IdentityMap) {}
void map_points(ERPoint3D*, int, IdentityMap) {}

template <class Map>
void map_points(ERVec<ERPoint3D>& points, const Map& map) {
    map_points(points.data(), points.size(), map);
}
template <class Map>
void map_poles(ERVec<ERPole3DH>& poles, const Map& map) {
    map_poles(poles.writable(), map);
}

} // namespace

template <class Body, class Base>
ERVec<ERPole3DH>& BodyOperations<Body, Base>::TransTo(ERVec<ERPole3DH>& poles) const {
    map_poles(poles, backward(body()));
    return poles;
}

template <class Body, class Base>
void BodyOperations<Body, Base>::TransTo(ERPoint3D* points, int n) const {
    map_points(points, n, backward(body()));
}

template <class Body, class Base>
ERVec<ERPoint3D>& BodyOperations<Body, Base>::TransTo(ERVec<ERPoint3D>& points) const {
    map_points(points, backward(body()));
    return points;
}

template <class Body, class Base>
ERVector3D& BodyOperations<Body, Base>::TransTo(ERVector3D& v) const {
    return v = backward(body()).vector(v);
}

template <class Body, class Base>
ERPoint3D& BodyOperations<Body, Base>::TransTo(ERPoint3D& p) const {
    return p = backward(body()).point(p);
}

template <class Body, class Base>
int BodyOperations<Body, Base>::isEqual(const ERTr3D& other) const {
    if (other.isKindOf(ERTr3DRevEnveloppe::desc()))
        return isEqual(*ERTr3DRevEnveloppe::castdown(&other)->body());
    if (other.isA() != this->isA()) return 0;
    const Body& that = *Body::castdown(&other);
    return matrices_within(Matrix3(this->getMatrix()), Matrix3(that.getMatrix()),
                           equal_tolerance) &&
           components_within(this->getTrans(), that.getTrans(), equal_tolerance) &&
           std::fabs(this->getFactHomo() - that.getFactHomo()) <= equal_tolerance;
}

template <class Body, class Base>
ERVec<ERPole3DH>& BodyOperations<Body, Base>::TransFrom(ERVec<ERPole3DH>& poles) const {
    map_poles(poles, forward(body()));
    return poles;
}

template <class Body, class Base>
ERVec<ERPoint3D>& BodyOperations<Body, Base>::TransFrom(ERVec<ERPoint3D>& points) const {
    map_points(points, forward(body()));
    return points;
}

template <class Body, class Base>
void BodyOperations<Body, Base>::TransFrom(ERPoint3D* points, int n) const {
    map_points(points, n, forward(body()));
}

template <class Body, class Base>
ERVector3D& BodyOperations<Body, Base>::TransFrom(ERVector3D& v) const {
    return v = forward(body()).vector(v);
}

template <class Body, class Base>
ERPoint3D& BodyOperations<Body, Base>::TransFrom(ERPoint3D& p) const {
    return p = forward(body()).point(p);
}

template <class Body, class Base>
ERMatrix<double> BodyOperations<Body, Base>::matrix() const {
    return GetThreadIdentityMatrix();
}

template <class Body, class Base>
ERMatrix<double> BodyOperations<Body, Base>::getMatrix() const {
    return body().matrix();
}

template <class Body, class Base>
ERPoint3D BodyOperations<Body, Base>::getTrans() const {
    return body().translation();
}

template <class Body, class Base>
double BodyOperations<Body, Base>::getFactHomo() const {
    return body().factor();
}

template <class Body, class Base>
ERObject* BodyOperations<Body, Base>::getCopy() const {
    return new Body(body());
}

template class BodyOperations<_ERIdentity3D, ERAnyIsometrie3D>;
template class BodyOperations<_ERTranslation3D, ERAnyIsometrie3D>;
template class BodyOperations<_ERRotation3D, ERAnyIsometrie3D>;
template class BodyOperations<_ERWorkplane, ERAnyIsometrie3D>;
template class BodyOperations<_ERScaling3D, ERAnySimilitude3D>;
template class BodyOperations<_ERSymetrie3D, ERAnySimilitude3D>;
template class BodyOperations<_ERSimilitude3D, ERAnySimilitude3D>;

} // namespace velm::detail
