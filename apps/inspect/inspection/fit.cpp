#include "inspect/inspection/fit.h"

#include "inspect/base/number_text.h"
#include "inspect/input/file_date.h"
#include "inspect/report/fit_outputs.h"
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
    throw Failure(ExitCode::input, options.points + ": " + what + " can be fitted: " + why);
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

// Axes in the plane perpendicular to n: u as near as possible to the x axis, or to the y axis.
void axes_across(const ERVector3D& n, ERVector3D& u, ERVector3D& v) {
    const ERVector3D near(std::fabs(n.i()) < 0.9 ? Coord3D_X : Coord3D_Y);
    u = (near - n * (near * n)).getnormalized();
    v = n ^ u;
}

// Half the ball's diameter with the sign of the side that grows a circle: towards the material in
// a bore. 0 without a ball.
double ball_shift(const FitResult& result) {
    return result.side == BallSide::inside    ? result.ball / 2.0
           : result.side == BallSide::outside ? -result.ball / 2.0
                                              : 0.0;
}

// The result of a fit in a plane of space: residuals, and the places in that plane about `middle`.
template <class Fit>
void take_plane(FitResult& result, const Fit& fit, const ERPoint3D& middle,
                const FitPoints& points) {
    ERVector3D u, v;
    axes_across(fit.normal, u, v);
    for (const ERPoint3D& p : points.places) {
        const ERVector3D way(middle, p);
        result.residuals.push_back(fit.residual(p));
        result.places.emplace_back(way * u, way * v);
    }
    result.axis = fit.normal;
    result.point = middle;
}

template <class Fit>
void take_circle(FitResult& result, const Fit& fit) {
    result.radius = fit.radius;
    result.steps = fit.iteration.steps;
    result.last_step = fit.iteration.last_step;
}

void fit_plane_to(FitResult& result, const FitOptions& options, const FitPoints& points) {
    if (!points.in_space)
        throw Failure(ExitCode::input, options.points + ": a plane needs points with a z");
    const PlaneFit fit = fit_plane(points.places);
    refuse_unless_fitted(fit.outcome, options, points.places.size());
    take_plane(result, fit, fit.centroid, points);
    result.point = fit.centroid + fit.normal * ball_shift(result);
}

void fit_line_to(FitResult& result, const FitOptions& options, const FitPoints& points) {
    if (points.in_space) {
        const LineFit3D fit = fit_line(points.places);
        refuse_unless_fitted(fit.outcome, options, points.places.size());
        for (const ERPoint3D& p : points.places) {
            result.residuals.push_back(fit.residual(p));
            result.places.emplace_back(ERVector3D(fit.centroid, p) * fit.direction, 0.0);
        }
        result.axis = fit.direction;
        result.point = fit.centroid;
        return;
    }
    const LineFit2D fit = fit_line(flattened(points.places));
    refuse_unless_fitted(fit.outcome, options, points.places.size());
    const ERVector2D right(fit.direction.j(), -fit.direction.i());
    const ERVector2D normal = right * main_sense(raised(right));
    for (const ERPoint3D& p : points.places) {
        const ERVector2D way(fit.centroid, ERPoint2D(p.x(), p.y()));
        result.residuals.push_back(way * normal);
        result.places.emplace_back(way * fit.direction, 0.0);
    }
    result.axis = raised(fit.direction);
    result.point = raised(fit.centroid + normal * ball_shift(result));
}

