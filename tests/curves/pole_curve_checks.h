// What Bezier and NURBS curves have in common: crossings of a level, and answers without poles.
#pragma once

#include "support/records.h"
#include "velm/frame/vec.h"

namespace velm_test {

/// Parameters where the last coordinate is `level`, appended; returns what the curve returns.
template <class Curve>
int level_crossings(const Curve& curve, double level, ERVec<double>& params) {
    if constexpr (Curve::Point::components == 2)
        return curve.intersectWithAxeY(level, params);
    else
        return curve.intersectWithPlanZ(level, params);
}

/// The class, "Poles :" and the poles, as a curve prints them.
template <class Curve>
std::string poles_text(const Curve& curve) {
    std::ostringstream text;
    text << curve.className() << "\nPoles :\n(" << curve.nbPoles() << ")";
    for (int i = 0; i < curve.nbPoles(); ++i)
        text << (i == 0 ? "[" : ",") << curve.getPoles().view()[std::size_t(i)];
    return text.str() + "]\n";
}

/// The poles as they stand on file.
template <class Curve>
std::string poles_bytes(const Curve& curve) {
    std::string bytes;
    for (const auto& pole : curve.getPoles().view())
        bytes += bytes_of(pole);
    return bytes;
}

/// A curve without poles answers everything and stays without.
template <class Curve>
void expect_no_curve(Curve& none) {
    ERVec<double> params;
    EXPECT_TRUE(std::isnan(none(0.5)[0]) && std::isnan(none.PtCur(0.5).tangente()[0]));
    EXPECT_EQ(none.ProjectPoint({}, params, 1.0) + level_crossings(none, 0.0, params), 0);
    none.incrDegree(2);
    none.decrDegree();
    none.setBound({0.25, 0.5});
    none.adjust();
    none.reverse();
    EXPECT_TRUE(none.getBox().invalid());
    EXPECT_EQ(none.nbPoles() + none.knotVector().length(), 0);
}

} // namespace velm_test
