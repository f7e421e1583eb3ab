#include "velm/frame/vec_rep.h"

#include "support/random.h"
#include "velm/frame/detail/thread_record.h"
#include "velm/frame/vec_rep_cache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string text_of(const ERVecRep* rep) {
    return {static_cast<const char*>(rep->data()), rep->length()};
}
ERVecRep* body_of(const std::string& text) {
    return ERVecRep::getRep(static_cast<const void*>(text.data()), text.size());
}

/// Runs in a thread of its own, whose cache is empty and has counted nothing.
template <class Action>
void in_fresh_thread(Action action) {
    std::thread([&] { action(*velm::detail::thread_rep_cache()); }).join();
}

/// Sets a tuning value for the life of the object.
class Tuned {
public:
    using Setter = std::size_t (*)(std::size_t);
    Tuned(Setter setter, std::size_t value) : setter_(setter), old_(setter(value)) {}
    Tuned(const Tuned&) = delete;
    Tuned& operator=(const Tuned&) = delete;
    ~Tuned() { setter_(old_); }

private:
    Setter setter_;
    std::size_t old_;
};

TEST(VecRep, CapacityGrowsInSteps) {
    const auto expect = [](std::size_t bytes, std::size_t capacity) {
        EXPECT_EQ(ERVecRep::adjustCapacity(bytes), capacity) << bytes;
    };
    expect(0, 64);
    expect(1, 64);
    expect(64, 64);
    expect(65, 128);
    expect(128, 128);
    expect(0x20000, 0x20000);
    {
        const Tuned initial(ERVecRep::initialCapacity, 100);
        const Tuned step(ERVecRep::resizeIncrement, 30);
        expect(100, 100);
        expect(101, 130);
        expect(130, 130);
        expect(131, 160);
        // Capacities beside the default ones are found in the cache again.
        ERVecRep* const rep = ERVecRep::getRep(101, 1);
        rep->free();
        EXPECT_EQ(ERVecRep::getRep(130, 1), rep);
        rep->free();
    }
    {
        const Tuned step(ERVecRep::resizeIncrement, 0);
        expect(65, 65);
    }
    EXPECT_EQ(ERVecRep::getInitialCapacity(), 64u);
    EXPECT_EQ(ERVecRep::getResizeIncrement(), 64u);
}

TEST(VecRep, RequestsBeyondMemoryThrow) {
    EXPECT_THROW(ERVecRep::getRep(SIZE_MAX - 7, 1), std::bad_array_new_length);
    const double value = 1.0;
    EXPECT_THROW(ERVecRep::getRep(SIZE_MAX / 4, 8, &value), std::bad_array_new_length);
}

TEST(VecRep, FreshAndRecycledBodiesAreZeroUnlessAskedOtherwise) {
    for (const std::size_t bytes : {0u, 1u, 64u, 70u, 1000u}) {
        for (int life = 0; life < 2; ++life) {
            ERVecRep* const rep = ERVecRep::getRep(bytes, 0);
            EXPECT_EQ(rep->length(), bytes);
            EXPECT_EQ(rep->references(), 0);
            rep->setLength(rep->capacity()); // the whole capacity is zero
            EXPECT_EQ(text_of(rep), std::string(rep->capacity(), '\0'));
            std::memset(rep->data(), 0x5A, rep->capacity());
            rep->free();
        }
    }
}

TEST(VecRep, FillsByRepeatingAnElement) {
    const char element[3] = {'a', 'b', 'c'};
    ERVecRep* const rep = ERVecRep::getRep(5, 3, element);
    EXPECT_EQ(text_of(rep), "abcabcabcabcabc");
    rep->setLength(8);
    rep->initWithValue("xyz", 3);
    EXPECT_EQ(text_of(rep), "xyzxyzxy");
    rep->init("12", 3, 2);
    EXPECT_EQ(text_of(rep), "xyz12zxy");
    rep->free();
}

TEST(VecRepCache, HandsOutTheYoungestBodyOfJustTheCapacity) {
    in_fresh_thread([](const ERVecRepCache& cache) {
        ERVecRep* const first = ERVecRep::getRep(100, 1);
        ERVecRep* const second = ERVecRep::getRep(120, 1);
        EXPECT_EQ(cache.misses, 2u);
        first->free();
        second->free();
        EXPECT_EQ(cache.cachedBytes, 256u);
        EXPECT_EQ(cache.cachedCount, 2u);

        ERVecRep* const other = ERVecRep::getRep(64, 1); // 128 is there, 64 is not
        EXPECT_EQ(cache.misses, 3u);
        EXPECT_EQ(ERVecRep::getRep(65, 1), second);
        EXPECT_EQ(ERVecRep::getRep(128, 1), first);
        EXPECT_EQ(first->length(), 128u);
        EXPECT_EQ(cache.hits, 2u);
        EXPECT_EQ(cache.cachedBytes, 0u);
        EXPECT_EQ(cache.cachedCount, 0u);
        for (ERVecRep* const rep : {first, second, other})
            rep->free();
    });
}

