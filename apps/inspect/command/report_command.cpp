#include "inspect/command/report_command.h"

#include <memory>

#include "inspect/command/arguments.h"
#include "inspect/inspection/report.h"

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect report parts.velm\n"
    "      the table of the inspection that was kept last\n"
    "  velm-inspect report parts.velm --record 2 --json report.json --csv report.csv\n"
    "      the reports of the second one\n"
    "  velm-inspect report wing.arc --svg report.svg\n"
    "      of what was written with --archive\n";

// The texts of the command line, before they are understood.
struct Texts {
    ReportOptions options;
    long number = 0;
    std::string json, csv, svg, html;
};

ReportOptions understand(const CLI::App& report, const Texts& texts) {
    ReportOptions options = texts.options;
    if (report.count("--record") > 0) {
        if (texts.number < 1) throw Failure(ExitCode::usage, "--record: expected a number from 1");
        options.number = texts.number;
    }
    OutputPaths outputs(report);
    outputs.take("--json", texts.json, options.paths.json);
    outputs.take("--csv", texts.csv, options.paths.csv);
    outputs.take("--svg", texts.svg, options.paths.svg);
    outputs.take("--html", texts.html, options.paths.html);
    outputs.check({options.store}, !options.paths.quiet);
    return options;
}

} // namespace

void add_report_command(CLI::App& app, Command& command) {
    CLI::App* const report =
        app.add_subcommand("report", "The reports of an inspection that was kept");
    report->formatter(std::make_shared<HelpText>(examples));
    report->footer("FILE is never written. The reports are those of the run that kept the "
                   "inspection,\nbyte for byte, and so is the exit code.\n\n" +
                   exit_codes_text());

    const auto texts = std::make_shared<Texts>();
    report->add_option("FILE", texts->options.store, "The object file, or the archive")
        ->required()
        ->type_name("");
    report
        ->add_option("--record", texts->number,
                     "Which inspection, from 1, as velm-inspect store\nlists them; the last one "
                     "unless told")
        ->type_name("N");
    report->add_option("--json", texts->json, "Writes the report as JSON")->type_name("FILE");
    report->add_option("--csv", texts->csv, "Writes the rows as CSV")->type_name("FILE");
    report->add_option("--svg", texts->svg, "Draws the picture")->type_name("FILE");
    report->add_option("--html", texts->html, "Writes the report as one page")->type_name("FILE");
    report->add_flag("--quiet", texts->options.paths.quiet, "No table, no summary, no progress");
    report->callback([report, texts, &command] {
        command = [options = understand(*report, *texts)] { return report_stored(options); };
    });
}

} // namespace velm::inspect
