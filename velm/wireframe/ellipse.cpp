#include "velm/wireframe/ellipse.h"

#include "velm/frame/point_functions.h"
#include "velm/frame/stored_form.h"
#include "velm/numerics/detail/double_double.h"
#include "velm/platform/ellipse_kernel.h"
#include "velm/transforms/plane_transformation.h"
#include "velm/wireframe/detail/angles.h"
#include "velm/wireframe/detail/trigonometric_box.h"
#include "velm/wireframe/ellipse_in_space.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <utility>

VELM_DEFINE_CLASS(EREllipse2D, EREntity2DWF)
VELM_DEFINE_STORED_FORM(EREllipse2D, EREntity2DWF)

using velm::detail::DoubleDouble;
using velm::detail::EllipseFrame;
using velm::detail::two_product;
using velm::detail::two_sum;

ERPoint2D EllipseFrame::at(double t) const {
    return from_frame(half_big * std::cos(t), half_small * std::sin(t));
}

ERInfoPoint2D EllipseFrame::info_at(double t) const {
    const double c = std::cos(t), s = std::sin(t);
    const ERVector2D outward = big() * c + small() * s;
    return {t, 1, centre + outward, small() * c - big() * s, -outward};
}

ERPoint2D EllipseFrame::to_frame(const ERPoint2D& p) const {
    const ERVector2D from_centre(centre, p);
    return {from_centre * axis, from_centre * across()};
}

ERPoint2D EllipseFrame::from_frame(double x, double y) const {
    return centre + (axis * x + across() * y);
}

EREllipse2D::EREllipse2D(const ERPoint2D& focus1, const ERPoint2D& focus2, double big)
    : focus1_(focus1), focus2_(focus2), big_(big) {
    if (big * big < distance2(focus1, focus2)) big_ = distance(focus1, focus2);
}

EREllipse2D::EREllipse2D(double bigHalf, double smallHalf, double angle, const ERPoint2D& center)
    : big_(2.0 * bigHalf) {
    const double greater = std::max(bigHalf, smallHalf), lesser = std::min(bigHalf, smallHalf);
    const double focal = std::sqrt((greater - lesser) * (greater + lesser));
    const ERVector2D to_focus = velm::detail::unit_vector(angle) * focal;
    focus1_ = center - to_focus;
    focus2_ = center + to_focus;
}

EREllipse2D::EREllipse2D(double A, double B, double C, double D, double E, double F) {
    constexpr double vanishing = 1e-13; // part of the contract
    if (!(std::fabs(C) < vanishing) || !(std::fabs(F) > vanishing)) return;
    const ERPoint2D center(-D / (2.0 * A), -E / (2.0 * B));
    const double level = D * D / (4.0 * A) + E * E / (4.0 * B) - F;
    const double along_x = std::sqrt(level / A), along_y = std::sqrt(level / B);
    if (!std::isfinite(along_x) || !std::isfinite(along_y)) return; // a hyperbola or no curve
    const bool upright = along_y > along_x;
    const double greater = std::max(along_x, along_y), lesser = std::min(along_x, along_y);
    const double focal = std::sqrt((greater - lesser) * (greater + lesser));
    const ERVector2D to_focus(upright ? 0.0 : focal, upright ? focal : 0.0);
    focus1_ = center - to_focus;
    focus2_ = center + to_focus;
    big_ = 2.0 * greater;
}

namespace {

// The square of the big axis less that of the distance of the foci, in pairs of doubles.
double exact_difference(double big, const ERPoint2D& focus1, const ERPoint2D& focus2) {
    const DoubleDouble x = two_sum(focus2.x(), -focus1.x()), y = two_sum(focus2.y(), -focus1.y());
    return accurate_sum(two_product(big, big), -accurate_sum(x * x, y * y)).value();
}

} // namespace

ERVec<ERPoint2D> EREllipse2D::getFocus() const { return {focus1_, focus2_}; }

ERPoint2D EREllipse2D::center() const { return milieu(focus1_, focus2_); }

double EREllipse2D::getSmallAxe() const {
    const double square = big_ * big_;
    const double difference = square - distance2(focus1_, focus2_);
    // Down to there the plain difference loses two digits at most.
    if (difference > 0.01 * square) return std::sqrt(difference);
    return std::sqrt(std::max(exact_difference(big_, focus1_, focus2_), 0.0));
}

ERVector2D EREllipse2D::getBigAxisDirection() const {
    const ERVector2D along(focus1_, focus2_);
    return along.norme2() == 0.0 ? ERVector2D(1.0, 0.0) : along.getnormalized();
}

ERVector2D EREllipse2D::getSmallAxisDirection() const { return frame().across(); }

double EREllipse2D::getAngle() const {
    const ERVector2D direction = getBigAxisDirection();
    const double angle = anglePI(direction, ERVector2D(1.0, 0.0));
    return direction.j() < 0.0 ? velm::detail::turn - angle : angle;
}

EllipseFrame EREllipse2D::frame() const {
    return {center(), getBigAxisDirection(), big_ * 0.5, getSmallAxe() * 0.5};
}

ERMinimax2D EREllipse2D::getBox() const {
    const EllipseFrame f = frame();
    return velm::detail::box_of_turn<velm::Plane>(f.centre, f.big(), f.small());
}

ERPoint2D EREllipse2D::get_closest(const ERPoint2D& p) const {
    const EllipseFrame f = frame();
    ERPoint2D query = f.to_frame(p);
    for (double* coordinate : {&query.x_, &query.y_}) {
        if (*coordinate == std::numeric_limits<double>::lowest())
            *coordinate = std::numeric_limits<double>::max();
    }
    tqkCurvePointList2 points;
    const int status =
        tqkEllipse2(f.half_big, f.half_small).global_closest_point(query.x_, query.y_, points);
    if (status < tqkEllipse2::closest_unique || points.size() == 0) return ERPoint2D();
    return f.from_frame(points[0].x, points[0].y);
}

void EREllipse2D::scale(double s) {
    focus1_ *= s;
    focus2_ *= s;
    big_ *= s;
}

void EREllipse2D::translate(const ERPoint2D& v) {
    focus1_ += v;
    focus2_ += v;
}

void EREllipse2D::transformFrom(const ERTransfo2D& t) {
    focus1_ = t.TransFrom(focus1_);
    focus2_ = t.TransFrom(focus2_);
    big_ *= t.factHomo();
}

void EREllipse2D::transformTo(const ERTransfo2D& t) {
    focus1_ = t.TransTo(focus1_);
    focus2_ = t.TransTo(focus2_);
    big_ /= t.factHomo();
}

t_SmartPtr<EREntity3DWF> EREllipse2D::get3DEquiv(const ERPmIsometrie3D& frame) {
    return new EREllipse3D(*this, frame);
}

void EREllipse2D::reverse() { std::swap(focus1_, focus2_); }

ERObject* EREllipse2D::getCopy() const { return new EREllipse2D(*this); }

void EREllipse2D::printOn(std::ostream& out) const {
    out << "Ellipse" << '\n'
        << "focus 1 " << focus1_ << '\n'
        << "focus 2 " << focus2_ << '\n'
        << "Big Axe " << big_ << '\n'
        << "Small Axe " << getSmallAxe() << '\n'
        << "Center  " << center() << '\n';
}
