// velm-inspect: measured points against their nominal. command/commands.h lists the commands.
#include "inspect/base/failure.h"
#include "inspect/base/output_set.h"
#include "inspect/base/text_escape.h"
#include "inspect/command/commands.h"
#include "velm/version.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace velm::inspect {
namespace {

constexpr const char* examples =
    "Examples:\n"
    "  velm-inspect section wing.dat probed.csv --tolerance 0.05\n"
    "  velm-inspect surface bracket.step scan.ply --tolerance 0.1 --html report.html\n"
    "  velm-inspect clip plate.txt path.txt --svg path.svg\n"
    "  velm-inspect targets panel.csv --tolerance 0.5 --json report.json\n"
    "  velm-inspect fit circle bore.csv --diameter 5 --inside\n"
    "  velm-inspect store parts.velm --check\n"
    "  velm-inspect report parts.velm --json report.json\n"
    "  velm-inspect section --help\n";

// A closed standard descriptor would be given to the next file that is opened, and the table
// written into that. A descriptor that can't be written makes writing fail instead.
void occupy_standard_descriptors() {
    while (true) {
        const int descriptor = ::open("/dev/null", O_RDONLY);
        if (descriptor < 0) return;
        if (descriptor > STDERR_FILENO) {
            ::close(descriptor);
            return;
        }
    }
}

void print(const std::string& text) {
    OutputSet outputs;
    outputs.add("-").write(text);
    outputs.commit();
}

ExitCode run(int argc, char** argv) {
    Program program;
    CLI::App& app = program.app;
    app.set_version_flag("--version", "velm-inspect " VELM_VERSION_STRING);
    app.formatter(std::make_shared<HelpText>(examples));
    app.footer(exit_codes_text());
    app.require_subcommand(1);
    for (const auto add : commands)
        add(program);

    std::vector<std::string> arguments =
        join_numbers({argv + 1, argv + argc}, program.number_options);
    std::reverse(arguments.begin(), arguments.end()); // the parser takes them from the back
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::CallForHelp&) {
        const auto chosen = app.get_subcommands();
        print(chosen.empty() ? app.help() : chosen.front()->help("velm-inspect"));
        return ExitCode::good;
    } catch (const CLI::CallForVersion& version) {
        print(std::string(version.what()) + "\n");
        return ExitCode::good;
    } catch (const CLI::ParseError& error) {
        const auto chosen = app.get_subcommands();
        const bool is_unknown = chosen.empty() && argc > 1 && argv[1][0] != '-';
        const std::string why =
            is_unknown ? "there is no subcommand '" + std::string(argv[1]) + "'"
                       : usage_complaint(chosen.empty() ? app : *chosen.front(), error);
        const std::string help = chosen.empty() ? "" : chosen.front()->get_name() + " ";
        throw Failure(FailureKind::usage, why + "; see velm-inspect " + help + "--help");
    }
    return program.run();
}

ExitCode run_guarded(int argc, char** argv) {
    const auto complain = [](const std::string& sentence) {
        std::fprintf(stderr, "velm-inspect: %s\n", terminal_text(sentence).c_str());
    };
    try {
        return run(argc, argv);
    } catch (const Failure& failure) {
        complain(failure.what());
        return exit_code(failure.kind());
    } catch (const std::bad_alloc&) {
        complain("the memory is not enough for this input");
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return ExitCode::file;
}

} // namespace
} // namespace velm::inspect

int main(int argc, char** argv) {
    velm::inspect::occupy_standard_descriptors();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file at its limit is a full disk
    return static_cast<int>(velm::inspect::run_guarded(argc, argv));
}
