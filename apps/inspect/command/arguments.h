// arguments.h: what the subcommands share about the command line: numbers that start with a minus,
// help that leads with examples, and the check that no output stands in the way of another file.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/base/failure.h"
#include "inspect/result/section_frame.h"
#include "inspect/result/summary.h"

namespace velm::inspect {

/// Joins the numbers behind `--tolerance` (two at most), `--diameter`, `--max-height` (one) and
/// `--frame` (nine) to one argument, "--tolerance=-.05 5e-2", so that a number with a minus is
/// never taken for an option, and an option whose values vary in number never swallows a file name.
/// Arguments behind "--" stay.
std::vector<std::string> join_numbers(const std::vector<std::string>& arguments);

/// The numbers of a joined argument. Throws `Failure` (usage) naming the option.
std::vector<double> numbers_of(const std::string& option, const std::string& joined);

/// The nine numbers of `--frame`, likewise.
SectionFrame parse_frame(const std::string& text);

/// The band of a joined --tolerance. Throws `Failure` (usage).
Tolerance parse_tolerance(const std::string& joined);

/// The value of an option that is one number, not negative. Throws `Failure` (usage).
double parse_length(const std::string& option, const std::string& text);

/// The outputs that a subcommand was asked for.
class OutputPaths {
public:
    explicit OutputPaths(const CLI::App& app) : app_(app) {}
    /// Where `option` was given, the path goes to `to`, "-" for all that stands for standard
    /// output. Throws `Failure` (usage) for an empty path.
    void take(const char* option, const std::string& path, std::optional<std::string>& to);
    /// The same for a file that can't be standard output; the complaint calls it `what`.
    void take_file(const char* option, const char* what, const std::string& path,
                   std::optional<std::string>& to);
    /// Checks all of them, and the table where no other output takes its place.
    void check(const std::vector<std::string>& inputs, bool has_table);

private:
    const CLI::App& app_;
    std::vector<std::string> paths_;
};

/// How near the ends of loose pieces are that belong together, from a joined argument. Throws
/// `Failure` (usage).
double parse_chain_tolerance(const std::string& text);

/// What is wrong with a command line that the parser refused, as a sentence; `app` is the
/// subcommand or the program that it was meant for.
std::string usage_complaint(const CLI::App& app, const CLI::ParseError& error);

/// Throws `Failure` (usage) where an output is an input or the same as another output. "-" is
/// standard input or output, redirected to a file too.
void check_outputs(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs);

/// The help of a subcommand: examples, usage, options, exit codes.
class HelpText : public CLI::Formatter {
public:
    explicit HelpText(std::string examples);
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override;

private:
    std::string examples_;
};

/// The exit codes as the help documents them.
std::string exit_codes_text();

} // namespace velm::inspect
