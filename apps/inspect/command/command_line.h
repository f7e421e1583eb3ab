// command_line.h: a command on the command line: `Program`, `CommandLine`.
#pragma once

#include "inspect/base/failure.h"
#include "inspect/command/exit_code.h"
#include "inspect/command/options.h"
#include "inspect/inspection/inspection_end.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// The parser of the command line, and the action of the command that it finds.
struct Program {
    struct NumberOption {
        std::string_view name;
        std::size_t most; // values
    };

    CLI::App app{"Compares measured points with their nominal geometry.", "velm-inspect"};
    std::vector<NumberOption> number_options; ///< of all commands
    std::function<ExitCode()> run;            ///< of the command that was chosen
};

/// Joins the numbers after an option to one argument, "--tolerance=-.05 5e-2", so that a number
/// with a minus is never taken for an option, and an option whose values vary in number never
/// swallows the name of a file. Arguments after "--" stay.
std::vector<std::string> join_numbers(const std::vector<std::string>& arguments,
                                      const std::vector<Program::NumberOption>& options);

/// Says the notes on stderr; the exit code. `remedy` is what helps points in other coordinates:
/// "--align bestfit moves them there".
ExitCode end_of(const InspectionEnd& end, const char* remedy = nullptr);

inline ExitCode exit_code(bool is_in_tolerance) {
    return is_in_tolerance ? ExitCode::good : ExitCode::out_of_tolerance;
}

/// Adds a command to the program, option by option, each with the variable that takes its value:
///
///     CommandLine line(program, "clip", "Pieces of polylines in a region", examples, footer);
///     const auto options = std::make_shared<ClipOptions>();
///     line.input("REGION", "Contours of the region", options->region);
///     line.option(chain_tolerance_option, options->chain_tolerance);
///     line.outputs({&json_output, &svg_output}, options->paths);
///     line.run([options] { return exit_code(inspect(*options)); }, [] { return true; });
///
/// When the command is chosen, the values are parsed in the order in which the options were added,
/// then come the checks of the command, last those of its files. Each throws `Failure` (usage).
class CommandLine {
public:
    CommandLine(Program& program, const char* name, const char* what, const char* examples,
                const std::string& footer);

    /// A file to read. An empty name is refused here, or with `opens_any` when it is opened.
    void input(const char* name, const char* help, std::string& to, bool opens_any = false);
    /// The variable is a `Value` or an optional one; it is unchanged if the option isn't given.
    template <class Value, class Variable>
    void option(const Option<Value>& option, Variable& to, const char* help = nullptr) {
        if (option.numbers > 0) program_.number_options.push_back({option.name, option.numbers});
        const std::shared_ptr<std::string> text =
            add_text(option.name, option.values, help != nullptr ? help : option.help).text;
        steps_->push_back([app = app_, text, &option, &to] {
            if (app->count(option.name) > 0) to = option.parse(option.name, *text);
        });
    }
    void flag(const Flag& flag, bool& to, const char* help = nullptr);
    /// --sync, which goes with --store.
    void sync(OutputPaths& paths);
    /// One of the choices, which are listed after the help if they have lines of their own.
    template <class Value>
    CLI::Option* choice(const char* name, const char* values, std::string help,
                        std::span<const Choice<Value>> choices, Value& to) {
        std::vector<std::string> names;
        for (const Choice<Value>& each : choices) {
            names.emplace_back(each.name);
            if (each.help != nullptr) append_choice(help, each.name, each.help);
        }
        const auto [text, added] = add_text(name, values, help);
        added->check(CLI::IsMember(names).description(""));
        steps_->push_back([text = text, choices, &to] {
            for (const Choice<Value>& each : choices)
                if (*text == each.name) to = each.value;
        });
        return added;
    }
    void outputs(OutputList outputs, OutputPaths& to);
    /// An output that is no report: the path goes to `to` unchanged.
    void new_file(const char* name, const char* values, const char* help, std::string& to);
    void new_file(const char* name, const char* values, const char* help,
                  std::optional<std::string>& to);
    /// A file to read that an option names: the path goes to `to` as it is.
    void old_file(const char* name, const char* values, const char* help, std::string& to);
    void old_file(const char* name, const char* values, const char* help,
                  std::optional<std::string>& to);

    /// Checks options against each other.
    void check(std::function<void()> work) { steps_->push_back(std::move(work)); }
    /// The action of the command. `has_text`: it writes a text to standard output, unless another
    /// output goes there.
    void run(std::function<ExitCode()> work, std::function<bool()> has_text);

private:
    struct Files {
        struct Input {
            const char* name;
            const std::string* path;
            bool opens_any;
        };
        std::vector<Input> inputs;
        std::vector<std::string> outputs;
        std::vector<std::string> reports; ///< those that replace what is there
        std::optional<std::string> archive;
    };

    struct AddedText {
        std::shared_ptr<std::string> text;
        CLI::Option* option;
    };
    AddedText add_text(const char* name, const char* values, const std::string& help);
    static void append_choice(std::string& help, std::string_view name, const char* text);
    static void check_files(Files& files, bool has_text);
    static void check_kept(const Files& files);

    Program& program_;
    CLI::App* app_;
    std::shared_ptr<std::vector<std::function<void()>>> steps_;
    std::shared_ptr<Files> files_;
};

/// The fault of a command line that the parser refused, as a sentence; `app` is that of the command
/// or of the program that it was meant for.
std::string usage_complaint(const CLI::App& app, const CLI::ParseError& error);

/// The help: examples, usage, options, exit codes.
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
