// Lists, per-thread objects and debug output.
#include "support/test.h"
#include "velm/platform/debug_output.h"
#include "velm/platform/thread_local_object.h"
#include "velm/platform/typed_lists.h"

namespace {

// Random edits of a list against a vector.
TEST(List, BehavesLikeAVectorUnderRandomEdits) {
    velm_test::Random random(5);
    CList<int> list;
    std::vector<int> model;
    for (int step = 0; step < 3000; ++step) {
        const int value = random.below(50);
        const auto at = [&](int i) { return model.begin() + i; };
        const int i = model.empty() ? -1 : random.below(static_cast<int>(model.size()));
        const int edit = random.below(6);
        if (edit == 0) list.AddHead(value), model.insert(model.begin(), value);
        if (edit == 1) list.AddTail(value), model.push_back(value);
        if (edit == 2) {
            list.InsertAfter(list.FindIndex(i), value);
            model.insert(i < 0 ? model.end() : at(i + 1), value);
        }
        if (edit == 3) {
            list.InsertBefore(list.FindIndex(i), value);
            model.insert(i < 0 ? model.begin() : at(i), value);
        }
        if (edit == 4 && i >= 0) list.RemoveAt(list.FindIndex(i)), model.erase(at(i));
        const POSITION found = edit == 5 ? list.Find(value) : nullptr;
        if (found != nullptr) {
            list.RemoveAt(found);
            model.erase(std::find(model.begin(), model.end(), value));
        }
        ASSERT_EQ(std::vector<int>(list.begin(), list.end()), model);
        std::vector<int> backwards;
        for (POSITION p = list.GetTailPosition(); p != nullptr;)
            backwards.push_back(list.GetPrev(p));
        ASSERT_TRUE(std::equal(backwards.rbegin(), backwards.rend(), model.begin(), model.end()));
    }
}

std::string ends; // of the objects of the one thread that is running

struct Named : CNoTrackObject {
    explicit Named(char letter) : name(letter) {}
    ~Named() override;
    char name;
};

constinit CThreadLocalObject first, second, from_destructor;

template <char letter>
CNoTrackObject* make() {
    return new Named(letter);
}

Named::~Named() {
    ends += name;
    // While an object goes, its slot still holds it, and others may still be made.
    if (name == '2') {
        EXPECT_EQ(second.GetDataNA(), this);
        EXPECT_NE(from_destructor.GetData(make<'x'>), nullptr);
    }
}

TEST(ThreadLocalObject, ThreadsHaveTheirOwnUntilTheyEnd) {
    CNoTrackObject* const mine = first.GetData(make<'m'>);
    EXPECT_EQ(first.GetData(make<'n'>), mine);
    EXPECT_EQ(second.GetData([]() -> CNoTrackObject* { return nullptr; }), nullptr);
    std::thread([&] {
        EXPECT_EQ(first.GetDataNA(), nullptr);
        CNoTrackObject* const other = first.GetData(make<'1'>);
        EXPECT_NE(other, mine);
        EXPECT_NE(second.GetData(make<'2'>), nullptr);
        EXPECT_EQ(first.GetDataNA(), other);
    }).join();
    EXPECT_EQ(ends, "2x1") << "the youngest first";
    EXPECT_EQ(first.GetDataNA(), mine);
}

// In a process of its own: there is one first sink in a process.
TEST(DebugOutputDeathTest, IsKeptForTheFirstSinkUpToALimit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const auto append = [](const char* more, void* to) {
                *static_cast<std::string*>(to) += more;
            };
            std::string text;
            std::string later;
            OutputDebugStringA("before");
            OutputDebugStringA(nullptr);
            OutputDebugStringA(std::string(velm::debug_output_kept, 'x').c_str());
            velm::set_debug_sink(append, &text);
            OutputDebugStringA("after");
            velm::set_debug_sink(nullptr);
            OutputDebugStringA("nobody hears this");
            velm::set_debug_sink(append, &later);
            const bool right = text.find("beforexxx") != std::string::npos &&
                               text.size() == velm::debug_output_kept + 5 &&
                               text.ends_with("xafter") && later.empty();
            std::_Exit(right ? 0 : 1);
        },
        testing::ExitedWithCode(0), "^$");
}

} // namespace
