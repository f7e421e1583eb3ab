#include "inspect/command/section_command.h"

#include <memory>

#include "inspect/inspection/section.h"
#include "inspect/result/outline_forms.h"

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect section wing.dat probed.csv\n"
    "      how far each probed point lies from the outline, and a summary\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --diameter 2\n"
    "      within -0.05 and 0.05, centres of a ball of 2\n"
    "  velm-inspect section wing.dat probed.csv --tolerance -0.02 0.05 \\\n"
    "               --json report.json --csv report.csv --svg report.svg\n"
    "      a report for programs, one for a spreadsheet and a picture\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --html report.html\n"
    "      one page with picture, figures and table, to read, send and print\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --store parts.velm\n"
    "      kept in an object file, beside what it holds already\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --archive wing.arc\n"
    "      as a document that a host reads with its own archives\n"
    "  velm-inspect section wing.dat probed.csv --frame 0 0 40  0 0 1  1 0 0 --max-height .1\n"
    "      probed in space, within 0.1 of the section's plane at a height of 40\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05 --align bestfit\n"
    "      brought onto the outline first, by a turn and a shift\n"
    "  velm-inspect section wing.dat probed.csv --json - | jq .summary.worst\n"
    "      the report on standard output, in place of the table\n";

constexpr const char* files_text =
    "NOMINAL: a vertex a line, two numbers parted by blanks, tabs or commas; # starts a\n"
    "comment; a blank line parts contours. One in another is its hole, one in a hole an\n"
    "island, one outside of all others a part of its own. Airfoil\n"
    "coordinate files are read as they are found, one run round the profile or an upper\n"
    "and a lower run behind a line of two counts. Or lines and arcs, one of these a line:\n"
    "  M x y              starts a contour\n"
    "  L x y              goes straight on\n"
    "  A x y cx cy ccw    goes on along an arc about (cx, cy), or cw for clockwise\n"
    "  Z                  closes the contour\n"
    "  C cx cy r          a circle\n"
    "Or loose pieces in any order and direction, x1 y1 x2 y2 a line, whose ends meet in pairs.\n"
    "MEASURED: CSV with a header that names id, x, y and optionally z, i, j, k, diameter,\n"
    "in any order, parted by comma, semicolon or tab; x, y is the centre of the ball.\n"
    "With --frame x, y, z are the machine's coordinates, and its points are brought into the\n"
    "plane of the section, where NOMINAL stands.\n"
    "A deviation is positive outside of the material. - is standard input or output.\n\n";

// The texts of the command line, before they are understood.
struct Texts {
    SectionOptions options;
    std::string tolerance;
    std::string diameter;
    std::string frame, max_height;
    std::string chain_tolerance;
    std::string json, csv, svg, html, store, archive;
    std::string form = "auto";
    std::string align = "none";
};

SectionOptions understand(const CLI::App& section, const Texts& texts) {
    SectionOptions options = texts.options;
    if (section.count("--tolerance") > 0) options.tolerance = parse_tolerance(texts.tolerance);
    if (section.count("--diameter") > 0)
        options.diameter = parse_length("--diameter", texts.diameter);
    if (section.count("--frame") > 0) options.frame = parse_frame(texts.frame);
    if (section.count("--chain-tolerance") > 0)
        options.chain_tolerance = parse_chain_tolerance(texts.chain_tolerance);
    if (section.count("--max-height") > 0) {
        if (!options.frame) throw Failure(ExitCode::usage, "--max-height goes with --frame");
        options.max_height = parse_length("--max-height", texts.max_height);
    }
    options.align = texts.align == "bestfit";
    options.form = form_of_name(texts.form).value_or(OutlineForm::automatic);
    OutputPaths outputs(section);
    outputs.take("--json", texts.json, options.paths.json);
    outputs.take("--csv", texts.csv, options.paths.csv);
    outputs.take("--svg", texts.svg, options.paths.svg);
    outputs.take("--html", texts.html, options.paths.html);
    outputs.take_file("--store", "an object file", texts.store, options.store);
    outputs.take_file("--archive", "an archive", texts.archive, options.archive);
    if (options.nominal.empty() || options.measured.empty())
        throw Failure(ExitCode::usage, "NOMINAL MEASURED: expected the names of two files");
    if (options.nominal == "-" && options.measured == "-")
        throw Failure(ExitCode::usage, "only one of the two inputs can be standard input");
    outputs.check({options.nominal, options.measured}, !options.paths.quiet);
    return options;
}

} // namespace

void add_section_command(CLI::App& app, Command& command) {
    CLI::App* const section =
        app.add_subcommand("section", "Measured points against the outline of a section");
    section->formatter(std::make_shared<HelpText>(examples));
    section->footer(files_text + exit_codes_text());

    const auto texts = std::make_shared<Texts>();
    section->add_option("NOMINAL", texts->options.nominal, "The outline")
        ->required()
        ->type_name("");
    section->add_option("MEASURED", texts->options.measured, "The measured points")
        ->required()
        ->type_name("");
    section
        ->add_option("--tolerance", texts->tolerance,
                     "The limits of the deviation, both included;\none value T stands for -T T")
        ->type_name("LOWER UPPER | T");
    section
        ->add_option("--diameter", texts->diameter,
                     "Of the probe's ball, where the measured file\nhas no column for it")
        ->type_name("D");
    section
        ->add_option(
            "--frame", texts->frame,
            "The plane of the section in the machine's\ncoordinates: origin, normal, first "
            "axis")
        ->type_name("OX OY OZ  ZX ZY ZZ  XX XY XZ");
    section
        ->add_option("--max-height", texts->max_height,
                     "With --frame: refuses points farther off its plane")
        ->type_name("H");
    section
        ->add_option("--align", texts->align,
                     "bestfit: brings the measured points onto the outline\nfirst, by the motion "
                     "of least squared deviations\nwithin the plane; none unless told")
        ->type_name("HOW")
        ->check(CLI::IsMember({"bestfit", "none"}).description(""));
    section->add_option("--json", texts->json, "Writes the report as JSON")->type_name("FILE");
    section->add_option("--csv", texts->csv, "Writes the rows as CSV")->type_name("FILE");
    section->add_option("--svg", texts->svg, "Draws the picture")->type_name("FILE");
    section
        ->add_option("--html", texts->html, "Writes the whole report as one page, with the picture")
        ->type_name("FILE");
    section->add_option("--store", texts->store, "Keeps the results in an object file, new or not")
        ->type_name("FILE");
    section
        ->add_option("--archive", texts->archive, "Writes the results as a document in an archive")
        ->type_name("FILE");
    section
        ->add_option("--form", texts->form,
                     "How NOMINAL is laid out, auto unless told:\n"
                     "auto      as recognised\n"
                     "contours  parted by blank lines\n"
                     "round     one run, whatever the blank lines\n"
                     "runs      two runs behind a line of their counts\n"
                     "arcs      lines and arcs: M, L, A, Z, C\n"
                     "pieces    loose pieces: x1 y1 x2 y2")
        ->type_name("FORM")
        ->check(
            CLI::IsMember({"auto", "contours", "round", "runs", "arcs", "pieces"}).description(""));
    section
        ->add_option(
            "--chain-tolerance", texts->chain_tolerance,
            "How near the ends of loose pieces are that\nbelong together; 0.001 unless told")
        ->type_name("D");
    section->add_flag("--quiet", texts->options.paths.quiet, "No table, no summary, no progress");
    section->callback([section, texts, &command] {
        command = [options = understand(*section, *texts)] { return inspect_section(options); };
    });
}

} // namespace velm::inspect