TEST(VecRepCache, FlushesOverItsLimitsAndKeepsNoLargeBodies) {
    in_fresh_thread([](const ERVecRepCache& cache) {
        std::vector<ERVecRep*> bodies(10002);
        for (ERVecRep*& rep : bodies)
            rep = ERVecRep::getRep(1, 1);
        for (std::size_t i = 0; i < 10001; ++i)
            bodies[i]->free();
        EXPECT_EQ(cache.cachedCount, 10001u);
        bodies[10001]->free(); // the count is over 10,000 now: flush, then keep this one
        EXPECT_EQ(cache.cachedCount, 1u);
        EXPECT_EQ(cache.cachedBytes, 64u);
    });
    in_fresh_thread([](const ERVecRepCache& cache) {
        // 15 bodies of 0x20000 bytes stay below 0x1FA000, the 16th goes over it.
        std::vector<ERVecRep*> bodies(17);
        for (ERVecRep*& rep : bodies)
            rep = ERVecRep::getRep(0x20000, 1);
        for (std::size_t i = 0; i < 16; ++i)
            bodies[i]->free();
        EXPECT_EQ(cache.cachedBytes, 16u * 0x20000u);
        bodies[16]->free();
        EXPECT_EQ(cache.cachedBytes, 0x20000u);

        ERVecRep::getRep(0x20001, 1)->free();
        EXPECT_EQ(cache.cachedBytes, 0x20000u);
        EXPECT_EQ(cache.misses, 18u);
        // A large body flushes a full cache all the same.
        for (ERVecRep*& rep : bodies)
            rep = ERVecRep::getRep(0x20000, 1);
        for (std::size_t i = 0; i < 16; ++i)
            bodies[i]->free();
        ERVecRep* const large = ERVecRep::getRep(0x20001, 1);
        large->free();
        EXPECT_EQ(cache.cachedBytes, 0u);
        EXPECT_EQ(cache.cachedCount, 0u);
        bodies[16]->free();
    });
}

TEST(VecRep, CloneKeepsTheLengthOfItsSource) {
    ERVecRep* const source = body_of(std::string(100, 'x'));
    ERVecRep* const larger = ERVecRep::clone(source, 300);
    EXPECT_EQ(text_of(larger), std::string(100, 'x'));
    EXPECT_EQ(larger->capacity(), 320u);
    ERVecRep* const smaller = ERVecRep::clone(source, 10);
    EXPECT_EQ(smaller->capacity(), 64u);
    EXPECT_EQ(smaller->length(), 100u); // more than it can hold, until the caller sets it
    smaller->setLength(10);
    EXPECT_EQ(text_of(smaller), std::string(10, 'x'));
    for (ERVecRep* const rep : {source, larger, smaller})
        rep->free();
}

TEST(VecRep, ReplaceEditsInPlaceOnlyWhereItMay) {
    const std::string text = "0123456789";
    const auto replaced = [&](ERVecRep* rep, std::size_t start, std::size_t cut, const char* src,
                              std::size_t bytes, bool in_place, const std::string& expected) {
        const std::string before = text_of(rep);
        ERVecRep* const result = ERVecRep::replace(rep, start, cut, src, bytes);
        EXPECT_EQ(text_of(result), expected);
        EXPECT_EQ(result == rep, in_place) << expected;
        if (result != rep) {
            EXPECT_EQ(text_of(rep), before);
            result->free();
        }
        rep->free();
    };
    replaced(body_of(text), 2, 3, "abcde", 5, true, "01abcde56789");
    replaced(body_of(text), 2, 300, nullptr, 5, true, "01");
    replaced(body_of(text), 10, 0, "xy", 2, true, "0123456789xy");
    // More than the capacity.
    replaced(body_of(text), 0, 0, std::string(60, 'x').c_str(), 60, false,
             std::string(60, 'x') + text);
    // The source lies inside the body: a new one even though the edit would fit.
    ERVecRep* const inside = body_of(text);
    replaced(inside, 0, 0, static_cast<const char*>(inside->data()) + 8, 2, false, "890123456789");
    // 192 bytes for 120 are 72 to waste, more than 64.
    replaced(body_of(std::string(192, 'x')), 0, 72, nullptr, 0, false, std::string(120, 'x'));
    replaced(body_of(std::string(192, 'x')), 0, 64, nullptr, 0, true, std::string(128, 'x'));
    // A second owner keeps what it has.
    ERVecRep* const shared = body_of(text);
    shared->addReference();
    shared->addReference();
    ERVecRep* const own = ERVecRep::replace(shared, 0, 10, "a", 1);
    EXPECT_NE(own, shared);
    EXPECT_EQ(text_of(shared), text);
    shared->removeReference();
    EXPECT_EQ(shared->removeReference(), 0u);
    shared->free();
    own->free();
}

