// The lists and the map, per-thread objects, debug output, dumps and the list of libraries.
#include "velm/platform/debug_output.h"
#include "velm/platform/dump_context.h"
#include "velm/platform/extension_module.h"
#include "velm/platform/thread_local_object.h"
#include "velm/platform/typed_lists.h"

#include "support/random.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

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
        switch (random.below(6)) {
        case 0:
            list.AddHead(value), model.insert(model.begin(), value);
            break;
        case 1:
            list.AddTail(value), model.push_back(value);
            break;
        case 2:
            list.InsertAfter(list.FindIndex(i), value);
            model.insert(i < 0 ? model.end() : at(i + 1), value);
            break;
        case 3:
            list.InsertBefore(list.FindIndex(i), value);
            model.insert(i < 0 ? model.begin() : at(i), value);
            break;
        case 4:
            if (i >= 0) list.RemoveAt(list.FindIndex(i)), model.erase(at(i));
            break;
        default:
            if (const POSITION found = list.Find(value)) {
                EXPECT_EQ(list.GetAt(found), value);
                list.RemoveAt(found);
                model.erase(std::find(model.begin(), model.end(), value));
            }
        }
        ASSERT_EQ(std::vector<int>(list.begin(), list.end()), model);
        std::vector<int> backwards;
        for (POSITION p = list.GetTailPosition(); p != nullptr;)
            backwards.push_back(list.GetPrev(p));
        ASSERT_TRUE(std::equal(backwards.rbegin(), backwards.rend(), model.begin(), model.end()));
    }
}

struct Marked : CObject {
    explicit Marked(int number) : mark(number) {}
    int mark;
};

TEST(List, TypedListsGiveTheirType) {
    Marked a(1), b(2);
    CTypedPtrList<CObList, Marked*> list;
    list.AddTail(&a);
    list.AddHead(&b);
    EXPECT_EQ(list.GetHead()->mark, 2);
    int marks = 0;
    for (Marked* marked : list)
        marks = marks * 10 + marked->mark;
    EXPECT_EQ(marks, 21);
    EXPECT_EQ(list.RemoveTail(), &a);
    EXPECT_EQ(list.GetCount(), 1);
}

TEST(Map, FindsWalksAndForgets) {
    CMap<std::string, const std::string&, int, int> map;
    map.InitHashTable(17);
    for (int i = 0; i < 100; ++i)
        map.SetAt(std::to_string(i), i);
    map["7"] = 70;
    int value = -1, sum = 0;
    EXPECT_TRUE(map.Lookup("7", value));
    EXPECT_EQ(value, 70);
    EXPECT_FALSE(map.Lookup("100", value));
    EXPECT_EQ(value, 70);
    EXPECT_TRUE(map.RemoveKey("7"));
    EXPECT_FALSE(map.RemoveKey("7"));
    std::string key;
    for (POSITION p = map.GetStartPosition(); p != nullptr;) {
        map.GetNextAssoc(p, key, value);
        EXPECT_EQ(key, std::to_string(value));
        sum += value;
    }
    EXPECT_EQ(sum, 99 * 100 / 2 - 7);
    map.RemoveAll();
    EXPECT_EQ(map.GetStartPosition(), nullptr);
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

TEST(DebugOutput, FormattingIsBounded) {
    char text[1024];
    EXPECT_EQ(wsprintfA(text, "%s %d", "a", -1), 4);
    EXPECT_STREQ(text, "a -1");
    EXPECT_EQ(wsprintfA(text, "%s", std::string(2000, 'y').c_str()), 1023);
    EXPECT_EQ(std::strlen(text), 1023u);
}

TEST(DumpContext, WritesNumbersInFullAndObjectsByTheirDump) {
    std::ostringstream stream;
    CDumpContext context(stream);
    const Marked marked(3);
    context << 'c' << -5 << 7u << -(1L << 40) << 0.1 << static_cast<const char*>(nullptr)
            << static_cast<const CObject*>(nullptr) << marked;
    const std::string text = stream.str();
    EXPECT_EQ(text.substr(0, text.find("0x")), "c-57-10995116277760.1(NULL)NULL\na CObject at ");
}

TEST(ExtensionModule, LibrariesJoinTheStateInForceAndLeaveIt) {
    const int handles[2] = {};
    AFX_EXTENSION_MODULE one, two;
    AFX_MODULE_STATE state;
    AFX_MODULE_STATE* const before = AfxSetModuleState(&state);
    AfxInitExtensionModule(one, &handles[0]);
    AfxInitExtensionModule(two, &handles[1]);
    AfxInitExtensionModule(one, &handles[1]);
    auto* const oldest = new CDynLinkLibrary(one);
    auto* const middle = new CDynLinkLibrary(two);
    auto* const youngest = new CDynLinkLibrary(one);
    EXPECT_EQ(state.m_libraryList, youngest);
    EXPECT_EQ(youngest->m_pNextDLL, middle);
    EXPECT_EQ(middle->m_pNextDLL, oldest);
    AfxTermExtensionModule(one);
    EXPECT_EQ(state.m_libraryList, middle);
    EXPECT_EQ(middle->m_pNextDLL, nullptr);
    AfxTermExtensionModule(one);
    AfxTermExtensionModule(two);
    EXPECT_EQ(state.m_libraryList, nullptr);
    AfxSetModuleState(before);
    EXPECT_EQ(AfxGetModuleState(), AfxGetAppModuleState());
}

} // namespace
