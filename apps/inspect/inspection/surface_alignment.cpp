#include "inspect/inspection/surface_alignment.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/reference_table.h"
#include "velm/measure/reference_alignment.h"
#include "velm/transforms/transformation_factories.h"
#include "velm/transforms/transformed_values.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velm::inspect {
namespace {

// Points of the stages before all of them are used.
constexpr std::size_t few_points = 400, many_points = 20'000;
// Rounds in which the points that count are chosen again.
constexpr int most_rounds = 30;
// What is kept at first, in medians of the distances: nearly all of a normal distribution.
constexpr double kept_medians = 3.0;
// An end with deviations below this part of the part's size needs no other start.
constexpr double good_part = 1e-4;

// Some of the points, spread over all of them.
std::vector<std::size_t> spread_of(std::size_t count, std::size_t most) {
    std::vector<std::size_t> numbers(std::min(count, most));
    for (std::size_t n = 0; n < numbers.size(); ++n)
        numbers[n] = n * count / numbers.size();
    return numbers;
}

// What a fit came to.
struct Fit {
    ERPmIsometrie3D motion;
    Alignment last;      // the step of it that was taken last
    double median = 0.0; // of the deviations, without signs
};

class SurfaceFit {
public:
    SurfaceFit(const HeldPoints& points, const PartComparison& comparison,
               const BestFitOptions& options)
        : points_(points), comparison_(comparison), options_(options) {
        holds_ = std::find(options.held.begin(), options.held.end(), true) != options.held.end();
        for (std::size_t n = 0; n < points.size(); ++n)
            centroid_ += points.measured(n) * (1.0 / static_cast<double>(points.size()));
    }

    AppliedAlignment run() {
        Fit best = best_of_starts();
        if (points_.size() > few_points) best = refined(best, many_points, false);
        if (points_.size() > many_points) best = refined(best, points_.size(), false);
        if (!best.last.converged)
            throw Failure(FailureKind::input,
                          options_.name +
                              ": the alignment doesn't converge: the points still "
                              "move by " +
                              shortest(best.last.last_step) + " of their extent after " +
                              std::to_string(best.last.iterations) + " iterations");
        Alignment whole = best.last;
        whole.motion = best.motion;
        whole.iterations = iterations_;
        return applied(whole, AlignmentOptions());
    }

private:
    // The place of a point that has been moved, for the fit: without a limit of the distance, and
    // with the nearest one where none has its direction.
    struct Found {
        NominalPlace place;
        double deviation = 0.0;
        bool has_place = false;
    };
    Found found(std::size_t number, const ERPoint3D& p, const ERPmIsometrie3D& motion,
                std::optional<PartFoot>& hint) const {
        std::optional<ERVector3D> direction = points_.direction(number);
        if (direction) direction = motion >> *direction;
        const double radius = points_.diameter(number) / 2.0;
        PartFoot foot = comparison_.foot_of(p, radius, direction, hint);
        Found found;
        found.has_place = foot.face >= 0;
        if (!found.has_place) foot = comparison_.foot_of(p, radius, std::nullopt, hint);
        hint = foot;
        // On an edge the distance grows along the way from the foot, elsewhere along the normal.
        ERVector3D normal = foot.outward;
        if (foot.kind != SurfaceFootKind::interior && foot.signed_distance != 0.0)
            normal = ERVector3D(foot.point, p) * (1.0 / foot.signed_distance);
        found.place = {foot.point + radius * normal, normal};
        found.deviation = foot.signed_distance - radius;
        return found;
    }

    // Calls take(index of numbers, found) for all; take is called by several threads.
    template <class Take>
    void each_found(std::span<const std::size_t> numbers, std::span<const ERPoint3D> places,
                    const ERPmIsometrie3D& motion, Take take) const {
        share_work(numbers.size(), PartComparison::block, comparison_.threads(),
                   [&](std::size_t from, std::size_t to) {
                       std::optional<PartFoot> hint;
                       for (std::size_t n = from; n < to; ++n)
                           take(n, found(numbers[n], places[n], motion, hint));
                   });
    }

    std::vector<ERPoint3D> moved(std::span<const std::size_t> numbers,
                                 const ERPmIsometrie3D& motion) const {
        std::vector<ERPoint3D> places;
        places.reserve(numbers.size());
        for (const std::size_t number : numbers)
            places.push_back(motion >> points_.measured(number));
        return places;
    }

