#include "inspect/command/commands.h"
#include "inspect/inspection/store_tools.h"

#include <memory>

namespace velm::inspect {
namespace {

constexpr const char* store_examples =
    "Examples:\n"
    "  velm-inspect store parts.velm\n"
    "      what the file holds\n"
    "  velm-inspect store parts.velm --check\n"
    "      whether it is sound, each fault with its offset\n"
    "  velm-inspect store parts.velm --export objects\n"
    "      each object as a text in a new folder\n"
    "  velm-inspect store parts.velm --salvage rebuilt.velm\n"
    "      a clean file with all that can be had of a damaged one\n"
    "  velm-inspect store parts.velm --digest parts.digests\n"
    "      a digest of each object, to keep elsewhere\n"
    "  velm-inspect store parts.velm --verify parts.digests\n"
    "      whether each object is still the one that was digested\n";

constexpr Flag check_flag{"--check", "Walks everything and names each fault with its\n"
                                     "offset; exits with 3 if there is one"};
constexpr Flag orphans_flag{"--orphans", "With --salvage: restores blocks that look like\n"
                                         "records and that no tree names, too"};

struct Modes {
    bool check = false;
    std::string texts, salvaged, compacted, digests, verified;
};

void choose_mode(StoreOptions& options, const Modes& modes) {
    const auto choose = [&](bool is_chosen, StoreMode mode, const std::string& target) {
        if (!is_chosen) return;
        if (options.mode != StoreMode::list)
            throw Failure(FailureKind::usage,
                          "--check, --export, --salvage, --compact, --digest and --verify "
                          "exclude each other");
        options.mode = mode;
        options.target = target;
    };
    choose(modes.check, StoreMode::check, "");
    choose(!modes.texts.empty(), StoreMode::export_texts, modes.texts);
    choose(!modes.salvaged.empty(), StoreMode::salvage, modes.salvaged);
    choose(!modes.compacted.empty(), StoreMode::compact, modes.compacted);
    choose(!modes.digests.empty(), StoreMode::digest, modes.digests);
    choose(!modes.verified.empty(), StoreMode::verify, modes.verified);
    if (options.orphans && options.mode != StoreMode::salvage)
        throw Failure(FailureKind::usage, "--orphans goes with --salvage");
}

} // namespace

void add_store_command(Program& program) {
    CommandLine line(program, "store", "What an object file holds", store_examples,
                     "FILE is never written. NEW and DIR must not exist.\n");
    const auto options = std::make_shared<StoreOptions>();
    const auto modes = std::make_shared<Modes>();
    line.input("FILE", "The object file", options->file, true);
    line.flag(check_flag, modes->check);
    line.new_file("--export", "DIR", "Writes each object as UTF-8 text, ID-CLASS.txt",
                  modes->texts);
    line.new_file("--salvage", "NEW",
                  "Rebuilds a clean file from what can be read;\n"
                  "exits with 3 if an object is left out",
                  modes->salvaged);
    line.flag(orphans_flag, options->orphans);
    line.new_file("--compact", "NEW", "The same objects without free space", modes->compacted);
    line.new_file("--digest", "OUT", "Writes a digest of each object", modes->digests);
    line.old_file("--verify", "OUT",
                  "Names each object that differs from its digest,\n"
                  "is missing or is new; exits with 3 if there is one",
                  modes->verified);
    line.outputs({&json_output}, options->paths);
    line.check([options, modes] { choose_mode(*options, *modes); });
    line.run([options] { return run_store(*options) ? ExitCode::good : ExitCode::input; },
             [] { return false; });
}

} // namespace velm::inspect
