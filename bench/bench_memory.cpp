// Array handles and counted objects against std::shared_ptr; array bodies and small blocks against
// operator new and delete. The counter "allocations" is the number of calls to the global allocator
// per iteration.
#include "velm/frame/memory_pool.h"
#include "velm/frame/object.h"
#include "velm/frame/smart_pointer.h"
#include "velm/frame/vec.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <ostream>
#include <random>
#include <thread>
#include <vector>

namespace {

std::size_t allocations = 0;

} // namespace

// Counting versions of the global allocator, out of line like those they replace.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
    ++allocations;
    if (void* const block = std::malloc(bytes != 0 ? bytes : 1)) return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

// Reports the calls to the global allocator during a benchmark's loop.
class CountAllocations {
public:
    explicit CountAllocations(benchmark::State& state) : state_(state), before_(allocations) {}
    CountAllocations(const CountAllocations&) = delete;
    CountAllocations& operator=(const CountAllocations&) = delete;
    ~CountAllocations() {
        state_.counters["allocations"] = benchmark::Counter(
            static_cast<double>(allocations - before_), benchmark::Counter::kAvgIterations);
    }

private:
    benchmark::State& state_;
    std::size_t before_;
};

// The same loops run on the library and on its peer.

struct Bodies {
    static void* get(std::size_t bytes) { return ERVecRep::getRep(bytes, 1); }
    static void drop(void* body) { static_cast<ERVecRep*>(body)->free(); }
};
struct Blocks {
    static void* get(std::size_t bytes) { return FastAllocate(bytes, 1); }
    static void drop(void* block) { FastDeallocate(block); }
};
struct GlobalAllocator {
    static void* get(std::size_t bytes) { return ::operator new(bytes); }
    static void drop(void* block) { ::operator delete(block); }
};

template <class Allocator>
void one_size(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0));
    Allocator::drop(Allocator::get(bytes));
    const CountAllocations count(state);
    for (auto _ : state) {
        void* const body = Allocator::get(bytes);
        benchmark::DoNotOptimize(body);
        Allocator::drop(body);
    }
}

// 2,048 sizes, step to 2048 * step bytes, in shuffled order; one iteration is all of them.
template <class Allocator>
void mixed_sizes(benchmark::State& state) {
    std::vector<std::size_t> sizes;
    for (std::size_t i = 1; i <= 2048; ++i)
        sizes.push_back(i * static_cast<std::size_t>(state.range(0)));
    std::shuffle(sizes.begin(), sizes.end(), std::mt19937(1));
    const auto run = [&sizes] {
        for (const std::size_t bytes : sizes) {
            void* const body = Allocator::get(bytes);
            benchmark::DoNotOptimize(body);
            Allocator::drop(body);
        }
    };
    run();
    const CountAllocations count(state);
    for (auto _ : state)
        run();
    state.SetItemsProcessed(state.iterations() * 2048);
}

// Makes a number of blocks, then gives them back, newest first or shuffled.
template <class Allocator, bool shuffled>
void batch(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0));
    const auto n = static_cast<std::size_t>(state.range(1));
    std::vector<std::size_t> order(n);
    for (std::size_t i = 0; i < n; ++i)
        order[i] = n - 1 - i;
    if (shuffled) std::shuffle(order.begin(), order.end(), std::mt19937(1));
    std::vector<void*> blocks(n);
    const auto run = [&] {
        for (void*& block : blocks) {
            block = Allocator::get(bytes);
            *static_cast<char*>(block) = 1;
        }
        for (const std::size_t i : order)
            Allocator::drop(blocks[i]);
    };
    run();
    const CountAllocations count(state);
    for (auto _ : state)
        run();
    state.SetItemsProcessed(state.iterations() * state.range(1));
}

// A second thread that does nothing: without one, std::shared_ptr counts without atomics.
class ParkedThread {
public:
    ParkedThread()
        : thread_([this] {
              std::unique_lock lock(mutex_);
              done_.wait(lock, [this] { return end_; });
          }) {}
    ParkedThread(const ParkedThread&) = delete;
    ParkedThread& operator=(const ParkedThread&) = delete;
    ~ParkedThread() {
        {
            const std::lock_guard lock(mutex_);
            end_ = true;
        }
        done_.notify_one();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable done_;
    bool end_ = false;
    std::thread thread_;
};

template <class Handle>
void copy_and_drop(benchmark::State& state, const Handle& original) {
    const ParkedThread parked;
    for (auto _ : state) {
        const Handle copy(original);
        benchmark::DoNotOptimize(&copy);
    }
}
void handle_copy_velm(benchmark::State& state) { copy_and_drop(state, ERVec<double>(3)); }
void handle_copy_shared_ptr(benchmark::State& state) {
    copy_and_drop(state, std::make_shared<double>(3.0));
}

// 56 bytes, the count included; the other has its count beside it.
struct CountedValues : ERObject {
    ERObject* getCopy() const override { return nullptr; }
    void printOn(std::ostream&) const override {}
    double values[3] = {};
};
struct PlainValues {
    virtual ~PlainValues() = default;
    double values[4] = {};
};

template <class Make>
void make_and_drop(benchmark::State& state, Make make) {
    const ParkedThread parked;
    for (auto _ : state) {
        const auto made = make();
        benchmark::DoNotOptimize(made.get());
    }
}
void object_velm(benchmark::State& state) {
    make_and_drop(state, [] { return t_SmartPtr<CountedValues>(new CountedValues); });
}
void object_shared_ptr(benchmark::State& state) {
    make_and_drop(state, [] { return std::make_shared<PlainValues>(); });
}

void single_sizes(benchmark::internal::Benchmark* row) {
    for (const int bytes : {1, 64, 200, 1000, 1024, 4096, 16384, 65536, 100000, 131072})
        row->Arg(bytes);
}
void block_sizes(benchmark::internal::Benchmark* row) {
    for (const int bytes : {8, 16, 24, 48, 96, 192, 376}) {
        for (const int n : {1, 10, 100, 1000, 10000, 100000})
            row->Args({bytes, n});
    }
}

} // namespace

BENCHMARK(handle_copy_velm);
BENCHMARK(handle_copy_shared_ptr);
BENCHMARK(object_velm);
BENCHMARK(object_shared_ptr);
BENCHMARK(one_size<Bodies>)->Apply(single_sizes);
BENCHMARK(one_size<GlobalAllocator>)->Apply(single_sizes);
// Sizes up to 14,336 bytes, whose 224 capacities fit into the cache together; up to 128 KiB, where
// the 2,048 capacities are 65 times the cache's limit, so that it is flushed over and over.
BENCHMARK(mixed_sizes<Bodies>)->Arg(7)->Arg(64);
BENCHMARK(mixed_sizes<GlobalAllocator>)->Arg(7)->Arg(64);
BENCHMARK(batch<Blocks, false>)->Apply(block_sizes);
BENCHMARK(batch<GlobalAllocator, false>)->Apply(block_sizes);
BENCHMARK(batch<Blocks, true>)->Apply(block_sizes);
BENCHMARK(batch<GlobalAllocator, true>)->Apply(block_sizes);
