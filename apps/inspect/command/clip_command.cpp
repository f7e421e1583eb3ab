#include "inspect/command/commands.h"
#include "inspect/inspection/clip.h"

#include <memory>

namespace velm::inspect {
namespace {

constexpr const char* clip_examples =
    "Examples:\n"
    "  velm-inspect clip plate.txt path.txt\n"
    "      the pieces of the path in the plate, as polylines again\n"
    "  velm-inspect clip plate.txt path.txt --svg path.svg --json path.json\n"
    "      and a picture, and the pieces with their lengths for programs\n";

constexpr const char* clip_files =
    "REGION: contours as NOMINAL of section, with holes, islands in them and separate parts. Arcs\n"
    "and curves are taken as chords within --chord-error of them.\n"
    "POLYLINE: one point per line, two numbers separated by blanks, tabs or commas; # starts a\n"
    "comment; a blank line separates polylines. Borders of the region belong to it.\n"
    "- is standard input or output.\n";

} // namespace

void add_clip_command(Program& program) {
    CommandLine line(program, "clip", "The pieces of polylines in a region", clip_examples,
                     clip_files);
    const auto options = std::make_shared<ClipOptions>();
    OutputPaths& paths = options->paths;
    line.input("REGION", "The contours of the region", options->region);
    line.input("POLYLINE", "The polylines", options->polyline);
    line.outputs({&json_output, &svg_output}, paths);
    line.option(chain_tolerance_option, options->chain_tolerance);
    line.option(chord_error_option, options->chord_error);
    line.flag(quiet_flag, paths.quiet, "No text on standard output");
    line.run(
        [options] {
            clip_polylines(*options);
            return ExitCode::good;
        },
        [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
