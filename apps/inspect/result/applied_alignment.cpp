#include "inspect/result/applied_alignment.h"

#include <cmath>

#include "velm/transforms/transformed_values.h"

namespace velm::inspect {
namespace {

// The sine of the angle times the axis, from the antisymmetric part of the matrix.
ERVector3D turning(const ERVector3D (&rotation)[3]) {
    return ERVector3D(rotation[2].j() - rotation[1].k(), rotation[0].k() - rotation[2].i(),
                      rotation[1].i() - rotation[0].j()) *
           0.5;
}

double cosine(const ERVector3D (&rotation)[3]) {
    return (rotation[0].i() + rotation[1].j() + rotation[2].k() - 1.0) / 2.0;
}

AppliedAlignment with_report(const velm::AlignmentReport& found,
                             const velm::AlignmentOptions& options) {
    AppliedAlignment result;
    result.iterations = found.iterations;
    result.threshold = options.threshold;
    result.last_step = found.last_step;
    for (const velm::HeldFreedom& freedom : found.held)
        result.held.push_back(freedom.name());
    return result;
}

} // namespace

DeviationSpread spread_of(const RunningStatistics& deviations) {
    return {deviations.root_mean_square(), deviations.minimum(), deviations.maximum()};
}

double AppliedAlignment::angle() const {
    const ERVector3D turn = turning(rotation);
    return std::atan2(in_plane ? turn.k() : turn.norme(), cosine(rotation));
}

ERVector3D AppliedAlignment::axis() const {
    const ERVector3D turn = turning(rotation);
    if (turn.norme2() == 0.0 && cosine(rotation) > 0.0) return {};
    if (cosine(rotation) > 0.0) return turn.getnormalized();
    // Near a half turn the symmetric part less the cosine, a multiple of the axis' products, tells.
    ERVector3D longest;
    for (int row = 0; row < 3; ++row) {
        ERVector3D products = rotation[row];
        for (int column = 0; column < 3; ++column)
            products[column] = (rotation[row][column] + rotation[column][row]) / 2.0;
        products[row] -= cosine(rotation);
        if (products.norme2() > longest.norme2()) longest = products;
    }
    return longest.getnormalized() * (longest * turn < 0.0 ? -1.0 : 1.0);
}

ERPoint2D AppliedAlignment::moved(const ERPoint2D& p) const {
    return {rotation[0].i() * p.x() + rotation[0].j() * p.y() + translation.x(),
            rotation[1].i() * p.x() + rotation[1].j() * p.y() + translation.y()};
}

AppliedAlignment applied(const velm::Alignment& found, const velm::AlignmentOptions& options) {
    AppliedAlignment result = with_report(found, options);
    for (int column = 0; column < 3; ++column) {
        const ERVector3D image = found.motion >> ERVector3D(static_cast<Coord3D>(column));
        for (int row = 0; row < 3; ++row)
            result.rotation[row][column] = image[row];
    }
    result.translation = found.motion >> ERPoint3D(0, 0, 0);
    return result;
}

AppliedAlignment applied(const velm::Alignment2D& found, const velm::AlignmentOptions& options) {
    AppliedAlignment result = with_report(found, options);
    result.in_plane = true;
    const ERVector2D x = found.motion >> ERVector2D(1, 0), y = found.motion >> ERVector2D(0, 1);
    result.rotation[0] = ERVector3D(x.i(), y.i(), 0);
    result.rotation[1] = ERVector3D(x.j(), y.j(), 0);
    const ERPoint2D origin = found.motion >> ERPoint2D(0, 0);
    result.translation = ERPoint3D(origin.x(), origin.y(), 0);
    return result;
}

} // namespace velm::inspect
