#include "velm/surfaces/revolve.h"

#include "velm/surfaces/detail/turned_pole.h"

#include <cmath>

namespace velm {

namespace {

// The knots of a turn in equal pieces of degree 2: two at each joint, three at the ends.
ERKnotVector turn_knots(double start, double end, int pieces) {
    ERVec<double> knots;
    for (int i = 0; i <= pieces; ++i) {
        const double ratio = double(i) / pieces;
        const double knot = (1.0 - ratio) * start + ratio * end;
        const int copies = i == 0 || i == pieces ? 3 : 2;
        for (int n = 0; n < copies; ++n)
            knots.push_back(knot);
    }
    return ERKnotVector(2, knots);
}

} // namespace

std::optional<ERSpoleNURBS3D> revolve(const ERCpoleNURBS3D& curve, const ERInfLine3D& axis,
                                      double start, double end) {
    const double span = end - start;
    if (!detail::is_turn(start, end)) return {};
    const std::span<const ERPole3DH> poles = curve.getPoles().view();
    if (poles.empty() || !(axis.dirVector().norme2() > 0.0)) return {};

    const int pieces = detail::quarters_of(span);
    const double half_piece = 0.5 * span / pieces;
    ERMatrix<ERPole3DH> net(2 * pieces + 1, static_cast<int>(poles.size()));
    const std::span<ERPole3DH> target = net.writable();
    // A piece has a pole at either end and one between, where the tangents of the ends meet, with
    // the cosine of half its angle as weight.
    for (int j = 0; j <= 2 * pieces; ++j) {
        const double angle = start + j * half_piece;
        const double shrink = j % 2 == 0 ? 1.0 : std::cos(half_piece);
        for (std::size_t i = 0; i < poles.size(); ++i)
            target[std::size_t(j) * poles.size() + i] =
                detail::turned_pole(poles[i], axis, angle, shrink);
    }
    return ERSpoleNURBS3D(net, curve.getKnots(), turn_knots(start, end, pieces));
}

} // namespace velm
