#include "inspect/command/commands.h"
#include "inspect/inspection/surface.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace velm::inspect {
namespace {

constexpr const char* surface_examples =
    "Examples:\n"
    "  velm-inspect surface bracket.step scan.ply --tolerance 0.1 --html report.html\n"
    "      a scan against a CAD file: one page with the part in colours, figures and tables\n"
    "  velm-inspect surface bracket.velm probed.csv --tolerance 0.05 --diameter 2\n"
    "      centres of a ball of 2 against the faces in an object file\n"
    "  velm-inspect surface bracket.step scan.ply --align bestfit --max-distance 1 --json -\n"
    "      moved onto the part first, by the points within 1 of it; a report for programs\n"
    "  velm-inspect surface bracket.step probed.csv --rps references.csv --tolerance 0.1\n"
    "      moved so that the reference points have their nominal coordinates\n"
    "  velm-inspect surface bracket.step scan.ply --tolerances faces.csv --faces lid\n"
    "      the faces of one group, each with limits of its own\n"
    "  velm-inspect surface bracket.step scan.xyz --ply points.ply --vtp part.vtp\n"
    "      for programs that draw points and triangles in space\n"
    "  velm-inspect surface bracket.step scan.ply --keep-nominal bracket.velm\n"
    "      keeps the faces of the CAD file for the next run\n";

constexpr const char* surface_files =
    "NOMINAL: an object file with surfaces, as velm-cad-import writes it, or a CAD file (STEP,\n"
    "IGES, BREP), for which velm-cad-import is needed beside this program or in PATH. Lengths\n"
    "are millimetres then.\n"
    "MEASURED: a table with a header that names x, y, z and optionally id, i, j, k, diameter or\n"
    "radius, lower, upper, feature, part; lines of x y z or x y z i j k without a header; or a\n"
    "PLY file. x, y, z is the centre of the ball, or the point itself without one; i, j, k\n"
    "points out of the material, and the point belongs to the nearest place that faces it.\n"
    "A point's deviation is its distance from the nearest place of the part less the ball's\n"
    "radius, positive outside of the material. Points without a place are not judged.\n"
    "Limits of a row beat those of --tolerances, which beat --tolerance. They are included, and\n"
    "widened by four units in the last place of the coordinates.\n"
    "A name of faces is that of a face, of a group, or of a run of them: lid, lid/face 3,\n"
    "/housing/lid; * matches any text.\n"
    "- is standard input or output.\n";

ExitCode surface(const SurfaceOptions& options) {
    Progress progress(!options.paths.quiet);
    return end_of(inspect_surface(options, progress));
}

} // namespace

void add_surface_command(Program& program) {
    CommandLine line(program, "surface", "Measured points against the faces of a CAD file",
                     surface_examples, surface_files);
    const auto options = std::make_shared<SurfaceOptions>();
    OutputPaths& paths = options->paths;
    line.input("NOMINAL", "The part", options->nominal.path);
    line.input("MEASURED", "The measured points", options->measured);
    line.option(tolerance_option, options->probed.tolerance);
    line.old_file("--tolerances", "FILE", "Limits of faces: lines of NAME, LOWER, UPPER",
                  options->nominal.tolerances);
    line.option(diameter_option, options->probed.diameter);
    line.option(faces_option, options->nominal.faces);
    line.option(max_distance_option, options->max_distance);
    line.option(max_angle_option, options->max_angle);
    line.choice<bool>("--direction", "HOW", direction_help, direction_choices,
                      options->probed.turns_directions);
    line.choice<bool>("--align", "HOW", align_help, align_choices, options->moving.best_fit);
    line.option(hold_option, options->moving.held);
    line.old_file("--rps", "FILE",
                  "Moves the measured points by a table of reference\npoints: id, x, y, z and i, "
                  "j, k or face, holds",
                  options->moving.references);
    line.option(info_option, options->info);
    line.option(unit_option, options->probed.table.millimetres);
    line.option(columns_option, options->probed.table.columns);
    line.option(decimals_option, options->decimals);
    line.outputs(surface_outputs, paths);
    line.sync(paths);
    line.new_file("--keep-nominal", "FILE", "Keeps the faces of a CAD file as an object file",
                  options->nominal.keep);
    line.flag(skip_bad_flag, options->nominal.skip_bad,
              "Goes on without faces that can't be taken, and lists\nthem");
    line.option(import_limit_option, options->nominal.import_seconds);
    line.option(threads_option, options->threads);
    line.flag(quiet_flag, paths.quiet);
    line.check([options] {
        const MovingOptions& moving = options->moving;
        if (moving.best_fit && moving.references)
            throw Failure(FailureKind::usage, "--rps and --align exclude each other");
        const bool holds =
            std::find(moving.held.begin(), moving.held.end(), true) != moving.held.end();
        if (holds && !moving.best_fit)
            throw Failure(FailureKind::usage, "--hold goes with --align bestfit");
        options->nominal.threads = options->threads;
    });
    line.run([options] { return surface(*options); }, [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
