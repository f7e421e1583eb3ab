#include "inspect/command/commands.h"
#include "inspect/inspection/report.h"

#include <memory>

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect report parts.velm\n"
    "      the table of the inspection stored last\n"
    "  velm-inspect report parts.velm --record 2 --json report.json --csv report.csv\n"
    "      the reports of the second one\n"
    "  velm-inspect report wing.arc --svg report.svg\n"
    "      from a file written with --archive\n";

constexpr const char* files_text =
    "FILE is never written. The reports are those of the run that kept the inspection,\n"
    "byte for byte, and so is the exit code.\n";

bool report(const ReportOptions& options) {
    const ReportResult result = report_stored(options);
    if (!options.number && result.inspections > 1)
        warn_user(options.store + ": holds " + std::to_string(result.inspections) +
                  " inspections, of which this is the last, " + result.reported +
                  "; --record N reports another, velm-inspect store " + options.store +
                  " lists them");
    return result.is_in_tolerance;
}

} // namespace

void add_report_command(Program& program) {
    CommandLine line(program, "report", "Reports of a stored inspection", examples, files_text);
    const auto options = std::make_shared<ReportOptions>();
    OutputPaths& paths = options->paths;
    line.input("FILE", "The object file, or the archive", options->store, true);
    line.option(record_option, options->number);
    line.outputs({&json_output, &csv_output, &svg_output, &html_output}, paths);
    line.flag(quiet_flag, paths.quiet);
    line.run([options] { return exit_code(report(*options)); }, [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
