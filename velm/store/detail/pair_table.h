// velm::detail::PairTable: pairs of a tree whose keys are numbers, to be found without a descent.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace velm::detail {

/// One place for each number modulo the size of the table, which the last pair entered there has:
/// identifiers and indices are given out one by one, so that most have a place of their own. What
/// isn't here is looked for in the tree. Where a value is the payload of a block, the block's total
/// size can be kept beside it.
class PairTable {
public:
    /// The pairs that are kept at most: 12 MiB.
    static constexpr std::size_t most = std::size_t{1} << 20;
    static constexpr std::size_t fewest = 16;

    static std::uint32_t number_of(const char* four_bytes) {
        std::uint32_t number;
        std::memcpy(&number, four_bytes, sizeof number);
        return number;
    }

    /// The value of a number; -1 where it isn't here.
    std::int32_t find(std::uint32_t number) const {
        if (size_ == 0) return -1;
        const Pair& pair = pairs_[number & (size_ - 1)];
        return pair.number == number ? value_of(pair) : -1;
    }
    /// Makes room for that many pairs more of a tree that says how many it has. The table grows by
    /// what has been entered, so that it stays small where the tree is, or is little used.
    void make_room(std::size_t pairs, std::size_t in_tree) {
        entered_ += pairs;
        std::size_t size = size_ == 0 ? fewest : size_;
        while (size < entered_ && size < in_tree && size < most)
            size *= 2;
        if (size == size_) return;
        const std::size_t old_size = std::exchange(size_, size);
        const Memory old =
            std::exchange(pairs_, Memory(static_cast<Pair*>(std::calloc(size, sizeof(Pair)))));
        if (!pairs_) {
            size_ = 0; // no memory: no table
            return;
        }
        for (std::size_t i = 0; i < old_size; ++i)
            if (old[i].after_value != 0) pairs_[old[i].number & (size - 1)] = old[i];
    }
    void enter(std::uint32_t number, std::int32_t value) {
        if (size_ == 0) return;
        Pair& pair = pairs_[number & (size_ - 1)];
        const std::uint32_t after_value = static_cast<std::uint32_t>(value) + 1;
        if (pair.number != number || pair.after_value != after_value)
            pair = {number, after_value, 0};
    }
    /// The total size of the block that a pair leads to; 0 where it isn't known.
    std::uint32_t block_size(std::uint32_t number) const {
        return find(number) != -1 ? pairs_[number & (size_ - 1)].block_size : 0;
    }
    void note_block_size(std::uint32_t number, std::uint32_t size) {
        if (find(number) != -1) pairs_[number & (size_ - 1)].block_size = size;
    }
    void forget(std::uint32_t number) {
        if (find(number) != -1) pairs_[number & (size_ - 1)] = {};
    }
    void clear() {
        pairs_.reset();
        size_ = entered_ = 0;
    }

private:
    struct Pair {
        std::uint32_t number = 0;
        std::uint32_t after_value = 0; // 0 in memory that was never written: no pair
        std::uint32_t block_size = 0;
    };
    struct Free {
        void operator()(Pair* pairs) const { std::free(pairs); }
    };
    using Memory = std::unique_ptr<Pair[], Free>;

    static std::int32_t value_of(const Pair& pair) {
        return static_cast<std::int32_t>(pair.after_value - 1);
    }

    Memory pairs_;         // pages that are never written take no room
    std::size_t size_ = 0; // a power of two
    std::size_t entered_ = 0;
};

} // namespace velm::detail
