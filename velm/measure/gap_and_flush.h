// gmGapAndFlush: gap and flush at a place of a part. gmDimension: a length with its units.
#pragma once

#include "velm/wireframe/planar_entity.h"

#include <iosfwd>

/// A frame at the place where two panels meet, with the gap between them and the flush, the height
/// of one above the other, in model units.
///
///     gmGapAndFlush door({812.0, -640.5, 310.0}, {0, 0, 1}, {0, -1, 0}, 3.6, -0.4);
///     door.transformFrom(machine_to_car);
///     if (std::fabs(door.gap() - 3.5) > 0.5) report(door.centre(), door.gap());
class VELM_API gmGapAndFlush : public ERPlanarEntity3DWF {
    VELM_DECLARE_CLASS(gmGapAndFlush)

public:
    /// Gap and flush 0 in the default frame.
    gmGapAndFlush() = default;
    gmGapAndFlush(const ERPmIsometrie3D& frame, double gap, double flush)
        : ERPlanarEntity3DWF(frame), gap_(gap), flush_(flush) {}
    /// The third axis is the normal, the first the direction made perpendicular to it, the second
    /// normal x direction. A direction along the normal leaves the first two axes without length.
    gmGapAndFlush(const ERPoint3D& centre, const ERVector3D& direction, const ERVector3D& normal,
                  double gap, double flush);

    double gap() const { return gap_; }
    void gap(double value) { gap_ = value; }
    double flush() const { return flush_; }
    void flush(double value) { flush_ = value; }

    ERPoint3D centre() const { return getRepere().origine(); }
    ERVector3D direction() const { return getRepere().getVector(Coord3D_X); }
    ERVector3D auxiliary_direction() const { return getRepere().getVector(Coord3D_Y); }
    ERVector3D normal() const { return getRepere().getVector(Coord3D_Z); }

    /// The frame as ERPlanarEntity3DWF scales it; gap and flush are multiplied by the factor.
    void scale(double factor) override;
    using ERPlanarEntity3DWF::transformFrom;
    using ERPlanarEntity3DWF::transformTo;
    /// Gap and flush are multiplied by the similitude's factor, sign included, in BOTH directions:
    /// transformTo is not the inverse of transformFrom for them. Hosts depend on it.
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;

    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

    /// The frame, the gap, the flush.
    VELM_DECLARE_STORED_FORM();

private:
    template <class Self, class Form>
    static void stored_fields(Self& self, Form& form) {
        form(self.gap_);
        form(self.flush_);
    }

    double gap_ = 0.0;
    double flush_ = 0.0;
};

/// A copy moved by transformFrom, and one moved by transformTo.
VELM_API gmGapAndFlush operator>>(const ERPmIsometrie3D& t, const gmGapAndFlush& result);
VELM_API gmGapAndFlush operator<<(const ERPmIsometrie3D& t, const gmGapAndFlush& result);

/// The values are fixed.
enum PWI_Units : int { PWI_inches = 0, PWI_millimetres = 1 };

/// A length, kept in millimetres.
class VELM_API gmDimension {
public:
    gmDimension() = default;
    /// 0 for any other unit.
    gmDimension(double value, PWI_Units unit);

    /// 0.0 for any other unit.
    double get(PWI_Units unit) const;
    /// In millimetres.
    operator double() const { return millimetres_; }

private:
    double millimetres_ = 0.0;
};
