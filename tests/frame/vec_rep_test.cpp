#include "velm/frame/vec_rep.h"

#include "support/test.h"
#include "velm/frame/detail/thread_record.h"
#include "velm/frame/vec_rep_cache.h"

#include <cstddef>

namespace {

std::string text_of(const ERVecRep* rep) {
    return {static_cast<const char*>(rep->data()), rep->length()};
}
ERVecRep* body_of(const std::string& text) {
    return ERVecRep::getRep(static_cast<const void*>(text.data()), text.size());
}

// Runs in a thread of its own, whose cache is empty and has counted nothing.
template <class Action>
void in_fresh_thread(Action action) {
    std::thread([&] { action(*velm::detail::thread_rep_cache()); }).join();
}

// Sets a tuning value for the life of the object.
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
    EXPECT_EQ(ERVecRep::adjustCapacity(0), 64u);
    EXPECT_EQ(ERVecRep::adjustCapacity(64), 64u);
    EXPECT_EQ(ERVecRep::adjustCapacity(65), 128u);
    {
        const Tuned initial(ERVecRep::initialCapacity, 100);
        const Tuned step(ERVecRep::resizeIncrement, 30);
        EXPECT_EQ(ERVecRep::adjustCapacity(101), 130u);
        EXPECT_EQ(ERVecRep::adjustCapacity(130), 130u);
        // Capacities beside the default ones are found in the cache again.
        ERVecRep* const rep = ERVecRep::getRep(101, 1);
        rep->free();
        EXPECT_EQ(ERVecRep::getRep(130, 1), rep);
        rep->free();
    }
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
    });
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
}

} // namespace
