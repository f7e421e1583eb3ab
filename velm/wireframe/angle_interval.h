// EREntAngle: the angular limits of an arc. ERFiniteEntity2DWFBoundedWithAngle,
// ERFiniteEntity3DWFBoundedWithAngle: curves whose parameter is an angle between such limits.
#pragma once

#include "velm/frame/finite_entity.h"
#include "velm/frame/radian.h"

/// A start and an end angle, in radians, in either order: an arc whose end is below its start is
/// travelled clockwise.
class VELM_API EREntAngle {
public:
    /// The whole turn from 0 to 2 pi.
    EREntAngle();
    EREntAngle(ERRadian start, ERRadian end) : start_(start), end_(end) {}
    virtual ~EREntAngle() = default;

    ERRadian startAngle() const { return start_; }
    ERRadian endAngle() const { return end_; }
    /// Store the angle and return the old one.
    ERRadian startAngle(ERRadian angle);
    ERRadian endAngle(ERRadian angle);
    void setLimites(ERRadian start, ERRadian end);

    /// 1 if the end is above the start, else 0.
    int isDirect() const { return end_ > start_ ? 1 : 0; }
    /// Swaps the two angles.
    virtual void reverse();
    /// 1 if start and end differ by exactly one turn; the argument is not used.
    virtual int isClosed(double unused) const;

    /// Prints the angles in degrees.
    virtual void printOn(std::ostream& out) const;
    /// Start and end as two doubles, in radians.
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);
    virtual unsigned int binaryStoreSize() const;

protected:
    EREntAngle(const EREntAngle&) = default;
    EREntAngle& operator=(const EREntAngle&) = default;

    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.start_.radians, self.end_.radians);
    }

private:
    ERRadian start_;
    ERRadian end_;
};

namespace velm::detail {

/// Prints the angles of an arc in degrees after the labels of arcs.
void print_limits(std::ostream& out, const EREntAngle& angles);

/// The common base of the curves with angular limits of the plane and of space.
template <class D>
class VELM_API BoundedWithAngle : public D::FiniteEntity, public EREntAngle {
public:
    BoundedWithAngle() = default;
    BoundedWithAngle(ERRadian start, ERRadian end) : EREntAngle(start, end) {}

    /// The start angle and the end angle: the ends as the curve is travelled, so that udeb is above
    /// ufin on a clockwise one.
    double udeb() const override;
    double ufin() const override;
    /// The two angles in rising order.
    ERLimites getBound() override;
    /// Whether the limits differ by exactly one turn; the tolerance is not used.
    int isClosed(double unused) const override;
    /// Swaps the angles.
    void reverse() override;

    void printOn(std::ostream& out) const override;
    VELM_DECLARE_STORED_FORM();

protected:
    /// Refines by Smash until the polyline follows the curve within tol.
    void prepareApprox(typename D::PointList& list, const ERLimites& interval,
                       double tol) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        EREntAngle::stored_fields(self, form);
    }
};

} // namespace velm::detail

/// A curve of the plane between two angles.
class VELM_API ERFiniteEntity2DWFBoundedWithAngle
    : public velm::detail::BoundedWithAngle<velm::Plane> {
    VELM_DECLARE_CLASS(ERFiniteEntity2DWFBoundedWithAngle)

public:
    using BoundedWithAngle::BoundedWithAngle;
};

/// A curve of space between two angles.
class VELM_API ERFiniteEntity3DWFBoundedWithAngle
    : public velm::detail::BoundedWithAngle<velm::Space> {
    VELM_DECLARE_CLASS(ERFiniteEntity3DWFBoundedWithAngle)

public:
    using BoundedWithAngle::BoundedWithAngle;
};

extern template class velm::detail::BoundedWithAngle<velm::Plane>;
extern template class velm::detail::BoundedWithAngle<velm::Space>;