    // Those that count after a motion, and the median of all deviations.
    std::vector<std::size_t> chosen(std::span<const std::size_t> numbers, Fit& fit) const {
        std::vector<double> deviations(numbers.size());
        std::vector<char> has_place(numbers.size());
        each_found(numbers, moved(numbers, fit.motion), fit.motion,
                   [&](std::size_t n, const Found& one) {
                       deviations[n] = std::fabs(one.deviation);
                       has_place[n] = one.has_place ? 1 : 0;
                   });
        std::vector<double> sorted;
        for (std::size_t n = 0; n < numbers.size(); ++n)
            if (has_place[n] != 0) sorted.push_back(deviations[n]);
        if (sorted.empty())
            throw Failure(FailureKind::input,
                          options_.name + ": no point has a place on the part to align it by");
        const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        fit.median = *middle;
        const double most = options_.max_distance
                                ? std::max(*options_.max_distance, kept_medians * fit.median)
                                : HUGE_VAL;
        std::vector<std::size_t> kept;
        for (std::size_t n = 0; n < numbers.size(); ++n)
            if (has_place[n] != 0 && deviations[n] <= most) kept.push_back(numbers[n]);
        return kept;
    }

    Fit refined(Fit fit, std::size_t most, bool by_orientation) {
        const std::vector<std::size_t> numbers = spread_of(points_.size(), most);
        std::vector<std::size_t> before;
        for (int round = 0; round < most_rounds; ++round) {
            const std::vector<std::size_t> kept = chosen(numbers, fit);
            if (kept == before && fit.last.converged) break;
            AlignmentOptions options;
            options.held = options_.held;
            options.starts_by_orientation = by_orientation && round == 0;
            if (holds_) options.pivot = fit.motion >> centroid_;
            const NominalsOf nominals = [&](std::size_t first, std::span<const ERPoint3D> points,
                                            std::span<NominalPlace> places) {
                each_found(std::span(kept).subspan(first, points.size()), points, fit.motion,
                           [&](std::size_t n, const Found& one) { places[n] = one.place; });
            };
            fit.last = align(moved(kept, fit.motion), nominals, options);
            fit.motion = fit.last.motion * fit.motion;
            iterations_ += fit.last.iterations;
            before = kept;
        }
        return fit;
    }

    Fit best_of_starts() {
        Fit best;
        bool is_first = true;
        for (const ERPmIsometrie3D& start : starts()) {
            Fit fit;
            fit.motion = start;
            fit = refined(fit, few_points, is_first);
            chosen(spread_of(points_.size(), few_points), fit);
            if (is_first || fit.median < best.median) best = fit;
            is_first = false;
            if (best.median <= good_part * comparison_.part().size()) break;
        }
        return best;
    }

    // As measured; with the middles of the boxes together; turned there about each axis. Held
    // freedoms stay as they are.
    std::vector<ERPmIsometrie3D> starts() const {
        std::vector<ERPmIsometrie3D> starts{ERTranslation3D(ERVector3D())};
        ERMinimax3D box;
        for (const std::size_t number : spread_of(points_.size(), many_points))
            box.Update(points_.measured(number));
        ERVector3D shift(box.center_point(), comparison_.part().box().center_point());
        for (int axis = 0; axis < 3; ++axis)
            if (options_.held[static_cast<std::size_t>(axis)]) shift[axis] = 0.0;
        starts.push_back(ERTranslation3D(shift));
        const ERPoint3D pivot = box.center_point() + shift;
        for (const double degrees : {12.0, 30.0})
            for (int axis = 0; axis < 3; ++axis)
                for (const double sign : {1.0, -1.0})
                    if (!options_.held[static_cast<std::size_t>(3 + axis)])
                        starts.push_back(
                            ERRotation3D(ERVector3D(static_cast<Coord3D>(axis)), pivot,
                                         ERRadian(sign * degrees * std::numbers::pi / 180.0)) *
                            ERTranslation3D(shift));
        return starts;
    }

    const HeldPoints& points_;
    const PartComparison& comparison_;
    const BestFitOptions& options_;
    ERPoint3D centroid_;
    bool holds_ = false;
    int iterations_ = 0;
};

} // namespace

AppliedAlignment fit_to_surfaces(const HeldPoints& points, const PartComparison& comparison,
                                 const BestFitOptions& options) {
    return SurfaceFit(points, comparison, options).run();
}

