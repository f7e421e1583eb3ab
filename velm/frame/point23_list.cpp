#include "velm/frame/point23_list.h"

#include "velm/frame/stored_form.h"

#include <algorithm>
#include <ostream>

VELM_DEFINE_CLASS(ERVecPoint23, ERObject)
VELM_DEFINE_STORED_FORM(ERVecPoint23, ERObject)

void ERPoint23List::append(const ERPoint3D& point, const ERPoint2D& parameters) {
    PooledList::append({point, parameters});
}

ERVec<ERPoint3D> ERPoint23List::toVec() const { return gathered(&ERPoint23::point); }
ERVec<ERPoint2D> ERPoint23List::toVec2D() const { return gathered(&ERPoint23::parameters); }

ERVecPoint23::ERVecPoint23(const ERPoint23List& list)
    : ERVecPoint23(list.toVec(), list.toVec2D()) {}

ERVecPoint23::ERVecPoint23(const ERVec<ERPoint3D>& points, const ERVec<ERPoint2D>& parameters)
    : points_(points), parameters_(parameters) {}

int ERVecPoint23::isValid() const { return points_.size() == parameters_.size(); }

ERObject* ERVecPoint23::getCopy() const { return new ERVecPoint23(*this); }

void ERVecPoint23::printOn(std::ostream& out) const {
    const int pairs = std::min(points_.size(), parameters_.size());
    for (int i = 0; i < pairs; ++i)
        out << points_[i] << ' ' << parameters_[i] << '\n';
}
