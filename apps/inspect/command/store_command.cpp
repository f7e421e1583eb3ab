#include "inspect/command/store_command.h"

#include <memory>

#include "inspect/base/output_set.h"
#include "inspect/inspection/store_tools.h"

namespace velm::inspect {
namespace {

constexpr const char* examples = "Examples:\n"
                                 "  velm-inspect store parts.velm\n"
                                 "      what the file holds\n"
                                 "  velm-inspect store parts.velm --check\n"
                                 "      whether it is sound, each fault with its offset\n"
                                 "  velm-inspect store parts.velm --export objects\n"
                                 "      each object as a text in a new folder\n"
                                 "  velm-inspect store parts.velm --salvage rebuilt.velm\n"
                                 "      a clean file with all that can be had of a damaged one\n";

// The texts of the command line, before they are understood.
struct Texts {
    StoreOptions options;
    bool check = false;
    std::string export_to, salvage_to, compact_to, json;
};

StoreOptions understand(const CLI::App& store, const Texts& texts) {
    StoreOptions options = texts.options;
    const auto choose = [&](const char* name, StoreMode mode, const std::string& target) {
        if (store.count(name) == 0) return;
        if (options.mode != StoreMode::list)
            throw Failure(ExitCode::usage,
                          "--check, --export, --salvage and --compact exclude each other");
        options.mode = mode;
        options.target = target;
        if (mode != StoreMode::check && (target.empty() || target == "-"))
            throw Failure(ExitCode::usage, std::string(name) + ": expected a new name");
    };
    choose("--check", StoreMode::check, "");
    choose("--export", StoreMode::export_texts, texts.export_to);
    choose("--salvage", StoreMode::salvage, texts.salvage_to);
    choose("--compact", StoreMode::compact, texts.compact_to);
    if (options.orphans && options.mode != StoreMode::salvage)
        throw Failure(ExitCode::usage, "--orphans goes with --salvage");
    std::vector<std::string> outputs;
    if (!options.target.empty()) outputs.push_back(options.target);
    if (store.count("--json") > 0) {
        if (texts.json.empty())
            throw Failure(ExitCode::usage, "--json: expected the name of a file");
        options.json = texts.json;
        outputs.push_back(texts.json);
    }
    check_outputs({options.file}, outputs);
    return options;
}

} // namespace

void add_store_command(CLI::App& app, Command& command) {
    CLI::App* const store = app.add_subcommand("store", "What an object file holds");
    store->formatter(std::make_shared<HelpText>(examples));
    store->footer("FILE is never written. NEW and DIR must not exist.\n\n" + exit_codes_text());

    const auto texts = std::make_shared<Texts>();
    store->add_option("FILE", texts->options.file, "The object file")->required()->type_name("");
    store->add_flag("--check", texts->check,
                    "Walks everything and names each fault with its\n"
                    "offset; exits with 3 when there is one");
    store
        ->add_option("--export", texts->export_to, "Writes each object as UTF-8 text, ID-CLASS.txt")
        ->type_name("DIR");
    store->add_option("--salvage", texts->salvage_to, "Rebuilds a clean file from what can be had")
        ->type_name("NEW");
    store->add_flag("--orphans", texts->options.orphans,
                    "With --salvage: restores blocks that look like\n"
                    "records and that no tree names, too");
    store->add_option("--compact", texts->compact_to, "The same objects without free space")
        ->type_name("NEW");
    store->add_option("--json", texts->json, "Writes what is told as JSON")->type_name("FILE");
    store->callback([store, texts, &command] {
        command = [options = understand(*store, *texts)] { return run_store(options); };
    });
}

} // namespace velm::inspect