namespace {

// The point of a face that is nearest to a nominal point, and the normal there.
void put_on_face(ReferencePoint& reference, const ReferenceRow& row,
                 const PartComparison& comparison, const SurfaceHead& head,
                 const std::string& table) {
    const auto at = std::find_if(head.faces.begin(), head.faces.end(),
                                 [&](const InspectedFace& face) { return face.path == row.face; });
    if (at == head.faces.end())
        throw Failure(FailureKind::input, table + ", line " + std::to_string(row.line) +
                                              ": there is no face '" + clipped(row.face, 60) + "'");
    const int face = static_cast<int>(at - head.faces.begin());
    const auto projector = FaceProjector::on(comparison.part().face(face));
    const FaceFoot foot = projector->nearest(row.nominal);
    reference.nominal = foot.point;
    reference.normal = foot.normal * static_cast<double>(comparison.part().outward(face));
}

ReferencePoint reference_of(const ReferenceRow& row, std::size_t number, const HeldPoints& points) {
    ReferencePoint reference;
    reference.measured = points.measured(number);
    reference.radius = points.diameter(number) / 2.0;
    reference.nominal = row.nominal;
    if (row.direction) reference.normal = *row.direction;
    return reference;
}

std::string holds_text(const ReferenceRow& row) {
    std::string text = row.holds_normal ? "its direction" : "";
    for (int axis = 0; axis < 3; ++axis)
        if (row.holds_axis[axis])
            text += (text.empty() ? "" : ", ") + std::string(1, static_cast<char>('x' + axis));
    return row.id + " holds " + text;
}

[[noreturn]] void refuse(const ReferenceAlignment& found, const std::vector<ReferenceRow>& rows,
                         const std::string& table) {
    std::string why;
    switch (found.fault) {
    case ReferenceFault::undetermined:
        why = "the reference points leave open: ";
        for (const HeldFreedom& freedom : found.held)
            why += (why.ends_with(": ") ? "" : "; ") + freedom.name();
        break;
    case ReferenceFault::contradictory:
        why = "the reference points hold more than the six freedoms of a motion and contradict "
              "each other: '" +
              clipped(rows[found.worst].id, 40) + "' would be " + shortest(found.largest_off) +
              " off";
        break;
    default:
        why = "no motion brings the measured points onto the reference points";
    }
    throw Failure(FailureKind::input, table + ": " + why);
}

} // namespace

AppliedAlignment fit_to_references(const HeldPoints& points, const PartComparison& comparison,
                                   const SurfaceHead& head, const std::string& table,
                                   const std::string& name) {
    const std::vector<ReferenceRow> rows = read_references(table);
    std::unordered_map<std::string, std::size_t> numbers; // of the points that are needed
    for (const ReferenceRow& row : rows)
        if (!numbers.try_emplace(row.id, points.size()).second)
            throw Failure(FailureKind::input, table + ", line " + std::to_string(row.line) +
                                                  ": the id '" + clipped(row.id, 40) +
                                                  "' came before");
    for (std::size_t n = 0; n < points.size(); ++n)
        if (const auto found = numbers.find(points.id(n)); found != numbers.end()) {
            if (found->second != points.size())
                throw Failure(FailureKind::input, name + ": the reference point '" +
                                                      clipped(found->first, 40) + "' comes twice");
            found->second = n;
        }
    std::vector<ReferencePoint> references;
    for (const ReferenceRow& row : rows) {
        const std::size_t number = numbers[row.id];
        if (number == points.size())
            throw Failure(FailureKind::input, name + ": has no point '" + clipped(row.id, 40) +
                                                  "', which " + table + " refers to");
        ReferencePoint& reference = references.emplace_back(reference_of(row, number, points));
        if (!row.direction && !row.face.empty())
            put_on_face(reference, row, comparison, head, table);
        if (row.holds_normal) reference.held.push_back(reference.normal);
        for (int axis = 0; axis < 3; ++axis)
            if (row.holds_axis[axis]) reference.held.emplace_back(static_cast<Coord3D>(axis));
    }
    const ReferenceAlignment found = align_references(references);
    if (found.fault != ReferenceFault::none) refuse(found, rows, table);
    AlignmentOptions options;
    options.threshold = 1e-12; // the promise of align_references
    AppliedAlignment result = applied(found, options);
    result.method = AlignmentMethod::references;
    for (const ReferenceRow& row : rows)
        result.held.push_back(holds_text(row));
    return result;
}

} // namespace velm::inspect
