#include "velm/measure/uncompensated_curve.h"

#include "velm/transforms/transformation_handle.h"

#include <ostream>

VELM_DEFINE_CLASS(gmUncompensatedCurve, EREntity3DWF)

namespace {

ERCpoleNURBS3DcoPageArr single(const ERCpoleNURBS3D& span) {
    constexpr int shift = 1; // blocks of two
    ERCpoleNURBS3DcoPageArr spans(shift);
    spans.append(span);
    return spans;
}

} // namespace

gmUncompensatedCurve::gmUncompensatedCurve(const ERCpoleNURBS3D& span) : spans_(single(span)) {}

ERMinimax3D gmUncompensatedCurve::box() const {
    ERMinimax3D all;
    for (const ERCpoleNURBS3D& span : spans_)
        all.Update(const_cast<ERCpoleNURBS3D&>(span).getBox()); // keeps the box, changes no shape
    return all;
}

void gmUncompensatedCurve::reverse() {
    for (ERCpoleNURBS3D& span : spans_)
        span.reverse();
    spans_.reverse();
}

void gmUncompensatedCurve::scale(double s) {
    for (ERCpoleNURBS3D& span : spans_)
        span.scale(s);
}

void gmUncompensatedCurve::translate(const ERPoint3D& v) {
    for (ERCpoleNURBS3D& span : spans_)
        span.translate(v);
}

void gmUncompensatedCurve::transformFrom(const ERPmSimilitude3D& t) {
    for (ERCpoleNURBS3D& span : spans_)
        span.transformFrom(t);
}

void gmUncompensatedCurve::transformFrom(const ERPmIsometrie3D& t) {
    transformFrom(static_cast<const ERPmSimilitude3D&>(t));
}

void gmUncompensatedCurve::transformTo(const ERPmSimilitude3D& t) {
    for (ERCpoleNURBS3D& span : spans_)
        span.transformTo(t);
}

void gmUncompensatedCurve::transformTo(const ERPmIsometrie3D& t) {
    transformTo(static_cast<const ERPmSimilitude3D&>(t));
}

void gmUncompensatedCurve::printOn(std::ostream& out) const {
    out << "gmUncompensatedCurve {\n(" << number_of_spans() << ")[";
    for (int i = 0; i < number_of_spans(); ++i) {
        if (i > 0) out << ',';
        span(i).printOn(out);
    }
    out << "]\n}\n";
}

ERObject* gmUncompensatedCurve::getCopy() const { return new gmUncompensatedCurve(*this); }

gmUncompensatedCurve operator>>(const ERPmIsometrie3D& t, const gmUncompensatedCurve& curve) {
    gmUncompensatedCurve moved(curve);
    moved.transformFrom(t);
    return moved;
}

gmUncompensatedCurve operator<<(const ERPmIsometrie3D& t, const gmUncompensatedCurve& curve) {
    gmUncompensatedCurve moved(curve);
    moved.transformTo(t);
    return moved;
}
