// Selection flags against a plain vector of bits, and their two archive forms.
#include "velm/measure/selection_flags.h"

#include "support/archives.h"

#include <algorithm>
#include <vector>

namespace {

using namespace velm_test;
using Model = std::vector<bool>;

Model model_of(const gmBinaryFlagsEx& flags) {
    Model model;
    for (int n = 0; n < flags.size(); ++n)
        model.push_back(flags.get(n));
    return model;
}

void resize(Model& model, int size, bool value) {
    model.resize(static_cast<std::size_t>(size), value);
}

TEST(SelectionFlags, FollowAVectorOfBits) {
    Random random(41);
    gmBinaryFlagsEx flags;
    Model model;
    for (int step = 0; step < 30000; ++step) {
        const int size = static_cast<int>(model.size());
        const int index = random.below(step % 50 == 0 ? 400 : size + 2);
        gmBinaryFlagsEx other;
        Model others(static_cast<std::size_t>(random.below(size + 40)));
        for (std::size_t n = 0; n < others.size(); ++n)
            others[n] = random.below(3) == 0;
        for (std::size_t n = others.size(); n-- > 0;)
            other.set(static_cast<int>(n), others[n]);
        const auto combine = [&](auto op) {
            for (std::size_t n = 0; n < std::min(model.size(), others.size()); ++n)
                model[n] = op(model[n], others[n]);
        };
        const bool value = random.below(2) == 1;
        switch (random.below(16)) {
        case 0:
            flags.set_all(value), std::fill(model.begin(), model.end(), value);
            break;
        case 1:
            flags.resize(index), resize(model, index, false);
            break;
        case 2: // an n between 0 and the size would give a count that is wrong, intended
            flags.negate(index < size ? 0 : index);
            model.flip();
            resize(model, std::max(index, size), true);
            break;
        case 3:
            flags |= other;
            if (others.size() > model.size()) resize(model, static_cast<int>(others.size()), false);
            combine([](bool a, bool b) { return a || b; });
            break;
        case 4:
            flags &= other;
            combine([](bool a, bool b) { return a && b; });
            if (others.size() < model.size()) resize(model, static_cast<int>(others.size()), false);
            break;
        case 5:
            flags.subtract(other);
            combine([](bool a, bool b) { return a && !b; });
            if (std::count(model.begin(), model.end(), true) == 0) model.clear();
            break;
        case 6: {
            flags.erase(other);
            std::size_t kept = 0;
            for (std::size_t n = 0; n < model.size(); ++n) {
                if (n >= others.size() || !others[n]) model[kept++] = model[n];
            }
            model.resize(kept);
            break;
        }
        case 7:
            flags.num_of_selected_points();
            break;
        default:
            if (index >= size) resize(model, index + 1, false);
            model[static_cast<std::size_t>(index)] = value;
            flags.set(index, value);
        }
        ASSERT_EQ(model_of(flags), model);
        ASSERT_FALSE(flags.get(-1) || flags.get(flags.size()));
        const auto count = std::count(model.begin(), model.end(), true);
        ASSERT_EQ(flags.count_selected_points(), count);
        if (step % 3 == 0) flags.num_of_selected_points();
        ASSERT_EQ(gmBinaryFlagsEx(flags).num_of_selected_points(), count);
        gmBinaryFlagsEx rebuilt(flags, utCopy);
        rebuilt.set_all(true);
        for (int n = 0; n < rebuilt.size(); ++n)
            rebuilt.set(n, model[static_cast<std::size_t>(n)]);
        ASSERT_TRUE(rebuilt == flags) << "bits beyond the size decide nothing";
    }
}

TEST(SelectionFlags, KeepTheirCountsAsTheyAre) {
    gmBinaryFlagsEx flags({2, 5, 2, -1});
    EXPECT_EQ(flags.num_of_selected_points(), 4) << "repeats are not looked for";
    EXPECT_EQ(flags.count_selected_points(), 2);
    flags.negate(5);
    EXPECT_EQ(flags.num_of_selected_points(), 1) << "5 less the count of 4";
    gmBinaryFlagsEx first;
    first.set(6, true);
    EXPECT_EQ(archived([&](CArchive& archive) { first.serialize(archive); }),
              bytes_of(WORD{7}, BYTE{0}, WORD{0}, WORD{0}, BYTE{0}, BYTE{1}, BYTE{0}, DWORD{1}));
    gmBinaryFlagsEx taken;
    taken |= flags;
    EXPECT_EQ(taken.num_of_selected_points(), 1) << "an empty vector takes the count too";
}

TEST(SelectionFlags, LoadBothForms) {
    const auto load = [](CArchive& archive, gmBinaryFlagsEx& flags) { flags.serialize(archive); };
    gmBinaryFlagsEx flags;
    const std::string newest = bytes_of(WORD{3}, BYTE{1}, BYTE{0}, BYTE{9}, BYTE{1}, DWORD{77});
    EXPECT_EQ(load_cause(newest, [&](CArchive& archive) { load(archive, flags); }), 0);
    EXPECT_EQ(model_of(flags), (Model{true, false, true}));
    EXPECT_EQ(archived([&](CArchive& archive) { load(archive, flags); }),
              bytes_of(WORD{3}, BYTE{1}, BYTE{0}, BYTE{1}, BYTE{1}, DWORD{77}));
    EXPECT_EQ(flags.num_of_selected_points(), 2) << "the stored count was stale";
    expect_damage_refused(newest, gmBinaryFlagsEx({4}), load);

    gmBinaryFlagsEx::set_loading_version(1);
    const std::string old = bytes_of(DWORD{2}, BYTE{0x81}, BYTE{0x02}, DWORD{10});
    EXPECT_EQ(load_cause(old, [&](CArchive& archive) { load(archive, flags); }), 0);
    EXPECT_TRUE(flags == gmBinaryFlagsEx({0, 7, 9}));
    EXPECT_EQ(flags.num_of_selected_points(), 3);
    expect_damage_refused(old, gmBinaryFlagsEx({4}), load);
    EXPECT_NE(load_cause(bytes_of(DWORD{1}, BYTE{1}, DWORD{9}),
                         [&](CArchive& archive) { load(archive, flags); }),
              0);
    EXPECT_EQ(load_cause(bytes_of(DWORD{0}), [&](CArchive& archive) { load(archive, flags); }), 0);
    EXPECT_TRUE(flags.empty());
    gmBinaryFlagsEx::restore_loading_version();
}

} // namespace
