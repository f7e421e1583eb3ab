#include "velm/measure/alignment.h"

#include "velm/measure/detail/freedoms.h"
#include "velm/measure/target_point.h"
#include "velm/numerics/quaternion.h"
#include "velm/numerics/symmetric_eigen.h"
#include "velm/transforms/transformation_factories.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace velm {

namespace {

using detail::Freedoms;
using detail::Step;

// Below this fraction of the sum of squares a step can't be distinguished from rounding.
constexpr double rounding_of_squares = 1e-12;
// The error of a deviation as a fraction of the largest coordinate: a few roundings.
constexpr double rounding_of_deviations = 8 * std::numeric_limits<double>::epsilon();
constexpr int most_halvings = 40;

// A turn about the centroid of the points, then a shift.
struct Pose {
    ERQuaternion turn;
    ERVector3D shift;
};

Pose after(const Pose& pose, const Step& step) {
    const double angle = step.turn.norme();
    ERQuaternion turn = pose.turn;
    if (angle > 0.0) turn = ERQuaternion(step.turn, angle) * turn;
    return {turn * (1.0 / std::sqrt(turn.Norm2())), pose.shift + step.shift};
}

// A pose with the sum of squares there and what a step from there needs.
struct State {
    Pose pose;
    double squares = 0.0;
    Freedoms freedoms;
};

class Aligner {
public:
    Aligner(std::span<const ERPoint3D> points, const NominalOf& nominal, bool in_plane,
            const AlignmentOptions& options);

    void run();
    const AlignmentReport& report() const { return report_; }
    const ERQuaternion& turn() const { return best_.pose.turn; }
    // The shift of the motion if its turn is about the origin.
    ERVector3D shift() const {
        return centroid_.asVector3D() + best_.pose.shift - turn() * centroid_.asVector3D();
    }

private:
    State evaluate(const Pose& pose) const;
    std::optional<Pose> absolute_orientation() const;
    ERQuaternion best_turn(double s[3][3]) const;
    double rounding() const;
    bool improve(const Step& step, int halvings = most_halvings);
    bool settle(const Step& step);

