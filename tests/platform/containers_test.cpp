// The containers and names of a host's libraries: page array and hash table against the standard
// library's over random operations, the order of names as an order, hashes against published ones.
#include "support/test.h"
#include "velm/platform/hash_table.h"
#include "velm/platform/name_comparison.h"
#include "velm/platform/page_array.h"

namespace {

using velm_test::Random;

TEST(PageArray, FollowsAVectorAndNeverMovesAnElement) {
    Random random(31);
    for (const int shift : {0, 2, 8}) {
        coPageArr<std::string> array(shift, 1, 2);
        std::vector<std::string> model;
        std::vector<const std::string*> places;
        for (int step = 0; step < 2000; ++step) {
            const std::string two[] = {std::to_string(step), "x"};
            const int at = random.below(array.length() + 4);
            const std::size_t place = static_cast<std::size_t>(at);
            const auto put = [&] {
                model.resize(std::max(model.size(), place + 1)), model[place] = two[0];
            };
            const std::function<void()> edits[] = {
                [&] { put(), array[at] = two[0]; },
                [&] { put(), array.enter(at, two[0]); },
                [&] {
                    model.resize(std::max(model.size(), place + 2));
                    std::copy(two, two + 2, model.begin() + at);
                    array.copyin(at, two, 2);
                },
                [&] { array.expand(2), model.resize(model.size() + 2); },
                [&] { array.reverse(), std::reverse(model.begin(), model.end()); },
                [&] { // new elements are default ones, though the blocks may have stayed
                    const int freed = random.below(2);
                    array.shrink(at, freed), model.resize(array.size());
                    if (freed != 0) places.clear();
                },
            };
            edits[random.below(step % 100 == 0 ? 6 : 4)]();
            ASSERT_TRUE(std::equal(array.begin(), array.end(), model.begin(), model.end()))
                << "shift " << shift << " step " << step;
            for (std::size_t n = 0; n < model.size(); ++n) {
                const std::string* const now = &array[static_cast<int>(n)];
                if (n == places.size()) places.push_back(now);
                ASSERT_EQ(places[n], now);
            }
        }
        auto expected = model.begin();
        coPageArrIterator<std::string> walk(array);
        for (; walk; ++walk)
            ASSERT_EQ(walk(), *expected++);
        EXPECT_EQ(expected, model.end());
        walk.do_first();
        for (int block = 0; walk; walk.next_block())
            EXPECT_EQ(walk.index(), block++ << shift);
        coPageArr<std::string> copy(array, utCopy);
        copy.shrink(3, 1);
        copy.repaginate();
        EXPECT_EQ(copy.shift(), std::min(shift, 2));
        EXPECT_TRUE(copy.copyout(1, model.data(), 9) == 2 && model[1] == array[2]);
    }
}

// Many keys share a hash, so that probes run into each other.
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
    // In order, each before all that follow: numbers by value, regardless of their length; the code
    // of a stray byte is its own (E9 before U+00EA and after U+00E9 written out); ties by bytes.
    std::istringstream in(
        "! 0 007 07 7 7a2 7a10 18446744073709551615 18446744073709551616 A2 a a1 a01b "
        "a1b a2 a10 a10/2 a10\\2 \xC3\xA8 \xC3\xA9 \xE9 \xC3\xAA \xE2\x82\xAC "
        "\xF0\x9D\x84\x9E");
    const std::vector<std::string> sorted(std::istream_iterator<std::string>(in), {});
    const hxuLogicalStringCompare compare;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t j = 0; j < sorted.size(); ++j)
            EXPECT_EQ(compare(sorted[i], sorted[j]), (i > j) - (i < j)) << i << ' ' << j;
    }
    // Any bytes: an order.
    Random random(33);
    const std::string letters = "0123a/\\\xC3\xA9\xE2\x82\xED\xA0\xF0\x90\xFF";
    for (int n = 0; n < 50000; ++n) {
        std::array<std::string, 3> three;
        for (std::string& text : three) {
            for (int length = random.below(6); length > 0; --length)
                text += letters[random.next() % letters.size()];
        }
        std::sort(three.begin(), three.end(),
                  [&](const auto& a, const auto& b) { return compare(a, b) < 0; });
        const auto& [a, b, c] = three;
        ASSERT_TRUE(compare(a, b) <= 0 && compare(b, c) <= 0 && compare(a, c) <= 0);
        ASSERT_TRUE((compare(c, a) == 0) == (a == c) && compare(c, a) == -compare(a, c));
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
