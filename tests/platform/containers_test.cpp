// The containers and names of a host's libraries: page array and hash table against the standard
// library's over random operations, the order of names as an order, hashes against published ones.
#include "velm/platform/hash_table.h"
#include "velm/platform/name_comparison.h"
#include "velm/platform/page_array.h"

#include "support/random.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace {

using velm_test::Random;

TEST(PageArray, FollowsAVectorAndNeverMovesAnElement) {
    Random random(31);
    for (const int shift : {0, 2, 8}) {
        coPageArr<std::string> array(shift, 1, 2);
        std::vector<std::string> model;
        std::vector<const std::string*> places;
        for (int step = 0; step < 2000; ++step) {
            const int at = random.below(static_cast<int>(model.size()) + 4);
            const std::string value = std::to_string(step);
            const auto grow_to = [&](int size) {
                if (size > array.length()) model.resize(static_cast<std::size_t>(size));
            };
            switch (random.below(step % 100 == 0 ? 9 : 5)) {
            case 0:
                grow_to(at + 1), array[at] = model[std::size_t(at)] = value;
                break;
            case 1:
                model.push_back(value), array.append(value);
                break;
            case 2:
                grow_to(at + 1), model[std::size_t(at)] = value, array.enter(at, value);
                break;
            case 3:
                array.expand(2), model.resize(model.size() + 2);
                break;
            case 4: {
                const std::string two[] = {value, "x"};
                grow_to(at + 2);
                std::copy(two, two + 2, model.begin() + at);
                array.copyin(at, two, 2);
                break;
            }
            case 5:
                array.reverse(), std::reverse(model.begin(), model.end());
                break;
            case 6: // new elements are default ones, though the blocks stayed
                array.shrink(at, 0);
                model.resize(std::min(model.size(), std::size_t(at)));
                break;
            case 7:
                array.shrink(at, 1), model.resize(array.size()), places.clear();
                break;
            case 8:
                array.clear(random.below(2)), model.clear(), places.clear();
                break;
            }
            ASSERT_TRUE(std::equal(array.begin(), array.end(), model.begin(), model.end()));
            for (std::size_t n = 0; n < std::min(places.size(), model.size()); ++n)
                ASSERT_EQ(places[n], &array[static_cast<int>(n)]);
            for (std::size_t n = places.size(); n < model.size(); ++n)
                places.push_back(&array[static_cast<int>(n)]);
        }
        std::vector<std::string> walked, firsts(2000);
        coPageArrIterator<std::string> walk(array);
        for (; walk; ++walk)
            walked.push_back(walk());
        EXPECT_EQ(walked, model);
        int blocks = 0;
        walk.do_first();
        for (bool more = !!walk; more; more = walk.next_block())
            EXPECT_EQ(walk.index(), blocks++ << shift);
        EXPECT_EQ(blocks, (array.length() + (1 << shift) - 1) >> shift);
        coPageArr<std::string> copy(array, utCopy);
        copy.shrink(3, 1);
        copy.repaginate();
        EXPECT_EQ(copy.shift(), shift > 2 ? 2 : shift);
        EXPECT_EQ(copy.copyout(1, firsts.data(), 9), 2);
        EXPECT_EQ(firsts[1], model[2]);
    }
}

/// Many keys share a hash, so that probes run into each other.
struct Key {
    int number = 0;
    bool operator==(const Key&) const = default;
};
DWORD co_hash(const Key& key) { return static_cast<DWORD>(key.number % 37) * 0x9E3779B1u; }

