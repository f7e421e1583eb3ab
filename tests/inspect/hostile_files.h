// Files that were damaged, and what the program makes of them.
#pragma once

#include "inspect/workshop.h"

namespace velm_test {

/// A file cut at every twentieth; and `rounds` of each: numbers that are none or too large, some
/// other bytes, and others after its first hundred.
inline std::vector<std::string> damaged_files(const std::string& good, Random& draw, int rounds) {
    std::vector<std::string> files;
    for (std::size_t part = 0; part < 20; ++part)
        files.push_back(good.substr(0, good.size() * part / 20));
    const auto place = [&] { return draw.next() % good.size(); };
    for (int round = 0; round < rounds; ++round) {
        for (const char* const number : {"nan", "-inf", "1e999", "-1", "99999999999", ""}) {
            const auto from = std::min(good.find_first_of("0123456789", place()), good.size());
            const auto to = std::min(good.find_first_not_of("0123456789.", from), good.size());
            files.push_back(std::string(good).replace(from, to - from, number));
        }
        std::string bytes = good, tail = good.substr(0, 100);
        for (int n = draw.below(8); n >= 0; --n)
            bytes[place()] = static_cast<char>(draw.next());
        while (tail.size() < 3000)
            tail += static_cast<char>(draw.next());
        files.push_back(bytes);
        files.push_back(tail);
    }
    return files;
}

/// Whether `surface ARGUMENTS` ends with a documented code: in one sentence with nothing left, or
/// with whole outputs. `bytes` are those of the damaged file, which a failure prints.
inline void expect_defined_end(const Workshop& shop, const std::string& arguments,
                               const std::string& bytes) {
    const std::vector<std::string> before = shop.names();
    const Ended ended = shop.run("surface " + arguments + " --json new --store new2 --quiet");
    SCOPED_TRACE(arguments + "\n" + ended.error + bytes.substr(0, 3000));
    EXPECT_EQ(ended.out, "");
    if (ended.code == 0 || ended.code == 1) {
        EXPECT_EQ(shop.read_json("new")["command"], "surface");
        const Ended check = shop.run("store new2 --check");
        EXPECT_EQ(check.code, 0) << check.out << check.error;
        for (const std::string& name : shop.names())
            if (std::find(before.begin(), before.end(), name) == before.end())
                std::filesystem::remove(shop.path(name));
        return;
    }
    EXPECT_TRUE(ended.code == 3 || ended.code == 4) << ended.code;
    EXPECT_EQ(ended.error.rfind("velm-inspect: ", 0), 0);
    EXPECT_EQ(std::count(ended.error.begin(), ended.error.end(), '\n'), 1);
    EXPECT_EQ(shop.names(), before);
}

} // namespace velm_test
