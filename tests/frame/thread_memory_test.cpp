// Arrays, blocks and nodes that outlive or leave the thread that made them.
#include "velm/frame/detail/thread_record.h"
#include "velm/frame/memory_pool.h"
#include "velm/frame/vec.h"
#include "velm/frame/vec_rep_cache.h"

#include "support/test.h"
#include "support/threads.h"

#include <mutex>

#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Node : ERMemoryPool {
    explicit Node(int v) : value(v) {}
    int value;
    char rest[20] = {};
};

TEST(MemoryAcrossThreads, BuiltInAWorkerUsedAndDestroyedInMain) {
    std::vector<ERVec<double>> arrays;
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<unsigned char*> blocks;
    std::thread([&] {
        for (int i = 0; i < 1000; ++i) {
            arrays.emplace_back(i % 300, i * 1.0);
            nodes.push_back(std::make_unique<Node>(i));
            blocks.push_back(static_cast<unsigned char*>(FastAllocate(1, i % 400)));
            std::memset(blocks.back(), i & 0xFF, static_cast<std::size_t>(i % 400));
        }
        // A part goes before the thread ends, so that chunks are left half full.
        for (std::size_t i = 0; i < 1000; i += 3)
            nodes[i].reset();
    }).join();

    for (int i = 0; i < 1000; ++i) {
        const auto k = static_cast<std::size_t>(i);
        const auto size = i % 400;
        EXPECT_TRUE(std::all_of(blocks[k], blocks[k] + size,
                                [i](unsigned char c) { return c == (i & 0xFF); }));
        FastDeallocate(blocks[k]);
        EXPECT_TRUE(nodes[k] == nullptr || nodes[k]->value == i);
        ERVec<double>& array = arrays[k];
        array.append(-1.0);
        EXPECT_EQ(std::count(array.view().begin(), array.view().end(), i * 1.0), i % 300);
    }
}

TEST(MemoryAcrossThreads, BodiesJoinTheCacheOfTheThreadThatFreesThem) {
    ERVecRep* const rep = ERVecRep::getRep(777, 1);
    std::thread([rep] {
        rep->free();
        EXPECT_EQ(ERVecRep::getRep(800, 1), rep);
        EXPECT_EQ(velm::detail::thread_rep_cache()->hits, 1u);
        rep->free();
    }).join();
}

TEST(MemoryAcrossThreads, ItemsFreedElsewhereReturnToTheirPool) {
    // One batch after another is made here and freed by a second thread, while this one goes on:
    // the addresses repeat, so what was handed over is used again.
    constexpr int batches = 60;
    std::set<Node*> addresses;
    std::vector<std::thread> consumers;
    for (int b = 0; b < batches; ++b) {
        std::vector<Node*> batch;
        for (int i = 0; i < 500; ++i)
            batch.push_back(new Node(i));
        addresses.insert(batch.begin(), batch.end());
        consumers.emplace_back([batch] {
            for (int i = 0; i < 500; ++i) {
                EXPECT_EQ(batch[static_cast<std::size_t>(i)]->value, i);
                delete batch[static_cast<std::size_t>(i)];
            }
        });
        if (b % 2 == 1) {
            for (std::thread& consumer : consumers)
                consumer.join();
            consumers.clear();
        }
    }
    EXPECT_LE(addresses.size(), 4000u);
}

