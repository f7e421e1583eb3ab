#include "inspect/command/targets_command.h"

#include <memory>

#include "inspect/inspection/targets.h"

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect targets panel.csv\n"
    "      how far each measured point lies from its nominal, along the normal, and a summary\n"
    "  velm-inspect targets panel.csv --tolerance -0.5 1\n"
    "      within -0.5 and 1\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --json report.json --csv report.csv\n"
    "      a report for programs and one for a spreadsheet\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --align bestfit --html report.html\n"
    "      brought onto the nominal first; a page with the picture, to read, sort and print\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --store parts.velm\n"
    "      the results in an object file\n"
    "  velm-inspect targets panel.csv --skip-bad\n"
    "      without the rows that can't be used, which are told\n";

constexpr const char* files_text =
    "TABLE: CSV with a header, a row a point, parted by comma, semicolon or tab. Columns, in\n"
    "any order:\n"
    "  id or name\n"
    "  nom_x, nom_y, nom_z     the nominal point\n"
    "  nom_i, nom_j, nom_k     the normal of the surface there, where there is one\n"
    "  x, y, z, diameter       the centre of the ball and its diameter, or instead\n"
    "  act_x, act_y, act_z     the point of the surface, the ball taken off already\n"
    "A deviation lies along the normal, positive on the side that it points to. A row without a\n"
    "normal is judged by the distance of its points, which the upper limit alone bounds.\n"
    "- is standard input or output.\n\n";

// The texts of the command line, before they are understood.
struct Texts {
    TargetOptions options;
    std::string tolerance;
    std::string json, csv, html, store, archive;
    std::string align = "none";
};

TargetOptions understand(const CLI::App& targets, const Texts& texts) {
    TargetOptions options = texts.options;
    if (targets.count("--tolerance") > 0) options.tolerance = parse_tolerance(texts.tolerance);
    OutputPaths outputs(targets);
    outputs.take("--json", texts.json, options.paths.json);
    outputs.take("--csv", texts.csv, options.paths.csv);
    outputs.take("--html", texts.html, options.paths.html);
    outputs.take_file("--store", "an object file", texts.store, options.store);
    outputs.take_file("--archive", "an archive", texts.archive, options.archive);
    options.align = texts.align == "bestfit";
    if (options.table.empty()) throw Failure(ExitCode::usage, "TABLE: expected the name of a file");
    outputs.check({options.table}, !options.paths.quiet);
    return options;
}

} // namespace

void add_targets_command(CLI::App& app, Command& command) {
    CLI::App* const targets =
        app.add_subcommand("targets", "Measured points against nominal points");
    targets->formatter(std::make_shared<HelpText>(examples));
    targets->footer(files_text + exit_codes_text());

    const auto texts = std::make_shared<Texts>();
    targets->add_option("TABLE", texts->options.table, "The nominal and the measured points")
        ->required()
        ->type_name("");
    targets
        ->add_option("--tolerance", texts->tolerance,
                     "The limits of the deviation, both included;\none value T stands for -T T")
        ->type_name("LOWER UPPER | T");
    targets->add_option("--json", texts->json, "Writes the report as JSON")->type_name("FILE");
    targets->add_option("--csv", texts->csv, "Writes the rows as CSV")->type_name("FILE");
    targets->add_option("--html", texts->html, "Writes the report as one page")->type_name("FILE");
    targets->add_option("--store", texts->store, "Keeps the results in an object file, new or not")
        ->type_name("FILE");
    targets
        ->add_option("--archive", texts->archive, "Writes the results as a document in an archive")
        ->type_name("FILE");
    targets
        ->add_option(
            "--align", texts->align,
            "bestfit: brings the measured points onto the nominal\nfirst, by the motion of "
            "least squared deviations;\nnone unless told")
        ->type_name("HOW")
        ->check(CLI::IsMember({"bestfit", "none"}).description(""));
    targets->add_flag("--skip-bad", texts->options.skip_bad,
                      "Leaves rows out that can't be used, and tells them");
    targets->add_flag("--quiet", texts->options.paths.quiet, "No table, no summary, no progress");
    targets->callback([targets, texts, &command] {
        command = [options = understand(*targets, *texts)] { return inspect_targets(options); };
    });
}

} // namespace velm::inspect
