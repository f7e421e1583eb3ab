#include "velm/frame/bit_vec.h"

#include "support/memory_file.h"
#include "support/test.h"

namespace {

using namespace velm_test;
using Model = std::vector<bool>;

ERBitVec made_of(const Model& model, bool dirty_end = false) {
    ERBitVec bits(static_cast<int>(model.size()), dirty_end);
    for (std::size_t i = 0; i < model.size(); ++i)
        bits[static_cast<int>(i)] = model[i];
    return bits;
}
Model model_of(const ERBitVec& bits) {
    Model model;
    for (int i = 0; i < bits.length(); ++i)
        model.push_back(bits.testBit(i));
    return model;
}
// A bit in so many is set.
Model random_model(Random& random, int rarity) {
    Model model;
    for (int n = random.below(70); n > 0; --n)
        model.push_back(random.below(rarity) == 0);
    return model;
}
int first(const Model& model, bool wanted) {
    const auto found = std::find(model.begin(), model.end(), wanted);
    return found == model.end() ? -1 : static_cast<int>(found - model.begin());
}
// Bit by bit: eight bits make a byte, the last one padded with zeros.
unsigned int hash_of(const Model& model) {
    std::uint32_t h = static_cast<std::uint32_t>(model.size());
    for (std::size_t i = 0; i < model.size(); i += 8) {
        std::uint32_t byte = 0;
        for (std::size_t k = i; k < std::min(i + 8, model.size()); ++k)
            byte |= (model[k] ? 1u : 0u) << (k - i);
        h = ((h << 5) | (h >> 27)) ^ byte;
    }
    return h;
}

TEST(BitVec, FollowsAModel) {
    Random random(1521);
    for (int round = 0; round < 3000; ++round) {
        const Model a = random_model(random, 1 + random.below(30)), b = random_model(random, 2);
        const ERBitVec va = made_of(a, round % 2), vb = made_of(b, round % 3 == 0);
        ASSERT_EQ(model_of(va), a);
        ASSERT_EQ(va, made_of(a, round % 2 == 0)) << "what lies beyond the end decides nothing";
        ASSERT_EQ(va == vb, a == b);
        ASSERT_EQ(va.hash(), hash_of(a));
        ASSERT_EQ(va.firstTrue(), first(a, true));
        ASSERT_EQ(va.firstFalse(), first(a, false));
        ASSERT_EQ(va == 0, first(a, true) < 0);
        ASSERT_EQ(va == 1, first(a, false) < 0);

        Model both(a), either(a), one(a), turned(a), resized(a);
        for (std::size_t i = 0; i < a.size(); ++i) {
            const bool other = i < b.size() && b[i];
            both[i] = a[i] && other;
            either[i] = a[i] || other;
            one[i] = a[i] != other;
        }
        turned.flip();
        resized.resize(b.size());
        ERBitVec v = va;
        v.resize(vb.length());
        ASSERT_EQ(model_of(v), resized);
        ASSERT_EQ(model_of(va & vb), both);
        ASSERT_EQ(model_of(va | vb), either);
        ASSERT_EQ(model_of(va ^ vb), one);
        ASSERT_EQ(model_of(!va), turned);

        MemoryFile file;
        va.saveOn(file);
        ASSERT_EQ(file.bytes.size(), va.binaryStoreSize());
        file.SeekToBegin();
        ERBitVec read(3, 1);
        ASSERT_EQ(read.restoreFrom(file), 1);
        ASSERT_EQ(read, va);

        std::stringstream text;
        text << va << "next";
        ASSERT_TRUE(text >> read);
        ASSERT_EQ(read, va);
        std::string rest;
        text >> rest;
        ASSERT_EQ(rest, "next");
    }
}

TEST(BitVec, TextAndBytesAreFixed) {
    ERBitVec bits(27);
    MemoryFile file;
    file << ERBitVec(9, 1);
    EXPECT_EQ(file.bytes, std::string("\x09\0\0\0\xFF\xFF", 6));

    for (const char* other : {"", "1 0]", "[1 2]", "[1 0"}) {
        std::istringstream in(other);
        EXPECT_FALSE(in >> bits) << other;
        EXPECT_EQ(bits.length(), 27);
    }
}

TEST(BitVec, DamagedRecordsLeaveItAsItIs) {
    using namespace std::string_literals;
    for (const std::string& record :
         {""s, "\x09\0\0"s, "\xFF\xFF\xFF\xFF"s, "\xFF\xFF\xFF\x7F\1"s, "\x11\0\0\0\1\1"s}) {
        MemoryFile file(record);
        ERBitVec bits(5, 1);
        EXPECT_EQ(bits.restoreFrom(file), 0);
        EXPECT_EQ(bits, ERBitVec(5, 1));
    }
}

} // namespace
