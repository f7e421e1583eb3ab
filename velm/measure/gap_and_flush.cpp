#include "velm/measure/gap_and_flush.h"

#include "velm/frame/stored_form.h"
#include "velm/transforms/transformation_factories.h"

#include <ostream>

VELM_DEFINE_CLASS(gmGapAndFlush, ERPlanarEntity3DWF)
VELM_DEFINE_STORED_FORM(gmGapAndFlush, ERPlanarEntity3DWF)

namespace {

constexpr double millimetres_of_an_inch = 25.4;

ERPmIsometrie3D frame_of(const ERPoint3D& centre, const ERVector3D& direction,
                         const ERVector3D& normal) {
    const ERVector3D second = normal ^ direction;
    return ERChgRepere3D(second ^ normal, second, centre);
}

} // namespace

gmGapAndFlush::gmGapAndFlush(const ERPoint3D& centre, const ERVector3D& direction,
                             const ERVector3D& normal, double gap, double flush)
    : gmGapAndFlush(frame_of(centre, direction, normal), gap, flush) {}

void gmGapAndFlush::scale(double factor) {
    ERPlanarEntity3DWF::scale(factor);
    gap_ *= factor;
    flush_ *= factor;
}

void gmGapAndFlush::transformFrom(const ERPmSimilitude3D& t) {
    ERPlanarEntity3DWF::transformFrom(t);
    gap_ *= t.getFactHomo();
    flush_ *= t.getFactHomo();
}

void gmGapAndFlush::transformTo(const ERPmSimilitude3D& t) {
    ERPlanarEntity3DWF::transformTo(t);
    gap_ *= t.getFactHomo();
    flush_ *= t.getFactHomo();
}

void gmGapAndFlush::printOn(std::ostream& out) const {
    out << "Gap and Flush:\n";
    ERPlanarEntity3DWF::printOn(out);
    out << "               : Gap " << gap_ << "\n               : Flush " << flush_ << '\n';
}

ERObject* gmGapAndFlush::getCopy() const { return new gmGapAndFlush(*this); }

gmGapAndFlush operator>>(const ERPmIsometrie3D& t, const gmGapAndFlush& result) {
    gmGapAndFlush moved(result);
    moved.transformFrom(t);
    return moved;
}

gmGapAndFlush operator<<(const ERPmIsometrie3D& t, const gmGapAndFlush& result) {
    gmGapAndFlush moved(result);
    moved.transformTo(t);
    return moved;
}

gmDimension::gmDimension(double value, PWI_Units unit) {
    if (unit == PWI_inches) millimetres_ = value * millimetres_of_an_inch;
    if (unit == PWI_millimetres) millimetres_ = value;
}

double gmDimension::get(PWI_Units unit) const {
    if (unit == PWI_inches) return millimetres_ / millimetres_of_an_inch;
    return unit == PWI_millimetres ? millimetres_ : 0.0;
}
