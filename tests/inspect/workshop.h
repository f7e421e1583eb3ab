// A folder of its own for a test, and the program run in it as a user would.
#pragma once

#include "inspect/sentences.h"
#include "support/temporary_folder.h"

#include <nlohmann/json.hpp>
#include <sys/wait.h>

namespace velm_test {

struct Ended {
    int code = -1;
    std::string out, error;
};

class Workshop {
public:
    std::filesystem::path path(const std::string& name) const { return folder_.path(name); }
    void write(const std::string& name, const std::string& text) const { folder_.file(name, text); }
    std::string read(const std::string& name) const {
        return TemporaryFolder::bytes_of(folder_.path(name));
    }
    nlohmann::json read_json(const std::string& name) const {
        return nlohmann::json::parse(read(name));
    }
    /// The names in the folder, hidden ones too, but for those of `run` itself.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path(".")))
            if (const std::string name = entry.path().filename().string(); name[0] != '_')
                names.push_back(name);
        std::sort(names.begin(), names.end());
        return names;
    }
    /// Runs `velm-inspect ARGUMENTS` by the shell, in the folder; redirections may follow.
    Ended run(const std::string& arguments) const {
        const std::string command = "cd '" + folder_.path(".") +
                                    "' && { '" VELM_INSPECT_PROGRAM "' " + arguments +
                                    "; } >_out 2>_error";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read("_out"), read("_error")};
    }
    /// Runs it and expects the exit code, this in one sentence, no table and no new file.
    void refused(const std::string& arguments, int code, const std::string& why) const {
        const std::vector<std::string> before = names();
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.code, code) << arguments;
        EXPECT_EQ(ended.out, "");
        EXPECT_TRUE(has(ended.error, why)) << arguments;
        EXPECT_EQ(std::count(ended.error.begin(), ended.error.end(), '\n'), 1) << ended.error;
        EXPECT_EQ(names(), before) << arguments;
    }
    /// Runs with an output of each kind: the exit code, what is said, and each of the outputs.
    std::vector<std::string> run_with_outputs(std::string arguments,
                                              const std::vector<std::string>& kinds = {
                                                  "json", "csv", "svg", "html"}) const {
        for (const std::string& kind : kinds)
            arguments += " --" + kind + " out." + kind;
        const Ended ended = run(arguments);
        std::vector<std::string> made{std::to_string(ended.code), ended.out};
        for (const std::string& kind : kinds)
            made.push_back(read("out." + kind));
        return made;
    }

private:
    TemporaryFolder folder_;
};

/// A square of side 10 with a square hole of side 2 in its middle, turned the other way.
inline constexpr const char* plate = "plate\n0 0\n10 0\n10 10\n0 10\n\n4 4\n4 6\n6 6\n6 4\n";

} // namespace velm_test
