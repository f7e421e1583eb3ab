#include "inspect/command/fit_command.h"

#include <memory>

#include "inspect/inspection/fit.h"

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect fit plane table.xyz\n"
    "      the plane of some points, how far each lies from it, and the flatness\n"
    "  velm-inspect fit line edge.csv --tolerance 0.02\n"
    "      straightness, within -0.02 and 0.02\n"
    "  velm-inspect fit circle bore.csv --diameter 5 --inside --svg roundness.svg\n"
    "      a bore probed with a ball of 5, and its polar picture\n"
    "  velm-inspect fit circle shaft.csv --diameter 5 --outside --json - | jq .entity.radius\n"
    "      the radius of a shaft\n";

constexpr const char* points_text =
    "POINTS: CSV with a header that names id, x, y and optionally z, diameter, as for section,\n"
    "or bare lines of two or three numbers; - is standard input. Every fit makes the sum of\n"
    "squared true distances least. In space a circle lies in the plane of its points.\n"
    "A residual is positive on the side of the normal, outside of the circle; a line in space\n"
    "has distances without a sign. The normal of a plane, and of a line in the plane, is the\n"
    "one whose largest component is positive. With a ball the points are its centres:\n"
    "  --inside   the radius of the ball is added to that of the circle; a plane or line is\n"
    "             moved along its normal by as much\n"
    "  --outside  the radius is taken off; a plane or line is moved against its normal\n"
    "Flatness, straightness and roundness are the greatest residual less the least; for a\n"
    "line in space twice the greatest distance.\n\n";

// The texts of the command line, before they are understood.
struct Texts {
    FitOptions options;
    std::string kind, tolerance, diameter, json, csv, svg;
    bool inside = false, outside = false;
};

FitOptions understand(const CLI::App& fit, const Texts& texts) {
    FitOptions options = texts.options;
    options.kind = texts.kind == "plane"  ? FitKind::plane
                   : texts.kind == "line" ? FitKind::line
                                          : FitKind::circle;
    if (fit.count("--tolerance") > 0) options.tolerance = parse_tolerance(texts.tolerance);
    if (fit.count("--diameter") > 0) options.diameter = parse_length("--diameter", texts.diameter);
    if (texts.inside && texts.outside)
        throw Failure(ExitCode::usage, "--inside and --outside exclude each other");
    options.side = texts.inside    ? BallSide::inside
                   : texts.outside ? BallSide::outside
                                   : BallSide::unknown;
    OutputPaths outputs(fit);
    outputs.take("--json", texts.json, options.json);
    outputs.take("--csv", texts.csv, options.csv);
    outputs.take("--svg", texts.svg, options.svg);
    if (options.points.empty())
        throw Failure(ExitCode::usage, "POINTS: expected the name of a file");
    outputs.check({options.points}, !options.quiet);
    return options;
}

} // namespace

void add_fit_command(CLI::App& app, Command& command) {
    CLI::App* const fit =
        app.add_subcommand("fit", "A plane, line or circle through measured points");
    fit->formatter(std::make_shared<HelpText>(examples));
    fit->footer(points_text + exit_codes_text());

    const auto texts = std::make_shared<Texts>();
    fit->add_option("KIND", texts->kind, "plane, line or circle")
        ->required()
        ->type_name("")
        ->check(CLI::IsMember({"plane", "line", "circle"}).description(""));
    fit->add_option("POINTS", texts->options.points, "The measured points")
        ->required()
        ->type_name("");
    fit->add_option("--tolerance", texts->tolerance,
                    "The limits of the residual, both included;\none value T stands for -T T")
        ->type_name("LOWER UPPER | T");
    fit->add_option("--diameter", texts->diameter,
                    "Of the probe's ball, where the file has no column\nfor it")
        ->type_name("D");
    fit->add_flag("--inside", texts->inside, "The ball was in a bore");
    fit->add_flag("--outside", texts->outside, "The ball was outside of a shaft");
    fit->add_option("--json", texts->json, "Writes the report as JSON")->type_name("FILE");
    fit->add_option("--csv", texts->csv, "Writes the rows as CSV")->type_name("FILE");
    fit->add_option("--svg", texts->svg, "Draws the residuals")->type_name("FILE");
    fit->add_flag("--quiet", texts->options.quiet, "No table, no summary");
    fit->callback([fit, texts, &command] {
        command = [options = understand(*fit, *texts)] { return run_fit(options); };
    });
}

} // namespace velm::inspect
