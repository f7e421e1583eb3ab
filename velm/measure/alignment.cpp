#include "velm/measure/alignment.h"

#include "velm/measure/detail/freedoms.h"
#include "velm/measure/target_point.h"
#include "velm/numerics/quaternion.h"
#include "velm/numerics/symmetric_eigen.h"
#include "velm/transforms/transformation_factories.h"

#include <algorithm>
#include <array>
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
constexpr std::size_t places_at_once = 16384;

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
    Aligner(std::span<const ERPoint3D> points, const NominalsOf& nominals, bool in_plane,
            const AlignmentOptions& options);

    void run();
    const AlignmentReport& report() const { return report_; }
    const ERQuaternion& turn() const { return best_.pose.turn; }
    // The shift of the motion if its turn is about the origin.
    ERVector3D shift() const {
        return centroid_.asVector3D() + best_.pose.shift - turn() * centroid_.asVector3D();
    }

private:
    template <class Visit>
    void each_place(const Pose& pose, Visit visit) const;
    State evaluate(const Pose& pose) const;
    std::optional<Pose> absolute_orientation() const;
    ERQuaternion best_turn(double s[3][3]) const;
    double rounding() const;
    bool improve(const Step& step, int halvings = most_halvings);
    bool settle(const Step& step);

    std::span<const ERPoint3D> points_;
    const NominalsOf& nominals_;
    const bool in_plane_;
    const AlignmentOptions& options_;
    const std::array<bool, 6> held_;
    ERPoint3D centroid_; // or the pivot
    double extent_ = 0.0;
    double largest_coordinate_ = 0.0;
    State best_{{}, 0.0, Freedoms(1.0, {})};
    AlignmentReport report_;
};

Aligner::Aligner(std::span<const ERPoint3D> points, const NominalsOf& nominals, bool in_plane,
                 const AlignmentOptions& options)
    : points_(points), nominals_(nominals), in_plane_(in_plane), options_(options),
      held_(in_plane ? Freedoms::in_plane : options.held) {
    const double count = std::max<double>(1.0, static_cast<double>(points.size()));
    for (const ERPoint3D& p : points)
        centroid_ += p * (1.0 / count);
    if (options.pivot) centroid_ = *options.pivot;
    for (const ERPoint3D& p : points)
        extent_ += ERVector3D(centroid_, p).norme2() / count;
    for (const ERPoint3D& p : points)
        largest_coordinate_ =
            std::max({largest_coordinate_, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    extent_ = extent_ > 0.0 ? std::sqrt(extent_) : 1.0;
}

// Calls visit(number, moved point, its arm, its place) for all points.
template <class Visit>
void Aligner::each_place(const Pose& pose, Visit visit) const {
    const ERPoint3D middle = centroid_ + pose.shift;
    std::vector<ERPoint3D> moved(std::min(points_.size(), places_at_once));
    std::vector<NominalPlace> places(moved.size());
    for (std::size_t first = 0; first < points_.size(); first += moved.size()) {
        const std::size_t count = std::min(moved.size(), points_.size() - first);
        for (std::size_t n = 0; n < count; ++n)
            moved[n] = middle + pose.turn * ERVector3D(centroid_, points_[first + n]);
        nominals_(first, {moved.data(), count}, {places.data(), count});
        for (std::size_t n = 0; n < count; ++n)
            visit(first + n, moved[n], places[n]);
    }
}

State Aligner::evaluate(const Pose& pose) const {
    State state{pose, 0.0, Freedoms(extent_, held_)};
    const ERPoint3D middle = centroid_ + pose.shift;
    each_place(pose, [&](std::size_t n, const ERPoint3D& p, const NominalPlace& place) {
        const ERVector3D arm = pose.turn * ERVector3D(centroid_, points_[n]);
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
    });
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
    std::vector<NominalPlace> found(points_.size());
    nominals_(0, points_, found);
    for (const NominalPlace& place : found) {
        places.push_back(place.centre);
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
    const bool holds = std::find(held_.begin(), held_.end(), true) != held_.end();
    if (options_.starts_by_orientation && !options_.pivot && (!holds || in_plane_) &&
        best_.freedoms.all_determined()) {
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
    const ERPoint3D middle = centroid_ + best_.pose.shift;
    report_.held = best_.freedoms.held(middle);
    for (std::size_t n = 0; n < 6 && !in_plane_; ++n) {
        if (!held_[n]) continue;
        const ERVector3D axis(static_cast<Coord3D>(n % 3));
        ERPoint3D through = middle;
        if (n >= 3) through -= (middle.asVector3D() * axis) * axis;
        report_.held.push_back(
            {n < 3 ? HeldFreedom::sliding : HeldFreedom::turning, axis, through, 0.0});
    }
}

} // namespace

namespace {

// One place after the other.
NominalsOf one_by_one(const NominalOf& nominal) {
    return [&nominal](std::size_t first, std::span<const ERPoint3D> points,
                      std::span<NominalPlace> places) {
        for (std::size_t n = 0; n < points.size(); ++n)
            places[n] = nominal(first + n, points[n]);
    };
}

} // namespace

Alignment align(std::span<const ERPoint3D> points, const NominalOf& nominal,
                const AlignmentOptions& options) {
    return align(points, one_by_one(nominal), options);
}

Alignment align(std::span<const ERPoint3D> points, const NominalsOf& nominals,
                const AlignmentOptions& options) {
    Aligner aligner(points, nominals, false, options);
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
    const NominalsOf nominals = one_by_one(in_plane);
    Aligner aligner(lifted, nominals, true, options);
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
    const NominalOf place = [&places](std::size_t number, const ERPoint3D&) {
        return places[number];
    };
    return align(centres, place, options);
}

} // namespace velm
