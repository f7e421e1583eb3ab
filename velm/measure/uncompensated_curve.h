// gmUncompensatedCurve: a measured curve before the probe's radius is taken off.
// ERCpoleNURBS3DcoPageArr with its iterator: NURBS curves in the page array of a host's library.
#pragma once

#include "velm/curves/nurbs_curve.h"
#include "velm/frame/box.h"
#include "velm/platform/page_array.h"

class VELM_API ERCpoleNURBS3DcoPageArr : public coPageArr<ERCpoleNURBS3D> {
public:
    using coPageArr::coPageArr;
};

class VELM_API ERCpoleNURBS3DcoPageArrcoIterator : public coPageArrIterator<ERCpoleNURBS3D> {
public:
    using coPageArrIterator::coPageArrIterator;
};

/// The path of the probe's centre as NURBS spans, in the order of travel.
///
///     gmUncompensatedCurve path(first);
///     path.append_span(second);
///     const ERMinimax3D reach = path.box();
///     path.transformFrom(machine_to_part);
///
/// It is not kept in files: its stored form is empty, which hosts rely on.
class VELM_API gmUncompensatedCurve : public EREntity3DWF {
    VELM_DECLARE_CLASS(gmUncompensatedCurve)

public:
    /// No spans; blocks of 256.
    gmUncompensatedCurve() = default;
    /// One span; blocks of 2.
    explicit gmUncompensatedCurve(const ERCpoleNURBS3D& span);
    explicit gmUncompensatedCurve(const ERCpoleNURBS3DcoPageArr& spans) : spans_(spans) {}

    void append_span(const ERCpoleNURBS3D& span) { spans_.append(span); }
    int number_of_spans() const { return spans_.length(); }
    /// 0 <= i < number_of_spans().
    const ERCpoleNURBS3D& span(int i) const { return spans_[i]; }
    /// The boxes of the spans together; empty without any.
    ERMinimax3D box() const;

    /// Turns each span round, and their order.
    void reverse() override;
    void scale(double s) override;
    void translate(const ERPoint3D& v) override;
    void transformFrom(const ERPmSimilitude3D& t) override;
    void transformFrom(const ERPmIsometrie3D& t) override;
    void transformTo(const ERPmSimilitude3D& t) override;
    void transformTo(const ERPmIsometrie3D& t) override;

    /// "gmUncompensatedCurve {", the spans as "(count)[first,...,last]", "}", a line end after
    /// each.
    void printOn(std::ostream& out) const override;
    ERObject* getCopy() const override;

private:
    ERCpoleNURBS3DcoPageArr spans_;
};

/// A copy moved by transformFrom, and one moved by transformTo.
VELM_API gmUncompensatedCurve operator>>(const ERPmIsometrie3D& t,
                                         const gmUncompensatedCurve& curve);
VELM_API gmUncompensatedCurve operator<<(const ERPmIsometrie3D& t,
                                         const gmUncompensatedCurve& curve);
