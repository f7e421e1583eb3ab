// velm-cad-import: the faces of a STEP, IGES or BREP file as trimmed surfaces in an object file.
#include "cad/import_report.h"
#include "cad/kernel_guard.h"
#include "cad/part_import.h"

#include "inspect/base/failure.h"
#include "inspect/base/output_set.h"
#include "inspect/base/text_escape.h"
#include "inspect/command/exit_code.h"
#include "inspect/keep/store_file.h"
#include "velm/store/store_batch.h"
#include "velm/version.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>

namespace velm::cad {
namespace {

using inspect::ExitCode;
using inspect::Failure;
using inspect::FailureKind;

constexpr const char* exit_codes =
    "Exit codes:\n"
    "  0  every face that was asked for was taken\n"
    "  2  wrong usage\n"
    "  3  the file isn't understood, or faces were left out without --skip-bad\n"
    "  4  a file can't be read or written\n";

struct Options {
    std::string source;
    std::string result;
    std::vector<std::string> parts;
    std::optional<std::string> json;
    bool skip_bad = false;
};

void describe(CLI::App& app, Options& options) {
    app.set_version_flag("--version", "velm-cad-import " VELM_VERSION_STRING);
    app.footer(exit_codes);
    app.add_option("PART", options.source, "STEP, IGES or BREP file, recognised by what it holds")
        ->required();
    app.add_option("OUT", options.result, "object file for the faces; it must not exist")
        ->required();
    app.add_option("--json", options.json, "write what was taken and left out, - for stdout")
        ->type_name("FILE");
    app.add_option("--part", options.parts,
                   "take only what is below this path (/assembly/instance); may be repeated")
        ->type_name("PATH");
    app.add_flag("--skip-bad", options.skip_bad,
                 "go on without faces that can't be taken; they are listed");
}

void save(const std::string& working_copy, const NominalPart& part, const std::string& name) {
    const auto work = [&] {
        ERDataBase data;
        const auto check = [&](gmErrorCode code) {
            if (code != gmSuccess) AfxThrowFileException(code, -1, working_copy.c_str());
        };
        check(data.Open(working_copy.c_str(), 0));
        StoreBatch batch(data);
        save_part(data, part);
        batch.commit();
        check(data.Close());
    };
    inspect::with_store(name, work, working_copy);
}

// Before any output is open.
NominalPart read_guarded(const Options& options) {
    const KernelGuard guard(inspect::terminal_text("velm-cad-import: " + options.source +
                                                   ": the CAD kernel fails on this file"),
                            static_cast<int>(ExitCode::input));
    return import_part(options.source, options.parts);
}

ExitCode run(const Options& options) {
    const NominalPart part = read_guarded(options);
    inspect::OutputSet outputs;
    inspect::Output* const json = outputs.add_if_asked(options.json);
    const std::string working_copy = outputs.add_new_by_name(options.result);
    for (const LeftOutFace& face : part.left_out)
        std::fprintf(stderr, "velm-cad-import: %s\n",
                     inspect::terminal_text(left_out_text(face)).c_str());
    const bool is_whole = part.left_out.empty() || options.skip_bad;
    if (is_whole && part.faces.empty())
        throw Failure(FailureKind::input, options.source + ": no face could be taken");
    if (json) json->write(import_json(part));
    if (!is_whole)
        throw Failure(FailureKind::input,
                      options.source + ": " + std::to_string(part.left_out.size()) +
                          " faces can't be taken; with --skip-bad the others are");
    save(working_copy, part, options.result);
    outputs.commit();
    if (!json || !inspect::is_standard_output(*options.json))
        std::fputs(summary_text(part, options.result).c_str(), stdout);
    return ExitCode::good;
}

ExitCode run_guarded(int argc, char** argv) {
    const auto complain = [](const std::string& sentence) {
        std::fprintf(stderr, "velm-cad-import: %s\n", inspect::terminal_text(sentence).c_str());
    };
    CLI::App app("Faces of a CAD file as trimmed surfaces in an object file, in millimetres",
                 "velm-cad-import");
    Options options;
    describe(app, options);
    try {
        app.parse(argc, argv);
        return run(options);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);
            return ExitCode::good;
        }
        complain(std::string(error.what()) + "; see velm-cad-import --help");
        return ExitCode::usage;
    } catch (const Failure& failure) {
        complain(failure.what());
        return exit_code(failure.kind());
    } catch (const std::bad_alloc&) {
        complain("the memory is not enough for this file");
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return ExitCode::file;
}

} // namespace
} // namespace velm::cad

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file at its limit is a full disk
    return static_cast<int>(velm::cad::run_guarded(argc, argv));
}