TEST(HashTable, FollowsAMapAndKeepsItsElementsInPlace) {
    Random random(32);
    coTable<Key, int> table;
    std::map<int, int> model;
    std::map<int, const int*> places;
    EXPECT_EQ(table.read({1}), 0);
    EXPECT_FALSE(table.remove({1}));
    for (int step = 0; step < 20000; ++step) {
        const Key key{random.below(step < 10000 ? 300 : 40)};
        const bool known = model.count(key.number) != 0;
        ASSERT_EQ(table.member(key), known);
        ASSERT_EQ(table.read(key), known ? model[key.number] : 0);
        if (random.below(3) == 0) {
            ASSERT_EQ(table.remove(key), known);
            model.erase(key.number);
            places.erase(key.number);
        } else {
            table[key] = model[key.number] = step;
            ASSERT_EQ(places.try_emplace(key.number, &table[key]).first->second, &table[key]);
        }
        ASSERT_EQ(table.size(), model.size());
    }
    std::map<int, int> walked;
    coTable<Key, int> copy;
    copy.become(table);
    table.clear();
    for (coTableIterator2<Key, int> walk(copy); walk; ++walk)
        walked[walk.index().number] = walk();
    EXPECT_EQ(walked, model);
    EXPECT_TRUE(table.empty() && !table.member({1}));
}

TEST(Names, AreOrderedByNumbersThenCodesThenBytes) {
    // In order, each before all that follow: numbers by value, whatever their length; the code of a
    // stray byte is its own (E9 before U+00EA and behind U+00E9 written out); ties by bytes.
    const std::vector<std::string> sorted = {"",
                                             "!",
                                             "0",
                                             "007",
                                             "07",
                                             "7",
                                             "7a2",
                                             "7a10",
                                             "18446744073709551615",
                                             "18446744073709551616",
                                             "A2",
                                             "a",
                                             "a1",
                                             "a01b",
                                             "a1b",
                                             "a2",
                                             "a10",
                                             "a10/2",
                                             "a10\\2",
                                             "\xC3\xA8",
                                             "\xC3\xA9",
                                             "\xE9",
                                             "\xC3\xAA",
                                             "\xE2\x82\xAC",
                                             "\xF0\x9D\x84\x9E"};
    const hxuLogicalStringCompare compare;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t j = 0; j < sorted.size(); ++j)
            EXPECT_EQ(compare(sorted[i], sorted[j]), (i > j) - (i < j)) << i << ' ' << j;
    }
    // Any bytes: an order.
    Random random(33);
    const std::string letters = "0123a/\\\xC3\xA9\xE2\x82\xED\xA0\xF0\x90\xFF";
    const auto name = [&] {
        std::string text(static_cast<std::size_t>(random.below(6)), ' ');
        for (char& c : text)
            c = letters[random.next() % letters.size()];
        return text;
    };
    for (int n = 0; n < 50000; ++n) {
        std::array<std::string, 3> three = {name(), name(), name()};
        std::sort(three.begin(), three.end(),
                  [&](const auto& a, const auto& b) { return compare(a, b) < 0; });
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                const std::string &a = three[std::size_t(i)], &b = three[std::size_t(j)];
                ASSERT_EQ(compare(a, b), a == b ? 0 : i < j ? -1 : 1) << a << "|" << b;
            }
        }
    }
}

TEST(Names, HashAsPublished) {
    std::ifstream vectors(VELM_REAL_DATA "/strings/fnv1a_vectors.csv");
    if (!vectors) GTEST_SKIP() << "no " VELM_REAL_DATA;
    std::string line;
    int count = 0;
    for (std::getline(vectors, line); std::getline(vectors, line); ++count) {
        const std::size_t comma = line.find(',');
        std::string bytes;
        for (std::size_t n = 0; n < comma; n += 2)
            bytes += static_cast<char>(std::stoi(line.substr(n, 2), nullptr, 16));
        const DWORD expected =
            static_cast<DWORD>(std::stoul(line.substr(comma + 1, 8), nullptr, 16));
        EXPECT_EQ(hxu_fnv1a_hash(bytes), expected) << line;
        const std::size_t half = bytes.size() / 2;
        const std::string_view view = bytes;
        EXPECT_EQ(hxu_fnv1a_hash(view.substr(half), hxu_fnv1a_hash(view.substr(0, half))),
                  expected);
    }
    EXPECT_GT(count, 50);
}

} // namespace
