#include "inspect/inspection/fit.h"

#include "inspect/base/number_text.h"
#include "inspect/input/file_date.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_writer.h"
#include "inspect/report/fit_outputs.h"
#include "velm/inspection/kept_fit.h"
#include "velm/measure/orthogonal_fit.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace velm::inspect {
namespace {

void refuse_unless_fitted(FitOutcome outcome, const FitOptions& options, std::size_t count) {
    if (outcome == FitOutcome::fitted) return;
    const std::string what = "no " + std::string(kind_name(options.kind));
    std::string why = outcome_text(outcome);
    if (outcome == FitOutcome::too_few_points)
        why += ": " + std::to_string(count) + " of at least " +
               (options.kind == FitKind::line ? "2" : "3");
    throw Failure(FailureKind::input, options.points + ": " + what + " can be fitted: " + why);
}

ERVector3D raised(const ERVector2D& v) { return {v.i(), v.j(), 0.0}; }
ERPoint3D raised(const ERPoint2D& p) { return {p.x(), p.y(), 0.0}; }

std::vector<ERPoint2D> flattened(const std::vector<ERPoint3D>& points) {
    std::vector<ERPoint2D> result;
    result.reserve(points.size());
    for (const ERPoint3D& p : points)
        result.emplace_back(p.x(), p.y());
    return result;
}

// The sense in which the largest component is positive.
double main_sense(const ERVector3D& v) {
    return v[static_cast<int>(v.axeOptimum())] < 0.0 ? -1.0 : 1.0;
}

// Half the ball's diameter with the sign of the side that grows a circle: towards the material in
// a bore. 0 without a ball.
double ball_shift(const FitHead& head) {
    if (!head.ball) return 0.0;
    const double radius = head.ball->diameter / 2.0;
    return head.ball->side == BallSide::inside    ? radius
           : head.ball->side == BallSide::outside ? -radius
                                                  : 0.0;
}

template <class Fit>
void take_circle(FittedEntity& entity, const Fit& fit) {
    entity.radius = fit.radius;
    entity.steps = fit.iteration.steps;
    entity.last_step = fit.iteration.last_step;
}

void fit_plane_to(FitResult& result, const FitOptions& options, const FitPoints& points) {
    if (!points.in_space)
        throw Failure(FailureKind::input, options.points + ": a plane needs points with a z");
    const PlaneFit fit = fit_plane(points.places);
    refuse_unless_fitted(fit.outcome, options, points.places.size());
    for (const ERPoint3D& p : points.places)
        result.residuals.push_back(fit.residual(p));
    result.head.entity.axis = fit.normal;
    result.head.entity.point = fit.centroid + fit.normal * ball_shift(result.head);
}

void fit_line_to(FitResult& result, const FitOptions& options, const FitPoints& points) {
    FittedEntity& entity = result.head.entity;
    if (points.in_space) {
        const LineFit3D fit = fit_line(points.places);
        refuse_unless_fitted(fit.outcome, options, points.places.size());
        for (const ERPoint3D& p : points.places)
            result.residuals.push_back(fit.residual(p));
        entity.axis = fit.direction;
        entity.point = fit.centroid;
        return;
    }
    const LineFit2D fit = fit_line(flattened(points.places));
    refuse_unless_fitted(fit.outcome, options, points.places.size());
    const ERVector2D right(fit.direction.j(), -fit.direction.i());
    const ERVector2D normal = right * main_sense(raised(right));
    for (const ERPoint3D& p : points.places)
        result.residuals.push_back(ERVector2D(fit.centroid, ERPoint2D(p.x(), p.y())) * normal);
    entity.axis = raised(fit.direction);
    entity.point = raised(fit.centroid + normal * ball_shift(result.head));
}

void fit_circle_to(FitResult& result, const FitOptions& options, const FitPoints& points) {
    const std::size_t count = points.places.size();
    FittedEntity& entity = result.head.entity;
    if (points.in_space) {
        const CircleFit3D fit = fit_circle(points.places);
        refuse_unless_fitted(fit.outcome, options, count);
        for (const ERPoint3D& p : points.places)
            result.residuals.push_back(fit.residual(p));
        entity.axis = fit.normal;
        entity.point = fit.centre;
        take_circle(entity, fit);
        entity.flatness_rms = fit.plane_rms;
    } else {
        const std::vector<ERPoint2D> flat = flattened(points.places);
        const CircleFit2D fit = fit_circle(flat);
        refuse_unless_fitted(fit.outcome, options, count);
        for (const ERPoint2D& p : flat)
            result.residuals.push_back(fit.residual(p));
        entity.axis = ERVector3D(Coord3D_Z);
        entity.point = raised(fit.centre);
        take_circle(entity, fit);
    }
    entity.radius += ball_shift(result.head);
    if (!(entity.radius > 0.0))
        throw Failure(FailureKind::input, options.points + ": the ball of " +
                                              shortest(ball_of(options, points)) +
                                              " is as large as the circle of its centres");
}

Summary summary_of(const FitResult& result, const FitOptions& options, const FitPoints& points) {
    Summary summary;
    for (std::size_t n = 0; n < result.residuals.size(); ++n) {
        if (!(std::fabs(result.residuals[n]) <= largest_deviation))
            throw Failure(FailureKind::input, options.points + ", id '" + points.ids[n] +
                                                  "': the point is too far away to be compared");
        summary.add(result.row(points, n));
    }
    return summary;
}

// A nominal place lies on the nominal axis: its distance from the fitted one counts.
double distance_from_axis(const FittedEntity& entity, const ERPoint3D& place) {
    const ERVector3D way(place, entity.point);
    if (!entity.in_space) return std::hypot(way.i(), way.j());
    return (way - entity.axis * (way * entity.axis)).norme();
}

void judge_characteristics(FitHead& head, const FitOptions& options, const Summary& summary) {
    const double slack = head.slack(head.largest_coordinate);
    const auto judge = [&](auto& characteristic, const Characteristic& found) {
        static_cast<Characteristic&>(characteristic.emplace()) = found;
        characteristic->judge(slack);
    };
    if (options.form_tolerance)
        judge(head.form, {std::string(form_name(options.kind)),
                          head.peak_to_valley(summary),
                          {},
                          {},
                          {0.0, *options.form_tolerance}});
    if (options.size) {
        const NominalSize& size = *options.size;
        judge(head.size, {"diameter",
                          2.0 * head.entity.radius,
                          size.nominal,
                          {},
                          {size.nominal + size.limits.lower, size.nominal + size.limits.upper}});
    }
    if (options.place)
        judge(head.position, {"position",
                              2.0 * distance_from_axis(head.entity, options.place->point),
                              {},
                              options.place->point,
                              {0.0, options.position.value_or(0.0)}});
}

} // namespace