    std::span<const ERPoint3D> points_;
    const NominalOf& nominal_;
    const bool in_plane_;
    const AlignmentOptions& options_;
    ERPoint3D centroid_;
    double extent_ = 0.0;
    double largest_coordinate_ = 0.0;
    State best_{{}, 0.0, Freedoms(1.0, false)};
    AlignmentReport report_;
};

Aligner::Aligner(std::span<const ERPoint3D> points, const NominalOf& nominal, bool in_plane,
                 const AlignmentOptions& options)
    : points_(points), nominal_(nominal), in_plane_(in_plane), options_(options) {
    const double count = std::max<double>(1.0, static_cast<double>(points.size()));
    for (const ERPoint3D& p : points)
        centroid_ += p * (1.0 / count);
    for (const ERPoint3D& p : points)
        extent_ += ERVector3D(centroid_, p).norme2() / count;
    for (const ERPoint3D& p : points)
        largest_coordinate_ =
            std::max({largest_coordinate_, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    extent_ = extent_ > 0.0 ? std::sqrt(extent_) : 1.0;
}

State Aligner::evaluate(const Pose& pose) const {
    State state{pose, 0.0, Freedoms(extent_, in_plane_)};
    const ERPoint3D middle = centroid_ + pose.shift;
    for (std::size_t n = 0; n < points_.size(); ++n) {
        const ERVector3D arm = pose.turn * ERVector3D(centroid_, points_[n]);
        const ERPoint3D p = middle + arm;
        const NominalPlace place = nominal_(n, p);
        const ERVector3D away(place.centre, p);
        const ERVector3D nominal_arm(middle, place.centre);
        const auto add = [&](const ERVector3D& normal) {
            const double deviation = normal * away;
            state.squares += deviation * deviation;
            state.freedoms.add(arm, nominal_arm, normal, deviation);
        };
        if (place.normal.norme2() > 0.0) {
            add(place.normal);
        } else {
            for (int axis = 0; axis < (in_plane_ ? 2 : 3); ++axis)
                add(ERVector3D(static_cast<Coord3D>(axis)));
        }
    }
    state.freedoms.analyse(options_.least_determined);
    return state;
}

// The unit quaternion whose turn brings the points nearest to their places, from the sums of the
// products of their coordinates (Horn 1987, section 4). In the plane it turns only about z.
ERQuaternion Aligner::best_turn(double s[3][3]) const {
    const double xx = s[0][0], yy = s[1][1], zz = s[2][2];
    const double n[4][4] = {{xx + yy + zz, s[1][2] - s[2][1], s[2][0] - s[0][2], s[0][1] - s[1][0]},
                            {0, xx - yy - zz, s[0][1] + s[1][0], s[2][0] + s[0][2]},
                            {0, 0, yy - xx - zz, s[1][2] + s[2][1]},
                            {0, 0, 0, zz - xx - yy}};
    if (in_plane_) {
        Mgc::Eigen eigen(2);
        eigen.Matrix(0, 0) = n[0][0];
        eigen.Matrix(0, 1) = n[0][3];
        eigen.Matrix(1, 1) = n[3][3];
        eigen.DecrSortEigenStuff2();
        return {eigen.GetEigenvector(0, 0), 0, 0, eigen.GetEigenvector(1, 0)};
    }
    Mgc::Eigen eigen(4);
    for (int row = 0; row < 4; ++row) {
        for (int column = row; column < 4; ++column)
            eigen.Matrix(row, column) = n[row][column];
    }
    eigen.DecrSortEigenStuff4();
    return {eigen.GetEigenvector(0, 0), eigen.GetEigenvector(1, 0), eigen.GetEigenvector(2, 0),
            eigen.GetEigenvector(3, 0)};
}

std::optional<Pose> Aligner::absolute_orientation() const {
    if (points_.empty()) return {};
    std::vector<ERPoint3D> places;
    ERPoint3D middle;
    for (std::size_t n = 0; n < points_.size(); ++n) {
        places.push_back(nominal_(n, points_[n]).centre);
        middle += places.back() * (1.0 / static_cast<double>(points_.size()));
    }
    double sums[3][3] = {};
    for (std::size_t n = 0; n < points_.size(); ++n) {
        const ERVector3D arm(centroid_, points_[n]), aim(middle, places[n]);
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j)
                sums[i][j] += arm[i] * aim[j];
        }
    }
    const ERQuaternion turn = best_turn(sums);
    if (!(turn.Norm2() > 0.5)) return {};
    return Pose{turn, ERVector3D(centroid_, middle)};
}

// A bound of the rounding of the sum of squares: its own, and that of the deviations.
double Aligner::rounding() const {
    const double off = rounding_of_deviations * largest_coordinate_;
    const double count = static_cast<double>(points_.size());
    return rounding_of_squares * best_.squares +
           off * (std::sqrt(count * best_.squares) + count * off);
}

// Takes the step if the next one is shorter, where rounding hides whether it lowers the sum of
// squares.
bool Aligner::settle(const Step& step) {
    State state = evaluate(after(best_.pose, step));
    if (!(state.squares <= best_.squares + rounding())) return false;
    if (!(state.freedoms.solve().size < step.size)) return false;
    best_ = std::move(state);
    return true;
}

// Takes the step, or the part of it that lowers the sum of squares; false if none does.
bool Aligner::improve(const Step& step, int halvings) {
    double part = 1.0;
    for (int halving = 0; halving <= halvings; ++halving, part *= 0.5) {
        State state = evaluate(after(best_.pose, {step.turn * part, step.shift * part, 0.0, 0.0}));
        if (!(state.squares < best_.squares)) continue;
        best_ = state;
        return true;
    }
    return false;
}

void Aligner::run() {
    best_ = evaluate({});
    report_.squares_before = best_.squares;
    if (best_.freedoms.all_determined()) {
        if (const auto start = absolute_orientation()) {
            State state = evaluate(*start);
            if (state.squares < best_.squares) best_ = state;
        }
    }
    for (;;) {
        const Step step = best_.freedoms.solve();
        report_.last_step = step.size;
        report_.converged = step.size <= options_.threshold;
        const bool is_rounding = step.gain <= rounding();
        if (report_.converged) {
            if (!is_rounding) improve(step, 0); // towards the last digits of points without noise
            break;
        }
        if (report_.iterations >= options_.most_iterations) break;
        ++report_.iterations;
        if ((is_rounding && settle(step)) || improve(step)) continue;
        report_.converged = is_rounding;
        break;
    }
    report_.squares_after = best_.squares;
    report_.held = best_.freedoms.held(centroid_ + best_.pose.shift);
}

} // namespace

Alignment align(std::span<const ERPoint3D> points, const NominalOf& nominal,
                const AlignmentOptions& options) {
    Aligner aligner(points, nominal, false, options);
    aligner.run();
    return {aligner.report(), ERTranslation3D(aligner.shift()) * ERRotation3D(aligner.turn())};
}

Alignment2D align(std::span<const ERPoint2D> points, const NominalOf2D& nominal,
                  const AlignmentOptions& options) {
    std::vector<ERPoint3D> lifted;
    lifted.reserve(points.size());
    for (const ERPoint2D& p : points)
        lifted.push_back(p.castToPoint3D(Coord3D_Z, 0.0));
    const NominalOf in_plane = [&nominal](std::size_t number, const ERPoint3D& p) {
        const NominalPlace2D place = nominal(number, p.castToPoint2D(Coord3D_Z));
        return NominalPlace{place.centre.castToPoint3D(Coord3D_Z, 0.0),
                            place.normal.castToVector3D(Coord3D_Z, 0.0)};
    };
    Aligner aligner(lifted, in_plane, true, options);
    aligner.run();
    Alignment2D result{aligner.report(), {}};
    const ERVector3D x = aligner.turn() * ERVector3D(Coord3D_X);
    const ERVector3D shift = aligner.shift();
    result.motion.a = result.motion.d = x.i();
    result.motion.c = x.j();
    result.motion.b = -x.j();
    result.motion.tx = shift.i();
    result.motion.ty = shift.j();
    return result;
}

Alignment align(std::span<const gmTargetPoint> targets, const AlignmentOptions& options) {
    std::vector<ERPoint3D> centres;
    std::vector<NominalPlace> places;
    for (const gmTargetPoint& target : targets) {
        ERVector3D normal;
        target.get_surface_normal(normal);
        const double radius = target.measured_point().diameter / 2;
        centres.push_back(target.measured_point().point);
        places.push_back({target.target_point() + radius * normal, normal});
    }
    return align(
        centres, [&places](std::size_t number, const ERPoint3D&) { return places[number]; },
        options);
}

} // namespace velm
