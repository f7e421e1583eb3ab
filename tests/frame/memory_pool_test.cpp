#include "velm/frame/memory_pool.h"

#include "support/test.h"
#include "velm/platform/detail/poison.h"

#include <new>

namespace {

struct Node : ERMemoryPool {
    std::uintptr_t value;
};

// The chunk in whose slots an item of a given pool lies.
ERChunk* chunk_of(const void* item) {
    return velm::detail::read_poisoned(&(static_cast<const HeaderBloc*>(item) - 1)->chunk);
}
bool is_from_heap(const void* block) {
    return velm::detail::read_poisoned(static_cast<const std::uintptr_t*>(block) - 1) == 0;
}

TEST(MemPool, ChunksNeverUseTheirLastSlot) {
    EXPECT_EQ(ERChunk::capacity_for(8), 252u);
    ERMemPool pool(sizeof(Node), 0);
    EXPECT_EQ(pool.elementSize(), 8u);
    std::vector<Node*> nodes;
    for (int i = 0; i < 252; ++i)
        nodes.push_back(new (pool) Node);
    for (int i = 0; i < 251; ++i)
        EXPECT_EQ(chunk_of(nodes[static_cast<std::size_t>(i)]), chunk_of(nodes[0])) << i;
    EXPECT_NE(chunk_of(nodes[251]), chunk_of(nodes[0]));
    EXPECT_EQ(chunk_of(nodes[251])->GetPrevious(), chunk_of(nodes[0]));
    // Only the newest chunk is looked at: room in the older one stays unused.
    delete nodes[7];
    Node* const next = new (pool) Node;
    EXPECT_EQ(chunk_of(next), chunk_of(nodes[251]));
    // Once the newest is empty and gone, the older one is the head again.
    delete next;
    delete nodes[251];
    EXPECT_EQ(new (pool) Node, nodes[7]);
    pool.purge(); // takes all items with it
    EXPECT_NE(new (pool) Node, nullptr);
}

TEST(MemPool, ItemsThatDoNotFitComeFromTheHeap) {
    struct Large : ERMemoryPool {
        char bytes[3000];
    };
    ERMemPool fitting(sizeof(Large)); // a chunk has no room for one
    ERMemPool small(0);
    EXPECT_EQ(small.elementSize(), 8u);
    EXPECT_EQ(ERMemPool(20).elementSize(), 24u);
    for (ERMemPool* const pool : {&fitting, &small}) {
        auto* const large = new (*pool) Large;
        EXPECT_TRUE(is_from_heap(large));
        std::memset(large->bytes, 1, sizeof(large->bytes));
        delete large;
    }
}

TEST(FastAllocate, PoolsUpTo383Bytes) {
    const struct {
        std::size_t size;
        int count;
        bool heap;
    } cases[] = {{0, 1, false},  {5, 0, false},  {375, 1, false}, {376, 1, false},  {383, 1, false},
                 {47, 8, false}, {384, 1, true}, {48, 8, true},   {100000, 3, true}};
    for (const auto& [size, count, heap] : cases) {
        void* const block = FastAllocate(size, count);
        EXPECT_EQ(is_from_heap(block), heap) << size << " * " << count;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
        std::memset(block, 0x77, size * static_cast<std::size_t>(count));
        FastDeallocate(block);
        void* const again = FastAllocate(size, count);
        EXPECT_TRUE(heap || again == block) << size;
        FastDeallocate(again);
    }
    FastDeallocate(nullptr);
    EXPECT_THROW(FastAllocate(8, -1), std::bad_array_new_length);
    EXPECT_THROW(FastAllocate(SIZE_MAX / 2, 4), std::bad_array_new_length);
    EXPECT_THROW(FastAllocate(SIZE_MAX, 1), std::bad_array_new_length);
}

TEST(FastAllocate, BlocksNeverOverlap) {
    struct Block {
        unsigned char* bytes;
        std::size_t size;
        unsigned char fill;
    };
    velm_test::Random random(13);
    std::vector<Block> live;
    const auto drop = [&](std::size_t i) {
        const Block block = live[i];
        ASSERT_TRUE(std::all_of(block.bytes, block.bytes + block.size, [&](unsigned char c) {
            return c == block.fill;
        })) << block.size;
        FastDeallocate(block.bytes);
        live[i] = live.back();
        live.pop_back();
    };
    for (int step = 0; step < 200000; ++step) {
        // The number of live blocks swings, so that chunks fill, empty and go.
        const bool grow = (step / 6000) % 2 == 0;
        if (live.empty() || random.below(10) < (grow ? 7 : 3)) {
            const auto size = static_cast<std::size_t>(random.below(step % 3 == 0 ? 400 : 40));
            auto* const bytes = static_cast<unsigned char*>(FastAllocate(size, 1));
            const auto fill = static_cast<unsigned char>(random.below(256));
            std::memset(bytes, fill, size);
            live.push_back({bytes, size, fill});
        } else {
            drop(static_cast<std::size_t>(random.below(static_cast<int>(live.size()))));
        }
        if (HasFatalFailure()) return;
    }
    while (!live.empty())
        drop(live.size() - 1);
}

} // namespace
