#include "inspect/input/cad_import.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace velm::inspect {
namespace {

namespace fs = std::filesystem;

constexpr const char* importer = "velm-cad-import";

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool is_program(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

// Beside this program, as they are installed or built, then in PATH; empty if it is nowhere.
std::string find_importer() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        const fs::path folder = self.parent_path();
        for (const fs::path& beside : {folder / importer, folder / ".." / "cad" / importer})
            if (is_program(beside)) return beside;
    }
    const char* const path = std::getenv("PATH");
    std::string_view rest = path != nullptr ? path : "";
    while (!rest.empty()) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
        if (!folder.empty() && is_program(fs::path(folder) / importer))
            return fs::path(folder) / importer;
    }
    return {};
}

// Its last line without its name: the sentence that ends it.
std::string last_sentence(const std::string& said) {
    std::string_view text = said;
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    text = text.substr(text.rfind('\n') + 1);
    const std::string own = std::string(importer) + ": ";
    if (text.starts_with(own)) text.remove_prefix(own.size());
    return std::string(text);
}

void require_good(const ProcessEnd& end, const std::string& cad_file, const ProcessLimits& limits) {
    const auto refuse = [&](const std::string& why) {
        throw Failure(FailureKind::input,
                      cad_file + ": the reader of CAD files, " + importer + ", " + why);
    };
    if (end.timed_out)
        refuse("was ended: it took longer than " + shortest(limits.seconds) + " seconds");
    if (WIFSIGNALED(end.status)) {
        const int signal = WTERMSIG(end.status);
        refuse(signal == SIGKILL ? "was killed, as by a system that is short of memory"
                                 : "crashed on it (signal " + std::to_string(signal) + ")");
    }
    const int code = WEXITSTATUS(end.status);
    if (code == 0) return;
    const std::string why = last_sentence(end.said);
    if (why.find("memory is not enough") != std::string::npos)
        refuse("needed more than " + grouped(limits.bytes >> 20, ",") + " MiB of memory");
    constexpr int not_understood = 3, unreadable = 4; // with a sentence of its own
    if (why.empty() || (code != not_understood && code != unreadable))
        refuse("ended with code " + std::to_string(code) + (why.empty() ? "" : ": " + why));
    throw Failure(code == unreadable ? FailureKind::file : FailureKind::input, why);
}

} // namespace

bool is_cad_file(const std::string& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return false;
    std::string start(256, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(file.gcount()));
    const bool is_step = start.find("ISO-10303-21") != std::string::npos;
    const bool is_brep = start.find("DBRep_DrawableShape") != std::string::npos ||
                         start.find("CASCADE Topology") != std::string::npos;
    constexpr std::size_t section_column = 72; // of a line of IGES
    const bool is_iges = start.size() > section_column && start[section_column] == 'S' &&
                         start.substr(0, section_column).find('\n') == std::string::npos;
    if (is_step || is_brep || is_iges) return true;
    const std::string extension = lower_case(fs::path(path).extension());
    for (const char* const known : {".step", ".stp", ".iges", ".igs", ".brep", ".brp"})
        if (extension == known) return true;
    return false;
}

ImportedPart::ImportedPart(const std::string& cad_file, bool skip_bad, const ProcessLimits& limits)
    : path_(folder_.path() + "/part.velm") {
    const std::string program = find_importer();
    if (program.empty())
        throw Failure(FailureKind::input, cad_file + ": is a CAD file, for which " + importer +
                                              " is needed beside velm-inspect or in PATH; it isn't "
                                              "there");
    std::vector<std::string> words{program};
    if (skip_bad) words.emplace_back("--skip-bad");
    for (const std::string& word : {std::string("--"), cad_file, path_})
        words.push_back(word);
    require_good(run_limited(std::move(words), limits), cad_file, limits);
}

} // namespace velm::inspect
