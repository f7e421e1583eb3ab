#include "inspect/command/arguments.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "inspect/base/number_text.h"
#include "inspect/base/output_set.h"

namespace velm::inspect {
namespace {

struct NumberOption {
    std::string_view name;
    std::size_t most; // values
};
constexpr std::array<NumberOption, 5> number_options{{{"--tolerance", 2},
                                                      {"--diameter", 1},
                                                      {"--frame", 9},
                                                      {"--max-height", 1},
                                                      {"--chain-tolerance", 1}}};

bool is_number(std::string_view text) {
    return parse_number(text).fault != NumberFault::not_a_number;
}

} // namespace

std::vector<std::string> join_numbers(const std::vector<std::string>& arguments) {
    std::vector<std::string> joined;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        std::string argument = arguments[at];
        if (argument == "--") {
            joined.insert(joined.end(), arguments.begin() + static_cast<std::ptrdiff_t>(at),
                          arguments.end());
            break;
        }
        const std::string name = argument.substr(0, argument.find('='));
        const auto option = std::find_if(number_options.begin(), number_options.end(),
                                         [&](const NumberOption& o) { return o.name == name; });
        if (option != number_options.end()) {
            std::size_t values = name.size() < argument.size() ? 1 : 0;
            for (;
                 values < option->most && at + 1 < arguments.size() && is_number(arguments[at + 1]);
                 ++values)
                argument += (values == 0 ? "=" : " ") + arguments[++at];
        }
        joined.push_back(std::move(argument));
    }
    return joined;
}

std::vector<double> numbers_of(const std::string& option, const std::string& joined) {
    std::vector<double> numbers;
    const std::string complaint = parse_numbers(joined, numbers);
    if (!complaint.empty()) throw Failure(ExitCode::usage, option + ": " + complaint);
    return numbers;
}

SectionFrame parse_frame(const std::string& text) {
    const std::vector<double> numbers = numbers_of("--frame", text);
    SectionFrame frame;
    const FrameFault fault = frame.set(numbers);
    if (fault == FrameFault::none) return frame;
    std::string why = std::string("--frame: ") + frame_complaint(fault);
    if (fault == FrameFault::not_nine) why += ", found " + std::to_string(numbers.size());
    throw Failure(ExitCode::usage, why);
}

Tolerance parse_tolerance(const std::string& text) {
    const std::vector<double> values = numbers_of("--tolerance", text);
    const Tolerance tolerance =
        values.size() == 1 ? Tolerance{-values[0], values[0]} : Tolerance{values[0], values[1]};
    if (values.size() > 2)
        throw Failure(ExitCode::usage, "--tolerance: expected one or two numbers");
    if (tolerance.lower > tolerance.upper)
        throw Failure(ExitCode::usage, "--tolerance: the lower limit " + shortest(tolerance.lower) +
                                           " lies above the upper limit " +
                                           shortest(tolerance.upper));
    return tolerance;
}

double parse_length(const std::string& option, const std::string& text) {
    const std::vector<double> values = numbers_of(option, text);
    if (values.size() != 1 || values[0] < 0.0)
        throw Failure(ExitCode::usage, option + ": expected one number, not negative");
    return values[0];
}

void OutputPaths::take(const char* option, const std::string& path,
                       std::optional<std::string>& to) {
    if (app_.count(option) == 0) return;
    if (path.empty())
        throw Failure(ExitCode::usage, std::string(option) + ": expected the name of a file");
    to = is_standard_output(path) ? "-" : path;
    paths_.push_back(*to);
}

void OutputPaths::take_file(const char* option, const char* what, const std::string& path,
                            std::optional<std::string>& to) {
    take(option, path, to);
    if (to == "-")
        throw Failure(ExitCode::usage,
                      std::string(option) + ": " + what + " can't go to standard output");
}

void OutputPaths::check(const std::vector<std::string>& inputs, bool has_table) {
    if (has_table && std::find(paths_.begin(), paths_.end(), "-") == paths_.end())
        paths_.push_back("-");
    check_outputs(inputs, paths_);
}

double parse_chain_tolerance(const std::string& text) {
    constexpr double least = 1e-100; // whose square is a double
    const std::vector<double> values = numbers_of("--chain-tolerance", text);
    if (values.size() != 1 || !(values[0] >= least))
        throw Failure(ExitCode::usage, "--chain-tolerance: expected one number above 0");
    return values[0];
}

void check_outputs(const std::vector<std::string>& inputs,
                   const std::vector<std::string>& outputs) {
    // `standard` is what a "-" as `other` stands for.
    const auto is_same = [](const std::string& output, const std::string& other, int standard) {
        if (output == "-" && other == "-") return standard == STDOUT_FILENO;
        if (output == "-") return leads_to(other, STDOUT_FILENO);
        return other == "-" ? leads_to(output, standard) : same_file(output, other);
    };
    const auto shown = [](const std::string& path, const char* standard) {
        return path == "-" ? standard : path;
    };
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const std::string output = shown(outputs[i], "standard output");
        for (std::size_t j = 0; j < i; ++j)
            if (is_same(outputs[i], outputs[j], STDOUT_FILENO))
                throw Failure(ExitCode::usage, "two outputs go to the same place: " +
                                                   shown(outputs[j], "standard output") + " and " +
                                                   output);
        for (const std::string& input : inputs)
            if (is_same(outputs[i], input, STDIN_FILENO))
                throw Failure(ExitCode::usage, "the output " + output + " is the input " +
                                                   shown(input, "standard input"));
    }
}

std::string usage_complaint(const CLI::App& app, const CLI::ParseError& error) {
    const std::string text = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const std::string name = text.substr(0, text.find(':'));
        if (const CLI::Option* const option = app.get_option_no_throw(name))
            return name + (option->count() > 1 ? " is given more than once"
                                               : ": expected " + option->get_type_name());
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr)
        return "not expected: " + CLI::detail::join(app.remaining(), " ");
    return text;
}

HelpText::HelpText(std::string examples) : examples_(std::move(examples)) {
    column_width(31);
    label("REQUIRED", "");
}

std::string HelpText::make_help(const CLI::App* app, std::string name,
                                CLI::AppFormatMode mode) const {
    const std::string rest = CLI::Formatter::make_help(app, std::move(name), mode);
    return mode == CLI::AppFormatMode::Normal ? examples_ + "\n" + rest : rest;
}

std::string exit_codes_text() {
    return "Exit codes:\n"
           "  0  everything in tolerance, or no tolerance asked\n"
           "  1  something out of tolerance\n"
           "  2  wrong usage\n"
           "  3  an input that can't be understood\n"
           "  4  a file that can't be read or written, standard output included\n";
}

} // namespace velm::inspect