TEST(MemoryAcrossThreads, ThreadsThatComeAndGoExchangeEverything) {
    std::mutex mutex;
    std::vector<std::unique_ptr<Node>> nodes;
    std::vector<ERVec<double>> arrays;
    const auto work = [&](int id) {
        velm_test::Random random(static_cast<std::uint64_t>(id));
        for (int step = 0; step < 300; ++step) {
            auto node = std::make_unique<Node>(random.below(1000));
            ERVec<double> array(1 + random.below(100), id);
            std::unique_ptr<Node> taken;
            ERVec<double> shared;
            {
                const std::lock_guard lock(mutex);
                nodes.push_back(std::move(node));
                arrays.push_back(array);
                std::swap(random.one_of(nodes), nodes.back());
                if (random.below(3) != 0) {
                    taken = std::move(nodes.back());
                    nodes.pop_back();
                }
                shared = random.one_of(arrays);
                if (arrays.size() > 50) arrays.erase(arrays.begin());
            }
            // The bodies are shared with other threads: reading needs no lock, writing detaches.
            const double first = shared.view()[0];
            EXPECT_EQ(std::count(shared.view().begin(), shared.view().end(), first), shared.size());
            std::ranges::fill(shared.writable(), -1.0);
            array.append(2.0, 5);
        }
    };
    for (int generation = 0; generation < 10; ++generation)
        velm_test::in_threads(4, [&](int id) { work(generation * 4 + id); });
    for (const ERVec<double>& array : arrays)
        EXPECT_GE(array.view()[0], 0.0);
}

std::atomic<int> late_destroyed{0};

// Made before the thread's record and destroyed after it.
struct Late {
    Late() = default;
    Late(const Late&) = delete;
    Late& operator=(const Late&) = delete;
    ~Late() {
        EXPECT_EQ(velm::detail::thread_data(), nullptr);
        EXPECT_EQ(node->value, 4);
        node = nullptr;                 // its pool is gone
        array = ERVec<double>(20, 3.0); // the old body goes to the allocator
        EXPECT_EQ(ERVec<double>(array).view()[19], 3.0);
        EXPECT_EQ(Node(1).value + std::make_unique<Node>(2)->value, 3);
        const ERVec<double> empty;
        EXPECT_EQ(empty.rep(), ERVecRep::nullref_);
        GetThreadScratch(8)[7] = 1.0; // a late record, for what can't do without
        ++late_destroyed;
    }
    ERVec<double> array;
    std::unique_ptr<Node> node;
};
thread_local Late late;

TEST(MemoryAcrossThreads, ArraysAndNodesOutliveTheRecordOfTheirThread) {
    std::thread([] {
        late.array.reserve(10);
        late.array.append(1.0, 10);
        late.node = std::make_unique<Node>(4);
        GetThreadScratch(8)[7] = 1.0;
        ERVec<double>(500).clear();
    }).join();
    EXPECT_EQ(late_destroyed.load(), 1);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(__clang__)
// Forks while two threads free each other's nodes; the sanitizers' own allocators can't.
TEST(MemoryAfterFork, AChildFreesWhatAnotherThreadMade) {
    using Nodes = std::vector<Node*>;
    const auto made = [](int count) {
        auto* const nodes = new Nodes;
        for (int i = 0; i < count; ++i)
            nodes->push_back(new Node(i));
        return nodes;
    };
    const auto drop = [](Nodes* nodes) {
        if (!nodes) return;
        for (Node* n : *nodes)
            delete n;
        delete nodes;
    };
    constexpr int children = 300;
    std::unique_ptr<Nodes> for_children;
    std::thread([&] { for_children.reset(made(children)); }).join();
    std::atomic<Nodes*> given[2] = {};
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    for (const int side : {0, 1})
        threads.emplace_back([&, side] {
            while (!done) {
                drop(given[side].exchange(made(200)));
                drop(given[1 - side].exchange(nullptr));
            }
        });
    int ended_well = 0;
    for (int i = 0; i < children; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(5); // ends one that waits for ever
            delete (*for_children)[static_cast<std::size_t>(i)];
            _exit(0);
        }
        int status = -1;
        ended_well += waitpid(child, &status, 0) == child && status == 0;
        if (i - ended_well > 3) break;
    }
    done = true;
    for (std::thread& thread : threads)
        thread.join();
    for (auto& nodes : given)
        drop(nodes);
    EXPECT_EQ(ended_well, children);
    for (Node* n : *for_children)
        delete n;
}
#endif

} // namespace
