// ERPersistentPoint2D, ERPersistentPoint3D, ERPersistentVector3D, gmPersistentPoint3DPair: plain
// values as objects that can be shared and stored.
#pragma once

#include "velm/frame/dimension.h"
#include "velm/frame/entity.h"
#include "velm/frame/point.h"
#include "velm/frame/vector.h"

#include <iosfwd>

namespace velm::detail {

/// The common base of the points of the plane and of space. In a store a point is its coordinates.
template <class D>
class VELM_API PersistentPoint : public D::Entity, public D::Point {
public:
    using Point = typename D::Point;

    /// Zero.
    PersistentPoint() = default;
    PersistentPoint(const Point& p) : Point(p) {}
    const Point& value() const { return *this; }
    Point& value() { return *this; }

    /// Multiplies the coordinates.
    void scale(double s) override;
    void translate(const Point& v) override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;
    void printOn(std::ostream& out) const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.value());
    }
};

} // namespace velm::detail

/// A point of the plane. T >> point and T << point (velm/transforms/transformed_values.h) map it
/// like transformFrom and transformTo.
class VELM_API ERPersistentPoint2D : public velm::detail::PersistentPoint<velm::Plane> {
    VELM_DECLARE_CLASS(ERPersistentPoint2D)

public:
    using PersistentPoint::PersistentPoint;
    ERPersistentPoint2D& operator=(const ERPoint2D& p) {
        value() = p;
        return *this;
    }

    void transformFrom(const ERTransfo2D& t) override;
    void transformTo(const ERTransfo2D& t) override;
    ERObject* getCopy() const override;
};

/// A point of space, mapped like ERPersistentPoint2D.
class VELM_API ERPersistentPoint3D : public velm::detail::PersistentPoint<velm::Space> {
    VELM_DECLARE_CLASS(ERPersistentPoint3D)

public:
    using PersistentPoint::PersistentPoint;
    ERPersistentPoint3D& operator=(const ERPoint3D& p) {
        value() = p;
        return *this;
    }

    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;
    ERObject* getCopy() const override;
};

/// A vector. It adds nothing to its record in a store, a property of the format.
class VELM_API ERPersistentVector3D : public ERObject, public ERVector3D {
    VELM_DECLARE_CLASS(ERPersistentVector3D)

public:
    using ERObject::binaryStoreSize;
    using ERObject::restoreGuts;
    using ERObject::saveGuts;

    ERPersistentVector3D() = default;
    ERPersistentVector3D(const ERVector3D& v) : ERVector3D(v) {}
    ERPersistentVector3D& operator=(const ERVector3D& v) {
        static_cast<ERVector3D&>(*this) = v;
        return *this;
    }

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;
};

/// Two points, moved and stored one after the other.
class VELM_API gmPersistentPoint3DPair : public EREntity3D {
    VELM_DECLARE_CLASS(gmPersistentPoint3DPair)

public:
    gmPersistentPoint3DPair() = default;
    gmPersistentPoint3DPair(const ERPoint3D& p1, const ERPoint3D& p2) : first(p1), second(p2) {}

    ERPersistentPoint3D get_first_point() const { return first; }
    ERPersistentPoint3D get_second_point() const { return second; }

    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    unsigned int binaryStoreSize() const override;
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.first.value(), self.second.value());
    }

    ERPersistentPoint3D first;
    ERPersistentPoint3D second;
};

/// printOn: "(P) " and the value.
VELM_API std::ostream& operator<<(std::ostream& out, const ERPersistentPoint2D& point);
VELM_API std::ostream& operator<<(std::ostream& out, const ERPersistentPoint3D& point);
VELM_API std::ostream& operator<<(std::ostream& out, const ERPersistentVector3D& vector);