TEST(VecRep, ReplaceAgainstAString) {
    velm_test::Random random(7);
    std::string model;
    ERVecRep* rep = ERVecRep::getRep(0, 1);
    for (int step = 0; step < 5000; ++step) {
        const auto start =
            static_cast<std::size_t>(random.below(static_cast<int>(model.size()) + 1));
        const auto cut = static_cast<std::size_t>(random.below(step % 7 == 0 ? 300 : 40));
        std::string added(static_cast<std::size_t>(random.below(step % 5 == 0 ? 200 : 40)), ' ');
        for (char& c : added)
            c = static_cast<char>('a' + random.below(26));
        const bool own = random.below(4) == 0 && !model.empty();
        const char* source = added.data();
        if (own) { // a piece of the body itself
            const auto from =
                static_cast<std::size_t>(random.below(static_cast<int>(model.size())));
            added = model.substr(from, added.size());
            source = static_cast<const char*>(rep->data()) + from;
        }
        ERVecRep* const result = ERVecRep::replace(rep, start, cut, source, added.size());
        model.replace(start, cut, added);
        if (result != rep) rep->free();
        rep = result;
        ASSERT_EQ(text_of(rep), model) << "step " << step;
    }
    rep->free();
}

TEST(VecRep, ColumnsGoInAndOutAgainstRowsOfStrings) {
    velm_test::Random random(11);
    for (int round = 0; round < 300; ++round) {
        const auto stride = static_cast<std::size_t>(1 + random.below(12));
        const auto rows = static_cast<std::size_t>(random.below(6));
        const auto start = static_cast<std::size_t>(random.below(static_cast<int>(stride) + 1));
        const auto gap = static_cast<std::size_t>(random.below(5));
        std::string text(rows * stride, ' ');
        for (char& c : text)
            c = static_cast<char>('a' + random.below(26));
        if (start > text.size()) continue;
        std::string wider;
        for (std::size_t r = 0; r < rows; ++r)
            wider += text.substr(r * stride, start) + std::string(gap, '.') +
                     text.substr(r * stride + start, stride - start);

        ERVecRep* const rep = body_of(text);
        ERVecRep* const inserted = ERVecRep::polyInsert(rep, start, gap, stride);
        EXPECT_EQ(text_of(rep), text);
        ASSERT_EQ(inserted->length(), wider.size());
        auto* const bytes = static_cast<char*>(inserted->data());
        for (std::size_t r = 0; r < rows; ++r)
            std::memset(bytes + r * (stride + gap) + start, '.', gap);
        EXPECT_EQ(text_of(inserted), wider);

        inserted->polyRemove(start, gap, stride + gap);
        EXPECT_EQ(text_of(inserted), text) << "stride " << stride << " start " << start;
        rep->free();
        inserted->free();
    }
}

TEST(VecRep, ColumnsOfABodyThatIsNoWholeNumberOfRows) {
    ERVecRep* const rep = body_of("abcdefghij"); // rows of 4: two gaps, none for the rest
    ERVecRep* const inserted = ERVecRep::polyInsert(rep, 0, 2, 4);
    ASSERT_EQ(inserted->length(), 14u);
    EXPECT_EQ(text_of(inserted).substr(2, 4), "abcd");
    EXPECT_EQ(text_of(inserted).substr(8, 6), "efghij");
    inserted->free();
    rep->polyRemove(1, 1, 4); // drops b and f; the last row keeps what follows the gap
    EXPECT_EQ(text_of(rep), "acdeghi");
    rep->polyRemove(5, 9, 9);
    EXPECT_EQ(text_of(rep), "acdeg");
    rep->free();
}

} // namespace