void fit_circle_to(FitResult& result, const FitOptions& options, const FitPoints& points) {
    const std::size_t count = points.places.size();
    if (points.in_space) {
        const CircleFit3D fit = fit_circle(points.places);
        refuse_unless_fitted(fit.outcome, options, count);
        take_plane(result, fit, fit.centre, points);
        take_circle(result, fit);
        result.flatness_rms = fit.plane_rms;
    } else {
        const std::vector<ERPoint2D> flat = flattened(points.places);
        const CircleFit2D fit = fit_circle(flat);
        refuse_unless_fitted(fit.outcome, options, count);
        for (const ERPoint2D& p : flat) {
            result.residuals.push_back(fit.residual(p));
            result.places.emplace_back(ERVector2D(fit.centre, p));
        }
        result.axis = ERVector3D(Coord3D_Z);
        result.point = raised(fit.centre);
        take_circle(result, fit);
    }
    result.radius += ball_shift(result);
    if (!(result.radius > 0.0))
        throw Failure(ExitCode::input, options.points + ": the ball of " + shortest(result.ball) +
                                           " is as large as the circle of its centres");
}

void summarise(FitResult& result, const FitOptions& options, const FitPoints& points) {
    constexpr double largest = 1e150; // whose square is a double
    result.summary.tolerance = result.tolerance;
    for (std::size_t n = 0; n < result.residuals.size(); ++n) {
        if (!(std::fabs(result.residuals[n]) <= largest))
            throw Failure(ExitCode::input, options.points + ", id '" + points.ids[n] +
                                               "': the point is too far away to be compared");
        result.summary.add(result.row(points, n));
    }
    const RunningStatistics& deviations = result.summary.signed_deviations;
    result.peak_to_valley = result.kind == FitKind::line && result.in_space
                                ? 2.0 * deviations.maximum()
                                : deviations.maximum() - deviations.minimum();
}

// A nominal place lies on the nominal axis: its distance from the fitted one counts.
double distance_from_axis(const FitResult& result, const ERPoint3D& place) {
    const ERVector3D way(place, result.point);
    if (!result.in_space) return std::hypot(way.i(), way.j());
    return (way - result.axis * (way * result.axis)).norme();
}

void judge_characteristics(FitResult& result, const FitOptions& options) {
    const double slack = result.slack(result.largest_coordinate);
    if (options.form_tolerance) {
        result.form = {
            result.form_name(), result.peak_to_valley, {}, {}, {0.0, *options.form_tolerance}};
        result.form->judge(slack);
    }
    if (options.size) {
        const NominalSize& size = *options.size;
        result.size = {"diameter",
                       2.0 * result.radius,
                       size.nominal,
                       {},
                       {size.nominal + size.limits.lower, size.nominal + size.limits.upper}};
        result.size->judge(slack);
    }
    if (options.place) {
        result.position = {"position",
                           2.0 * distance_from_axis(result, options.place->point),
                           {},
                           options.place->point,
                           {0.0, options.position.value_or(0.0)}};
        result.position->judge(slack);
    }
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
    static_cast<InspectionHead&>(result) = points.head;
    result.has_row_limits = result.has_features = result.has_parts = false;
    result.info = options.info;
    fill_in_date(result.info, options.points);
    result.measured = options.points;
    result.kind = options.kind;
    result.in_space = points.in_space;
    result.tolerance = options.band;
    result.decimals = options.decimals;
    for (const ERPoint3D& p : points.places)
        result.largest_coordinate = std::max(
            {result.largest_coordinate, std::fabs(p.x()), std::fabs(p.y()), std::fabs(p.z())});
    result.ball = ball_of(options, points);
    result.side = options.side;
    if (options.kind == FitKind::plane) fit_plane_to(result, options, points);
    if (options.kind == FitKind::line) fit_line_to(result, options, points);
    if (options.kind == FitKind::circle) fit_circle_to(result, options, points);
    summarise(result, options, points);
    judge_characteristics(result, options);
    return result;
}

bool inspect_fit(const FitOptions& options, const FitPoints& points) {
    const FitResult result = fit_points(options, points);
    FitOutputs outputs(result, points, options.paths);
    for (std::size_t n = 0; n < points.ids.size(); ++n)
        outputs.add(result.row(points, n));
    outputs.finish();
    return result.is_in_tolerance();
}

} // namespace velm::inspect
