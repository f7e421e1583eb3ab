#include "inspect/command/command_line.h"

#include "inspect/base/number_text.h"
#include "inspect/base/output_set.h"
#include "inspect/command/sentences.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_file.h"

#include <algorithm>
#include <unistd.h>
#include <utility>

namespace velm::inspect {
namespace {

// A number, or several with a comma between two.
bool is_number(std::string_view text) {
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        if (parse_number(text.substr(at, end - at)).fault == NumberFault::not_a_number)
            return false;
        at = end + 1;
    }
    return true;
}

[[noreturn]] void refuse(const std::string& why) { throw Failure(FailureKind::usage, why); }

// Refuses an output that is an input or the same as another output. "-" is standard input or
// output, redirected to a file too.
void check_outputs(const std::vector<std::string>& inputs,
                   const std::vector<std::string>& outputs) {
    // `standard` is the meaning of "-" as `other`.
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
                refuse("two outputs go to the same place: " + shown(outputs[j], "standard output") +
                       " and " + output);
        for (const std::string& input : inputs)
            if (is_same(outputs[i], input, STDIN_FILENO))
                refuse("the output " + output + " is the input " + shown(input, "standard input"));
    }
}

} // namespace

std::vector<std::string> join_numbers(const std::vector<std::string>& arguments,
                                      const std::vector<Program::NumberOption>& options) {
    std::vector<std::string> joined;
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        std::string argument = arguments[at];
        if (argument == "--") {
            joined.insert(joined.end(), arguments.begin() + static_cast<std::ptrdiff_t>(at),
                          arguments.end());
            break;
        }
        const std::string name = argument.substr(0, argument.find('='));
        const auto option =
            std::find_if(options.begin(), options.end(),
                         [&](const Program::NumberOption& o) { return o.name == name; });
        if (option != options.end()) {
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

ExitCode end_of(const InspectionEnd& end, const char* remedy) {
    for (const InspectionNote& note : end.notes)
        warn_user(note_sentence(note));
    if (end.may_be_misplaced && remedy != nullptr)
        warn_user(std::string("most points are far out of tolerance; if they aren't in the "
                              "coordinates of the nominal, ") +
                  remedy);
    return exit_code(end.is_in_tolerance);
}

CommandLine::CommandLine(Program& program, const char* name, const char* what, const char* examples,
                         const std::string& footer)
    : program_(program), app_(program.app.add_subcommand(name, what)),
      steps_(std::make_shared<std::vector<std::function<void()>>>()),
      files_(std::make_shared<Files>()) {
    app_->formatter(std::make_shared<HelpText>(examples));
    app_->footer(footer + "\n" + exit_codes_text());
}

void CommandLine::input(const char* name, const char* help, std::string& to, bool opens_any) {
    app_->add_option(name, to, help)->required()->type_name("");
    files_->inputs.push_back({name, &to, opens_any});
}

CommandLine::AddedText CommandLine::add_text(const char* name, const char* values,
                                             const std::string& help) {
    const auto text = std::make_shared<std::string>();
    CLI::Option* const option = app_->add_option_function<std::string>(
        name, [text](const std::string& given) { *text = given; }, help);
    return {text, option->type_name(values)};
}

void CommandLine::append_choice(std::string& help, std::string_view name, const char* text) {
    constexpr std::size_t width = 10;
    std::string lines = text;
    for (std::size_t at = 0; (at = lines.find('\n', at)) != std::string::npos; at += width)
        lines.insert(++at, width, ' ');
    std::string padded(name);
    padded.resize(std::max(padded.size(), width), ' ');
    help += "\n" + padded + lines;
}

void CommandLine::flag(const Flag& flag, bool& to, const char* help) {
    app_->add_flag(flag.name, to, help != nullptr ? help : flag.help);
}

void CommandLine::sync(OutputPaths& paths) {
    flag(sync_flag, paths.sync);
    check([&paths] {
        if (paths.sync && !paths.store) refuse("--sync goes with --store");
    });
}

void CommandLine::outputs(OutputList outputs, OutputPaths& to) {
    for (const OutputOption* const output : outputs) {
        const std::shared_ptr<std::string> text = add_text(output->name, "FILE", output->help).text;
        steps_->push_back([app = app_, files = files_, text, output, &to] {
            if (app->count(output->name) == 0) return;
            const std::string name = output->name;
            if (text->empty()) refuse(name + ": expected the name of a file");
            std::optional<std::string>& path = to.*(output->path);
            path = is_standard_output(*text) ? "-" : *text;
            if (output->file != nullptr && path == "-")
                refuse(name + ": " + output->file + " can't go to standard output");
            files->outputs.push_back(*path);
            if (output->file == nullptr) files->reports.push_back(*path);
            if (output->path == &OutputPaths::archive) files->archive = *path;
        });
    }
}

void CommandLine::new_file(const char* name, const char* values, const char* help,
                           std::string& to) {
    const std::shared_ptr<std::string> text = add_text(name, values, help).text;
    steps_->push_back([app = app_, files = files_, text, name, &to] {
        if (app->count(name) == 0) return;
        if (text->empty() || *text == "-") refuse(std::string(name) + ": expected a new name");
        to = *text;
        files->outputs.push_back(to);
        files->reports.push_back(to);
    });
}

void CommandLine::old_file(const char* name, const char* values, const char* help,
                           std::string& to) {
    const std::shared_ptr<std::string> text = add_text(name, values, help).text;
    steps_->push_back([app = app_, files = files_, text, name, &to] {
        if (app->count(name) == 0) return;
        to = *text;
        files->inputs.push_back({name, &to, false});
    });
}

void CommandLine::new_file(const char* name, const char* values, const char* help,
                           std::optional<std::string>& to) {
    const auto given = std::make_shared<std::string>();
    new_file(name, values, help, *given);
    steps_->push_back([given, &to] {
        if (!given->empty()) to = *given;
    });
}

void CommandLine::old_file(const char* name, const char* values, const char* help,
                           std::optional<std::string>& to) {
    const auto given = std::make_shared<std::string>();
    old_file(name, values, help, *given);
    steps_->push_back([given, app = app_, name, &to] {
        if (app->count(name) > 0) to = *given;
    });
}

void CommandLine::check_files(Files& files, bool has_text) {
    std::string names;
    std::vector<std::string> inputs;
    bool is_missing = false;
    for (const Files::Input& input : files.inputs) {
        names += (names.empty() ? "" : " ") + std::string(input.name);
        inputs.push_back(*input.path);
        is_missing |= input.path->empty() && !input.opens_any;
    }
    if (is_missing)
        refuse(names + (inputs.size() == 1 ? ": expected the name of a file"
                                           : ": expected the names of two files"));
    if (std::count(inputs.begin(), inputs.end(), "-") > 1)
        refuse("only one of the two inputs can be standard input");
    std::vector<std::string>& outputs = files.outputs;
    if (has_text && std::find(outputs.begin(), outputs.end(), "-") == outputs.end())
        outputs.emplace_back("-");
    check_outputs(inputs, outputs);
    check_kept(files);
}

// Inspections that are kept are only added to, or replaced by their own kind of file.
void CommandLine::check_kept(const Files& files) {
    const auto refuse_kept = [](const std::string& path, const char* kind) {
        refuse("the output " + path + " is " + kind + " of inspections, which would be lost");
    };
    for (const std::string& path : files.reports) {
        if (is_store_file(path)) refuse_kept(path, "an object file");
        if (is_archive_file(path)) refuse_kept(path, "an archive");
    }
    if (files.archive && is_store_file(*files.archive))
        refuse_kept(*files.archive, "an object file");
}

void CommandLine::run(std::function<ExitCode()> work, std::function<bool()> has_text) {
    app_->callback([&program = program_, steps = steps_, files = files_, work = std::move(work),
                    has_text = std::move(has_text)] {
        for (const std::function<void()>& step : *steps)
            step();
        check_files(*files, has_text());
        program.run = [work] { return with_sentences(work); };
    });
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
           "  0  everything in tolerance, or no tolerance given\n"
           "  1  something out of tolerance\n"
           "  2  wrong usage\n"
           "  3  an input that can't be understood\n"
           "  4  a file that can't be read or written, standard output included\n";
}

} // namespace velm::inspect