double ball_of(const FitOptions& options, const FitPoints& points) {
    return points.diameter.value_or(options.diameter.value_or(0.0));
}

BallFault ball_fault(const FitOptions& options, const FitPoints& points) {
    if (options.side == BallSide::unknown)
        return options.kind == FitKind::circle && ball_of(options, points) > 0.0
                   ? BallFault::no_side
                   : BallFault::none;
    if (!points.diameter && !options.diameter) return BallFault::no_ball;
    return options.kind == FitKind::line && points.in_space ? BallFault::side_of_line
                                                            : BallFault::none;
}

FitResult fit_points(const FitOptions& options, const FitPoints& points) {
    FitResult result;
    FitHead& head = result.head;
    static_cast<InspectionHead&>(head) = points.head;
    head.has_row_limits = head.has_features = head.has_parts = false;
    head.info = options.info;
    fill_in_date(head.info, options.points);
    head.measured = options.points;
    head.entity.kind = options.kind;
    head.entity.in_space = points.in_space;
    head.tolerance = options.band;
    head.decimals = options.decimals;
    for (const ERPoint3D& p : points.places)
        head.largest_coordinate = std::max(
            {head.largest_coordinate, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    if (const double ball = ball_of(options, points); ball > 0.0)
        head.ball = Ball{ball, options.side};
    if (options.kind == FitKind::plane) fit_plane_to(result, options, points);
    if (options.kind == FitKind::line) fit_line_to(result, options, points);
    if (options.kind == FitKind::circle) fit_circle_to(result, options, points);
    judge_characteristics(head, options, summary_of(result, options, points));
    return result;
}

bool inspect_fit(const FitOptions& options, const FitPoints& points) {
    const FitResult result = fit_points(options, points);
    FitOutputs outputs(result.head, options.paths);
    std::optional<RecordFileWriter<FitRecordWriter>> store;
    if (options.paths.store)
        store.emplace(outputs.set(), *options.paths.store, options.paths.sync, result.head);
    std::optional<ArchiveFileWriter<FitArchiveWriter>> archive;
    if (options.paths.archive) archive.emplace(outputs.set(), *options.paths.archive, result.head);
    for (std::size_t n = 0; n < points.ids.size(); ++n) {
        const FitRow row = result.row(points, n);
        outputs.add(row);
        if (store) store->add(row);
        if (archive) archive->add(row);
    }
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    outputs.finish();
    return outputs.is_in_tolerance();
}

} // namespace velm::inspect
