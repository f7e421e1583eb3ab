#include "velm/surfaces/revolve.h"

#include "velm/wireframe/detail/angles.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velm {

namespace {

constexpr double angle_tolerance = 1e-9;

// Of the turn in `pieces` equal pieces: two knots at each joint, three at the ends.
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

// A homogeneous pole turned by the angle; between joints with the weight's factor `shrink`, which
// leaves its distance from the axis as it is and multiplies the rest.
ERPole3DH turned_pole(const ERPole3DH& pole, const ERInfLine3D& axis, double angle, double shrink) {
    const ERVector3D& d = axis.dirVector();
    const ERVector3D origin = ERVector3D(axis.origine()) * pole.weight;
    const ERVector3D arm = ERVector3D(pole.x(), pole.y(), pole.z()) - origin;
    const ERVector3D along = d * (d * arm), across = arm - along;
    const ERVector3D result =
        (origin + along) * shrink + across * std::cos(angle) + (d ^ across) * std::sin(angle);
    return ERPole3DH(result.i(), result.j(), result.k(), pole.weight * shrink);
}

} // namespace

std::optional<ERSpoleNURBS3D> revolve(const ERCpoleNURBS3D& curve, const ERInfLine3D& axis,
                                      double start, double end) {
    const double span = end - start;
    if (!(span > 0.0 && span <= detail::turn + angle_tolerance) || !std::isfinite(start)) return {};
    const std::span<const ERPole3DH> poles = curve.getPoles().view();
    if (poles.empty() || !(axis.dirVector().norme2() > 0.0)) return {};

    constexpr double quarter = 0.5 * std::numbers::pi;
    const int pieces = std::max(1, static_cast<int>(std::ceil((span - angle_tolerance) / quarter)));
    const double half_piece = 0.5 * span / pieces;
    ERMatrix<ERPole3DH> net(2 * pieces + 1, static_cast<int>(poles.size()));
    const std::span<ERPole3DH> target = net.writable();
    for (int j = 0; j <= 2 * pieces; ++j) {
        const double angle = start + j * half_piece;
        const double shrink = j % 2 == 0 ? 1.0 : std::cos(half_piece);
        for (std::size_t i = 0; i < poles.size(); ++i)
            target[std::size_t(j) * poles.size() + i] = turned_pole(poles[i], axis, angle, shrink);
    }
    return ERSpoleNURBS3D(net, curve.getKnots(), turn_knots(start, end, pieces));
}

} // namespace velm
