#include "inspect/command/commands.h"
#include "inspect/inspection/section.h"
#include "velm/inspection/section_result.h"

#include <iterator>
#include <memory>
#include <string_view>
#include <vector>

namespace velm::inspect {
namespace {

constexpr const char* section_examples =
    "Examples:\n"
    "  velm-inspect section wing.dat probed.csv\n"
    "      the distance of each probed point from the outline, and a summary\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --diameter 2\n"
    "      within -0.05 and 0.05, centres of a ball of 2\n"
    "  velm-inspect section wing.dat probed.csv --tolerance -0.02 0.05 \\\n"
    "               --json report.json --csv report.csv --svg report.svg\n"
    "      a report for programs, one for a spreadsheet and a picture\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --html report.html\n"
    "      one page with picture, figures and table, to read, send and print\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --store parts.velm\n"
    "      added to an object file, created if missing\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --archive wing.arc\n"
    "      as a document that hosts read with their archives\n"
    "  velm-inspect section wing.dat probed.csv --frame 0 0 40  0 0 1  1 0 0 --max-height .1\n"
    "      probed in space, within 0.1 of the section's plane at a height of 40\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --align bestfit\n"
    "      moved onto the outline first, by a rotation and a shift\n"
    "  velm-inspect section wing.dat probed.csv --json - | jq .summary.worst\n"
    "      the report on standard output, instead of the table\n";

constexpr const char* section_files =
    "NOMINAL: one vertex per line, two numbers separated by blanks, tabs or commas; # starts a\n"
    "comment; a blank line separates contours. One in another is its hole, one in a hole an\n"
    "island, one outside of all others a separate part. Airfoil\n"
    "coordinate files are read in both forms, one run round the profile or an upper\n"
    "and a lower run after a line of two counts. Or lines and arcs, one of these per line:\n"
    "  M x y              starts a contour\n"
    "  L x y              continues along a straight line\n"
    "  A x y cx cy ccw    continues along an arc about (cx, cy), or cw for clockwise\n"
    "  N p k0 ... x y w ...  continues along a NURBS curve: degree, knots, weighted poles\n"
    "  Z                  closes the contour\n"
    "  C cx cy r          a circle\n"
    "Or loose pieces in any order and direction, x1 y1 x2 y2 per line, whose ends meet in pairs.\n"
    "Or a drawing (DXF): LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE, POLYLINE, SPLINE and blocks,\n"
    "linked by their ends; a unit in its header is converted to millimetres.\n"
    "MEASURED: a table with a header that names x, y and optionally id, z, i, j, k, diameter or\n"
    "radius, lower, upper, feature, part, in any order, in English, German or French, separated "
    "by\n"
    "comma, semicolon, tab or blanks; or one axis per row (feature, axis, nominal, measured); or\n"
    "lines of x y z or x y z i j k without a header. x, y is the centre of the ball; i, j, k "
    "points\n"
    "out of the material, and the point belongs to the nearest place that faces it. lower and\n"
    "upper are limits of the row, before those of --tolerance.\n"
    "With --frame x, y, z are the machine's coordinates, and the points are mapped into the\n"
    "plane of the section, that of NOMINAL.\n"
    "A deviation is positive outside of the material. Limits are included; they are widened by\n"
    "four units in the last place of the coordinates. - is standard input or output.\n";

constexpr const char* form_helps[] = {"as recognised",
                                      "separated by blank lines",
                                      "one run, regardless of blank lines",
                                      "two runs after a line of their counts",
                                      "lines, arcs and curves: M, L, A, N, Z, C",
                                      "loose pieces: x1 y1 x2 y2",
                                      "a drawing"};
static_assert(std::size(form_helps) == static_cast<std::size_t>(OutlineForm::dxf) + 1);

std::vector<Choice<OutlineForm>> make_form_choices() {
    std::vector<Choice<OutlineForm>> choices;
    for (const std::string_view name : choice_names(OutlineForm()))
        choices.push_back({name.data(), *form_of_name(name), form_helps[choices.size()]});
    return choices;
}
const std::vector<Choice<OutlineForm>> form_choices = make_form_choices();

// A measured file in other units than millimetres says nothing about the nominal one.
void require_both_units(const SectionOptions& options) {
    const std::optional<double>& measured = options.table.millimetres;
    if (measured && *measured != 1.0 && !options.drawing.millimetres &&
        options.form != OutlineForm::dxf && !options.nominal.ends_with(".dxf"))
        throw Failure(
            FailureKind::usage,
            "--unit: is NOMINAL in the same unit or in millimetres? --nominal-unit decides");
}

ExitCode section(const SectionOptions& options) {
    Progress progress(!options.paths.quiet);
    return end_of(inspect_section(options, progress),
                  options.frame ? "--align bestfit moves them onto it"
                                : "--align bestfit moves them onto it, after --frame where they "
                                  "are in space");
}

} // namespace

void add_section_command(Program& program) {
    CommandLine line(program, "section", "Measured points against the outline of a section",
                     section_examples, section_files);
    const auto options = std::make_shared<SectionOptions>();
    OutputPaths& paths = options->paths;
    line.input("NOMINAL", "The outline", options->nominal);
    line.input("MEASURED", "The measured points", options->measured);
    line.option(tolerance_option, options->tolerance);
    line.option(diameter_option, options->diameter);
    line.option(frame_option, options->frame);
    line.option(max_height_option, options->max_height);
    line.option(max_angle_option, options->max_angle);
    line.choice<bool>("--direction", "HOW", direction_help, direction_choices,
                      options->turns_directions);
    line.option(info_option, options->info);
    line.option(unit_option, options->table.millimetres);
    line.option(columns_option, options->table.columns);
    line.option(decimals_option, options->decimals);
    line.choice<bool>("--align", "HOW", align_help, align_choices, options->align);
    line.outputs(drawn_outputs, paths);
    line.sync(paths);
    line.choice<OutlineForm>("--form", "FORM", "Layout of NOMINAL (default: auto)", form_choices,
                             options->form);
    line.option(chain_tolerance_option, options->chain_tolerance);
    line.option(layer_option, options->drawing.layers);
    line.option(nominal_unit_option, options->drawing.millimetres);
    line.flag(quiet_flag, paths.quiet);
    line.check([options] {
        if (options->max_height && !options->frame)
            throw Failure(FailureKind::usage, "--max-height goes with --frame");
    });
    line.check([options] { require_both_units(*options); });
    line.run([options] { return section(*options); }, [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
