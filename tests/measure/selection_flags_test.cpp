// Selection flags against a plain vector of bits, and their two archive forms.
#include "velm/measure/selection_flags.h"

#include "support/archives.h"

namespace {

using namespace velm_test;
using Model = std::vector<bool>;

Model model_of(const gmBinaryFlagsEx& flags) {
    Model model;
    for (int n = 0; n < flags.size(); ++n)
        model.push_back(flags.get(n));
    return model;
}

TEST(SelectionFlags, FollowAVectorOfBits) {
    Random random(41);
    gmBinaryFlagsEx flags;
    Model model;
    for (int step = 0; step < 30000; ++step) {
        const int index = random.below(step % 50 == 0 ? 400 : flags.size() + 2);
        const auto place = static_cast<std::size_t>(index);
        const bool value = random.below(2) == 1;
        gmBinaryFlagsEx other;
        for (int n = random.below(flags.size() + 40); n-- > 0;)
            other.set(n, random.below(3) == 0);
        Model others = model_of(other);
        const auto merge = [&](auto operation) {
            std::transform(model.begin(), model.end(), others.begin(), model.begin(), operation);
        };
        const std::function<void()> edits[] = {
            [&] { flags.set_all(value), model.assign(model.size(), value); },
            [&] { flags.resize(index), model.resize(place); },
            [&] { // between 0 and the size the count is wrong: part of the contract
                flags.negate(place < model.size() ? 0 : index);
                model.flip(), model.resize(std::max(place, model.size()), true);
            },
            [&] {
                flags |= other;
                model.resize(std::max(model.size(), others.size())), others.resize(model.size());
                merge(std::logical_or<>());
            },
            [&] {
                flags &= other, model.resize(std::min(model.size(), others.size()));
                merge(std::logical_and<>());
            },
            [&] {
                flags.subtract(other), others.resize(model.size());
                merge(std::greater<>());
                if (std::count(model.begin(), model.end(), true) == 0) model.clear();
            },
            [&] {
                flags.erase(other), others.resize(model.size());
                std::size_t n = 0;
                std::erase_if(model, [&](bool) { return bool(others[n++]); });
            },
        };
        if (random.below(2) == 0) {
            random.one_of(edits)();
        } else {
            model.resize(std::max(model.size(), place + 1)), model[place] = value;
            flags.set(index, value);
        }
        ASSERT_EQ(model_of(flags), model) << "step " << step;
        const auto count = std::count(model.begin(), model.end(), true);
        if (value) flags.num_of_selected_points();
        ASSERT_EQ(gmBinaryFlagsEx(flags, utCopy).num_of_selected_points(), count);
        ASSERT_FALSE(flags.get(-1) || flags.get(flags.size()));
    }
}

TEST(SelectionFlags, KeepCountsAsTheyAreAndLoadBothForms) {
    const auto serialize = [](CArchive& archive, auto& flags) { flags.serialize(archive); };
    gmBinaryFlagsEx flags({2, 5, 2, -1}), taken;
    EXPECT_EQ(flags.num_of_selected_points(), 4) << "repeats are not looked for";
    flags.negate(5);
    taken |= flags;
    EXPECT_EQ(taken.num_of_selected_points(), 1) << "5 less the count of 4, taken over";
    expect_loaded(bytes_of(WORD{3}, BYTE{1}, BYTE{0}, BYTE{9}, BYTE{1}, DWORD{77}), flags,
                  serialize);
    EXPECT_EQ(archived([&](CArchive& archive) { flags.serialize(archive); }),
              bytes_of(WORD{3}, BYTE{1}, BYTE{0}, BYTE{1}, BYTE{1}, DWORD{77}));
    EXPECT_TRUE(flags == gmBinaryFlagsEx({0, 2}) && flags.num_of_selected_points() == 2);

    gmBinaryFlagsEx::set_loading_version(1);
    expect_loaded(bytes_of(DWORD{2}, BYTE{0x81}, BYTE{0x02}, DWORD{10}), flags, serialize);
    EXPECT_TRUE(flags == gmBinaryFlagsEx({0, 7, 9}) && flags.num_of_selected_points() == 3);
    const auto load = [&](CArchive& archive) { flags.serialize(archive); };
    EXPECT_NE(load_cause(bytes_of(DWORD{1}, BYTE{1}, DWORD{9}), load), 0) << "too many bits";
    EXPECT_EQ(load_cause(bytes_of(DWORD{0}), load), 0);
    EXPECT_TRUE(flags.empty());
    gmBinaryFlagsEx::restore_loading_version();
    // A count from an archive may be any number.
    EXPECT_EQ(load_cause(bytes_of(WORD{1}, BYTE{1}, BYTE{0}, DWORD{0x80000000}), load), 0);
    flags.negate();
    EXPECT_TRUE(flags.size() == 1 && !flags.get(0));
    taken = std::move(flags);
    EXPECT_TRUE(taken.size() == 1 && flags.empty() && !flags.get(0)) << "moved: no bits, no count";
}

} // namespace
