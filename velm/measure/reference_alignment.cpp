#include "velm/measure/reference_alignment.h"

#include "velm/measure/detail/freedoms.h"
#include "velm/numerics/matrix.h"
#include "velm/numerics/quaternion.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformed_values.h"

#include <algorithm>
#include <cmath>

namespace velm {
namespace {

using detail::Freedoms;
using detail::Step;

// Of the points' extent, as promised.
constexpr double contradiction = 1e-9;
constexpr double last_step = 1e-14; // a few roundings of a turn
constexpr int most_steps = 60;
// Six freedoms of a narrow base are worse determined than those of many points.
constexpr double least_determined = 1e-8;

class References {
public:
    explicit References(std::span<const ReferencePoint> references) : references_(references) {
        for (const ReferencePoint& reference : references)
            points_.push_back(reference.measured);
        for (const ERPoint3D& p : points_)
            centroid_ += p * (1.0 / static_cast<double>(points_.size()));
        for (const ERPoint3D& p : points_)
            extent_ = std::max(extent_, ERVector3D(centroid_, p).norme());
        if (!(extent_ > 0.0)) extent_ = 1.0;
    }

    ReferenceAlignment run() {
        start();
        Step step;
        for (found_.iterations = 0; found_.iterations < most_steps; ++found_.iterations) {
            Freedoms freedoms = linear_problem();
            if (!freedoms.all_determined()) {
                found_.held = freedoms.held(middle_);
                found_.fault = ReferenceFault::undetermined;
                return found_;
            }
            const double before = step.size;
            step = freedoms.solve();
            found_.last_step = step.size;
            take(step);
            // Roundings stop the steps from getting shorter.
            const bool is_settled =
                found_.iterations > 3 && step.size >= 0.5 * before && step.size <= 1e-12;
            if (step.size <= last_step || is_settled) {
                found_.converged = true;
                break;
            }
        }
        return finish();
    }

private:
    // All points with their nominal ones, as far as these determine the motion.
    void start() {
        const NominalOf place = [this](std::size_t number, const ERPoint3D&) {
            const ReferencePoint& reference = references_[number];
            return NominalPlace{reference.nominal + reference.radius * reference.normal,
                                ERVector3D()};
        };
        const Alignment nearly = align(points_, place);
        ERMatrix<double> matrix(3, 3);
        for (int column = 0; column < 3; ++column) {
            const ERVector3D image = nearly.motion >> ERVector3D(static_cast<Coord3D>(column));
            for (int row = 0; row < 3; ++row)
                matrix(row, column) = image[row];
        }
        middle_ = nearly.apply(centroid_);
        turn_by(ERQuaternion(matrix));
    }

    double off(std::size_t n, const ERVector3D& direction) const {
        const ReferencePoint& reference = references_[n];
        const ERPoint3D touched = middle_ + arms_[n] - reference.radius * reference.normal;
        return direction * ERVector3D(reference.nominal, touched);
    }

    Freedoms linear_problem() const {
        Freedoms freedoms(extent_, {});
        for (std::size_t n = 0; n < references_.size(); ++n)
            for (const ERVector3D& direction : references_[n].held)
                freedoms.add(arms_[n], arms_[n], direction, off(n, direction));
        freedoms.analyse(least_determined);
        return freedoms;
    }

    void turn_by(const ERQuaternion& more) {
        turn_ = more * turn_;
        turn_ = turn_ * (1.0 / std::sqrt(turn_.Norm2()));
        arms_.clear();
        for (const ERPoint3D& p : points_)
            arms_.push_back(turn_ * ERVector3D(centroid_, p));
    }

    void take(const Step& step) {
        const double angle = step.turn.norme();
        if (angle > 0.0) turn_by(ERQuaternion(step.turn, angle));
        middle_ += step.shift;
    }

    ReferenceAlignment finish() {
        std::size_t count = 0;
        for (std::size_t n = 0; n < references_.size(); ++n)
            for (const ERVector3D& direction : references_[n].held) {
                ++count;
                const double here = off(n, direction);
                found_.squares_after += here * here;
                if (std::fabs(here) <= found_.largest_off) continue;
                found_.largest_off = std::fabs(here);
                found_.worst = n;
            }
        if (!found_.converged)
            found_.fault = ReferenceFault::unconverged;
        else if (found_.largest_off > contradiction * extent_)
            found_.fault = count > 6 ? ReferenceFault::contradictory : ReferenceFault::unconverged;
        const ERVector3D back = turn_ * centroid_.asVector3D();
        found_.motion = ERTranslation3D(middle_.asVector3D() - back) * ERRotation3D(turn_);
        return found_;
    }

    std::span<const ReferencePoint> references_;
    std::vector<ERPoint3D> points_;
    std::vector<ERVector3D> arms_; // of the moved points about the moved centroid
    ERPoint3D centroid_, middle_;  // the middle is the moved centroid
    ERQuaternion turn_;
    double extent_ = 0.0;
    ReferenceAlignment found_;
};

} // namespace

ReferenceAlignment align_references(std::span<const ReferencePoint> references) {
    return References(references).run();
}

} // namespace velm
