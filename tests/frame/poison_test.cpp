// What the pools and the array cache keep must not be touched: the tools that watch memory see it.
// Under AddressSanitizer and under valgrind these tests run, elsewhere there is nothing to see.
#include "support/test.h"
#include "velm/platform/detail/poison.h"

#include "velm/frame/memory_pool.h"
#include "velm/frame/vec.h"

#include <cstddef>
#if defined(VELM_POISON_ASAN)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// Whether a tool watches, and whether it would report a read of this byte.
bool is_watched() {
#if defined(VELM_POISON_ASAN)
    return true;
#elif defined(VELM_POISON_VALGRIND)
    return RUNNING_ON_VALGRIND;
#else
    return false;
#endif
}
bool is_poisoned([[maybe_unused]] const void* byte) {
#if defined(VELM_POISON_ASAN)
    return __asan_address_is_poisoned(byte);
#elif defined(VELM_POISON_VALGRIND)
    unsigned char bits = 0;
    return VALGRIND_GET_VBITS(byte, &bits, 1) == 3;
#else
    return false;
#endif
}
bool is_all(bool poisoned, const void* first, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
        if (is_poisoned(static_cast<const std::byte*>(first) + i) != poisoned) return false;
    }
    return true;
}
bool is_all_poisoned(const void* first, std::size_t bytes) { return is_all(true, first, bytes); }
bool is_all_open(const void* first, std::size_t bytes) { return is_all(false, first, bytes); }

struct Node : ERMemoryPool {
    long value = 1;
    Node* next = nullptr;
};

class Poison : public testing::Test {
protected:
    void SetUp() override {
        if (!is_watched()) GTEST_SKIP() << "no tool watches";
    }
};

TEST_F(Poison, PooledNodes) {
    ERMemPool pool(sizeof(Node));
    for (Node* const node : {new Node, new (pool) Node}) {
        EXPECT_TRUE(is_all_open(node, sizeof(Node)));
        EXPECT_TRUE(is_poisoned(node + 1)); // the next slot's header or the item's rest
        EXPECT_TRUE(is_all_poisoned(reinterpret_cast<std::byte*>(node) - 8, 8));
        delete node;
        EXPECT_TRUE(is_all_poisoned(node, sizeof(Node)));
    }
    Node* const node = new (pool) Node;
    EXPECT_TRUE(is_all_open(node, sizeof(Node)));
    delete node;
    pool.collateFreeSpace();
    void* const block = FastAllocate(13, 1);
    EXPECT_TRUE(is_all_open(block, 13));
    EXPECT_TRUE(is_poisoned(static_cast<std::byte*>(block) + 13));
    FastDeallocate(block);
}

TEST_F(Poison, SlackAndCachedBodies) {
    ERVec<double> v(9);
    const double* const first = v.view().data();
    EXPECT_TRUE(is_all_open(first, 72));
    EXPECT_TRUE(is_all_poisoned(first + 9, 128 - 72));
    v.append(1.0);
    EXPECT_EQ(v.view().data(), first);
    EXPECT_TRUE(is_all_open(first, 80));
    EXPECT_TRUE(is_all_poisoned(first + 10, 128 - 80));
    v.remove(0, 1);
    EXPECT_EQ(v.view().data(), first);
    EXPECT_TRUE(is_all_poisoned(first + 9, 128 - 72));

    const ERVecRep* const rep = v.rep();
    v = ERVec<double>();
    EXPECT_TRUE(is_all_poisoned(rep + 1, 128));
    const void* const* const words = reinterpret_cast<const void* const*>(rep);
    int open_words = 0; // the link alone
    for (std::size_t i = 0; i < sizeof(ERVecRep) / sizeof(void*); ++i)
        open_words += is_poisoned(words + i) ? 0 : 1;
    EXPECT_EQ(open_words, 1);
    v = ERVec<double>(16);
    EXPECT_EQ(v.rep(), rep);
    EXPECT_TRUE(is_all_open(v.view().data(), 128));
}

#if defined(VELM_POISON_ASAN)
TEST_F(Poison, CachedBodiesAreNotLost) {
    {
        std::array<ERVec<double>, 100> of_one_size;
        for (ERVec<double>& v : of_one_size)
            v = ERVec<double>(40);
    }
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
}

TEST_F(Poison, UseAfterFreeEndsTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto write_deleted_node = [] {
        Node* volatile node = new Node;
        delete node;
        node->value = 2;
    };
    const auto read_dropped_array = [] {
        const double* volatile element = nullptr;
        {
            const ERVec<double> v(3);
            element = &v[0];
        }
        const volatile double read = *element;
        static_cast<void>(read);
    };
    const auto write_past_the_length = [] {
        ERVec<double> v(3);
        const volatile int past = 3;
        v[past] = 1;
    };
    EXPECT_DEATH(write_deleted_node(), "use-after-poison");
    EXPECT_DEATH(read_dropped_array(), "use-after-poison");
    EXPECT_DEATH(write_past_the_length(), "use-after-poison");
}
#endif

} // namespace
