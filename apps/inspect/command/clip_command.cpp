#include "inspect/command/clip_command.h"

#include <memory>

#include "inspect/inspection/clip.h"

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect clip plate.txt path.txt\n"
    "      the pieces of the path that lie in the plate, as polylines again\n"
    "  velm-inspect clip plate.txt path.txt --svg path.svg --json path.json\n"
    "      and a picture, and the pieces with their lengths for programs\n";

constexpr const char* files_text =
    "REGION: contours of straight edges as NOMINAL of section, with holes, islands in them and\n"
    "parts that lie apart.\n"
    "POLYLINE: a point a line, two numbers parted by blanks, tabs or commas; # starts a\n"
    "comment; a blank line parts polylines. Borders of the region belong to it.\n"
    "- is standard input or output.\n\n";

struct Texts {
    ClipOptions options;
    std::string json, svg, chain_tolerance;
};

ClipOptions understand(const CLI::App& clip, const Texts& texts) {
    ClipOptions options = texts.options;
    if (clip.count("--chain-tolerance") > 0)
        options.chain_tolerance = parse_chain_tolerance(texts.chain_tolerance);
    OutputPaths outputs(clip);
    outputs.take("--json", texts.json, options.json);
    outputs.take("--svg", texts.svg, options.svg);
    if (options.region.empty() || options.polyline.empty())
        throw Failure(ExitCode::usage, "REGION POLYLINE: expected the names of two files");
    if (options.region == "-" && options.polyline == "-")
        throw Failure(ExitCode::usage, "only one of the two inputs can be standard input");
    outputs.check({options.region, options.polyline}, !options.quiet);
    return options;
}

} // namespace

void add_clip_command(CLI::App& app, Command& command) {
    CLI::App* const clip =
        app.add_subcommand("clip", "The pieces of polylines that lie in a region");
    clip->formatter(std::make_shared<HelpText>(examples));
    clip->footer(files_text + exit_codes_text());

    const auto texts = std::make_shared<Texts>();
    clip->add_option("REGION", texts->options.region, "The contours of the region")
        ->required()
        ->type_name("");
    clip->add_option("POLYLINE", texts->options.polyline, "The polylines")
        ->required()
        ->type_name("");
    clip->add_option("--json", texts->json, "Writes the pieces as JSON")->type_name("FILE");
    clip->add_option("--svg", texts->svg, "Draws the picture")->type_name("FILE");
    clip->add_option(
            "--chain-tolerance", texts->chain_tolerance,
            "How near the ends of loose pieces are that\nbelong together; 0.001 unless told")
        ->type_name("D");
    clip->add_flag("--quiet", texts->options.quiet, "No text on standard output");
    clip->callback([clip, texts, &command] {
        command = [options = understand(*clip, *texts)] { return clip_polylines(options); };
    });
}

} // namespace velm::inspect
