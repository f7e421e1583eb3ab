#include "inspect/command/commands.h"
#include "inspect/inspection/report.h"

#include <memory>

namespace velm::inspect {
namespace {

constexpr const char* report_examples =
    "Examples:\n"
    "  velm-inspect report parts.velm\n"
    "      the table of the inspection stored last\n"
    "  velm-inspect report parts.velm --record 2 --json report.json --csv report.csv\n"
    "      the reports of the second one\n"
    "  velm-inspect report wing.arc --svg report.svg\n"
    "      from a file written with --archive\n";

constexpr const char* report_files =
    "FILE is never written. The reports are those of the run that kept the inspection, byte for\n"
    "byte where it was of this version, and so is the exit code. What an earlier version kept "
    "gives\n"
    "the same numbers, verdicts and exit code in the present layout.\n";

bool report(const ReportOptions& options) {
    Progress progress(!options.paths.quiet);
    const ReportResult result = report_stored(options, progress);
    progress.clear();
    if (!options.number && result.inspections > 1)
        warn_user(options.store + ": holds " + std::to_string(result.inspections) +
                  " inspections, of which this is the last, " + result.reported +
                  "; --record N reports another, velm-inspect store " + options.store +
                  " lists them");
    return result.is_in_tolerance;
}

} // namespace

void add_report_command(Program& program) {
    CommandLine line(program, "report", "Reports of a stored inspection", report_examples,
                     report_files);
    const auto options = std::make_shared<ReportOptions>();
    OutputPaths& paths = options->paths;
    line.input("FILE", "The object file, or the archive", options->store, true);
    line.option(record_option, options->number);
    line.outputs(stored_outputs, paths);
    line.flag(quiet_flag, paths.quiet);
    line.run([options] { return exit_code(report(*options)); }, [&paths] { return !paths.quiet; });
}

} // namespace velm::inspect
