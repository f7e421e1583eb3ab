#include "inspect/command/commands.h"
#include "inspect/inspection/targets.h"

#include <memory>

namespace velm::inspect {
namespace {

constexpr const char* targets_examples =
    "Examples:\n"
    "  velm-inspect targets panel.csv\n"
    "      the distance of each measured point from its nominal, along the normal, and a summary\n"
    "  velm-inspect targets panel.csv --tolerance -0.5 1\n"
    "      within -0.5 and 1\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --json report.json --csv report.csv\n"
    "      a report for programs and one for a spreadsheet\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --align bestfit --html report.html\n"
    "      moved onto the nominal first; a page with the picture, to read, sort and print\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --store parts.velm\n"
    "      the results in an object file\n"
    "  velm-inspect targets panel.csv --skip-bad\n"
    "      without the unusable rows, which are listed\n";

constexpr const char* targets_files =
    "TABLE: a table with a header, one row per point or per axis, separated by comma, semicolon,\n"
    "tab or blanks. Columns, in any order, in English, German or French:\n"
    "  id                      otherwise the number of the row\n"
    "  nom_x, nom_y, nom_z     the nominal point\n"
    "  nom_i, nom_j, nom_k     the normal of the surface there, if any\n"
    "  x, y, z, diameter       the centre of the ball and its diameter (or radius), or instead\n"
    "  act_x, act_y, act_z     the point of the surface, already corrected for the ball\n"
    "  lower, upper            limits of the row, before those of --tolerance\n"
    "  feature, part           what the point belongs to\n"
    "A deviation is measured along the normal, positive on the side that it points to. A row\n"
    "without a normal is judged by the distance of its points, bounded by the upper limit only.\n"
    "Limits are included; they are widened by four units in the last place of the coordinates.\n"
    "- is standard input or output.\n";

} // namespace

void add_targets_command(Program& program) {
    CommandLine line(program, "targets", "Measured points against nominal points", targets_examples,
                     targets_files);
    const auto options = std::make_shared<TargetOptions>();
    OutputPaths& paths = options->paths;
    line.input("TABLE", "The nominal and the measured points", options->table);
    line.option(tolerance_option, options->tolerance);
    line.option(info_option, options->info);
    line.option(unit_option, options->table_options.millimetres);
    line.option(columns_option, options->table_options.columns);
    line.option(decimals_option, options->decimals);
    line.choice<bool>("--align", "HOW", align_help, align_choices, options->align);
    line.flag(skip_bad_flag, options->skip_bad);
    line.outputs(drawn_outputs, paths);
    line.sync(paths);
    line.flag(quiet_flag, paths.quiet);
    line.run(
        [options] {
            Progress progress(!options->paths.quiet);
            return end_of(inspect_targets(*options, progress),
                          "--align bestfit moves them onto it");
        },
        [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
