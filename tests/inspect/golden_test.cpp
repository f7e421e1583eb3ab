// Every command with every output, byte by byte: the lines of golden/commands.txt run one after the
// other in a folder that starts with golden/input; what they say and each file they leave is
// compared with golden/expected. VELM_UPDATE_GOLDEN=1 writes golden/expected instead: for changes
// that are meant, in a commit of their own.
#include "inspect/workshop.h"
#include "support/block_part.h"

namespace {

namespace fs = std::filesystem;
using velm_test::TemporaryFolder;

const fs::path golden = fs::path(VELM_TEST_FOLDER) / "inspect" / "golden";

std::set<std::string> files_below(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) names.insert(fs::relative(entry.path(), folder).string());
    return names;
}

// The first line in which two texts differ, for a failure that is read by a person.
std::string first_difference(const std::string& expected, const std::string& found) {
    std::istringstream left(expected), right(found);
    std::string a, b;
    for (int number = 1;; ++number) {
        const bool has_a = !std::getline(left, a).fail(), has_b = !std::getline(right, b).fail();
        if (has_a != has_b || a != b)
            return "line " + std::to_string(number) + "\n  expected: " + a + "\n  found:    " + b;
        if (!has_a) return "the ends differ";
    }
}

TEST(Golden, EveryOutputOfEveryCommandKeepsItsBytes) {
    const velm_test::Workshop shop;
    fs::copy(golden / "input", shop.path("."));
    velm_test::Block::save(shop.path("block.velm"));
    std::set<std::string> inputs = files_below(golden / "input");
    inputs.insert("block.velm");
    std::ifstream commands(golden / "commands.txt");
    std::string said;
    for (std::string line; std::getline(commands, line);) {
        const velm_test::Ended ended = shop.run(line);
        said += "$ velm-inspect " + line + "\n" + ended.out + ended.error + "exit " +
                std::to_string(ended.code) + "\n\n";
    }
    shop.write("said.txt", said);

    const std::string again = "again_"; // what `report` writes again is what the run wrote
    const fs::path expected = golden / "expected";
    std::set<std::string> names;
    for (const std::string& name : files_below(shop.path(".")))
        if (name[0] != '_' && inputs.count(name) == 0) names.insert(name);
    if (std::getenv("VELM_UPDATE_GOLDEN") != nullptr) {
        fs::remove_all(expected);
        for (const std::string& name : names) {
            if (name.starts_with(again)) continue;
            fs::create_directories((expected / name).parent_path());
            fs::copy(shop.path(name), expected / name);
        }
    }
    for (const std::string& name : names) {
        const fs::path file =
            expected / (name.starts_with(again) ? name.substr(again.size()) : name);
        ASSERT_TRUE(fs::exists(file)) << name << " is new";
        const std::string found = shop.read(name);
        const std::string wanted = TemporaryFolder::bytes_of(file.string());
        EXPECT_TRUE(found == wanted) << name << ", " << first_difference(wanted, found);
    }
    for (const std::string& name : files_below(expected))
        EXPECT_EQ(names.count(name), 1) << name << " was not written";
}

} // namespace
