#include "inspect/base/number_text.h"
#include "inspect/command/commands.h"
#include "inspect/input/fit_points.h"
#include "inspect/inspection/fit.h"

#include <memory>

namespace velm::inspect {
namespace {

constexpr const char* fit_examples =
    "Examples:\n"
    "  velm-inspect fit plane table.xyz\n"
    "      the plane of some points, the distance of each from it, and the flatness\n"
    "  velm-inspect fit line edge.csv --tolerance 0.02\n"
    "      straightness, at most 0.02 from the least residual to the greatest\n"
    "  velm-inspect fit plane table.xyz --band -0.01 0.02\n"
    "      each residual within -0.01 and 0.02\n"
    "  velm-inspect fit circle bore.csv --diameter 5 --inside --size 30 0 0.02 \\\n"
    "               --at 12,40 --position 0.1\n"
    "      a bore of 30, up to 0.02 larger, whose axis is within 0.05 of (12, 40)\n"
    "  velm-inspect fit circle bore.csv --diameter 5 --inside --svg roundness.svg\n"
    "      a bore probed with a ball of 5, and its polar picture\n"
    "  velm-inspect fit circle bore.csv --diameter 5 --inside --tolerance 0.01 --store parts.velm\n"
    "      added to an object file, created if missing\n"
    "  velm-inspect fit circle shaft.csv --diameter 5 --outside --json - | jq .entity.radius\n"
    "      the radius of a shaft\n";

constexpr const char* fit_files =
    "POINTS: CSV with a header that names id, x, y and optionally z, diameter, as for section,\n"
    "or bare lines of two or three numbers; - is standard input. Every fit makes the sum of\n"
    "squared true distances least. In space a circle lies in the plane of its points.\n"
    "A residual is positive on the side of the normal, outside of the circle; a line in space\n"
    "has distances without a sign. The normal of a plane, and of a line in the plane, is the\n"
    "one whose largest component is positive. With a ball the points are its centres:\n"
    "  --inside   the radius of the ball is added to that of the circle; a plane or line is\n"
    "             moved along its normal by that much\n"
    "  --outside  the radius is subtracted; a plane or line is moved against its normal\n"
    "Flatness, straightness and roundness are the greatest residual less the least; for a\n"
    "line in space twice the greatest distance. --tolerance bounds that form, --band each\n"
    "residual; exit code 1 says that one of the limits is exceeded. The position is\n"
    "twice the distance of the axis from its place, regardless of its depth.\n"
    "Limits are included; they are widened by four units in the last place of the coordinates.\n";

const Choice<FitKind> kind_choices[] = {{kind_name(FitKind::plane), FitKind::plane, nullptr},
                                        {kind_name(FitKind::line), FitKind::line, nullptr},
                                        {kind_name(FitKind::circle), FitKind::circle, nullptr}};

[[noreturn]] void refuse_ball(const std::string& why) { throw Failure(FailureKind::usage, why); }

void require_ball(const FitOptions& options, const FitPoints& points) {
    const std::string side = options.side == BallSide::inside ? "--inside" : "--outside";
    switch (ball_fault(options, points)) {
    case BallFault::none:
        return;
    case BallFault::no_ball:
        refuse_ball(side + ": there is no ball; give its --diameter");
    case BallFault::side_of_line:
        refuse_ball(side + ": a line in space has no side");
    case BallFault::no_side:
        refuse_ball("the points are centres of a ball of " + shortest(ball_of(options, points)) +
                    ": give --inside for a bore, --outside for a shaft");
    }
}

ExitCode fit(const FitOptions& options) {
    TextSource source(options.points);
    const FitPoints points = read_fit_points(source, options.table);
    require_ball(options, points);
    if (options.place && options.place->in_space != points.in_space)
        refuse_ball(points.in_space ? "--at: the points are in space; expected X,Y,Z"
                                    : "--at: the points are in the plane; expected X,Y");
    return end_of({inspect_fit(options, points), {points.notes.begin(), points.notes.end()}});
}

} // namespace

void add_fit_command(Program& program) {
    CommandLine line(program, "fit", "A plane, line or circle through measured points",
                     fit_examples, fit_files);
    const auto options = std::make_shared<FitOptions>();
    const auto inside = std::make_shared<bool>(false), outside = std::make_shared<bool>(false);
    OutputPaths& paths = options->paths;
    line.choice<FitKind>("KIND", "", "plane, line or circle", kind_choices, options->kind)
        ->required();
    line.input("POINTS", "The measured points", options->points);
    line.option(form_tolerance_option, options->form_tolerance);
    line.option(band_option, options->band);
    line.option(size_option, options->size);
    line.option(place_option, options->place);
    line.option(position_option, options->position);
    line.check([options] {
        if (options->position.has_value() != options->place.has_value())
            refuse_ball("--at X,Y[,Z] and --position T go together");
        if ((options->size || options->place) && options->kind != FitKind::circle)
            refuse_ball("--size and --at are of a circle");
    });
    line.option(info_option, options->info);
    line.option(unit_option, options->table.millimetres);
    line.option(columns_option, options->table.columns);
    line.option(decimals_option, options->decimals);
    line.option(diameter_option, options->diameter);
    line.flag(inside_flag, *inside);
    line.flag(outside_flag, *outside);
    line.outputs(drawn_outputs, paths);
    line.sync(paths);
    line.flag(quiet_flag, paths.quiet, "No table, no summary");
    line.check([options, inside, outside] {
        if (*inside && *outside) refuse_ball("--inside and --outside exclude each other");
        options->side = *inside    ? BallSide::inside
                        : *outside ? BallSide::outside
                                   : BallSide::unknown;
    });
    line.run([options] { return fit(*options); }, [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
