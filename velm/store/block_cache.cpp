#include "velm/store/detail/block_cache.h"

#include <cstring>
#include <utility>

namespace velm::detail {

BlockCache::Block* BlockCache::room_for(long offset, std::size_t size) {
    Block* block = find(offset);
    if (block != nullptr && block->size == size) return block;
    if (block != nullptr) erase(offset);
    if (offset < 0 || offset > INT32_MAX || size > capacity / 16) return nullptr;
    make_room(size);
    if (2 * blocks_ >= table_.size()) grow();
    block = &table_[place_of(offset)];
    block->offset = static_cast<std::int32_t>(offset);
    block->size = static_cast<std::uint32_t>(size) & 0x7FFFFFFFu;
    block->asked_for = 0;
    held_ += size;
    ++blocks_;
    return block;
}

void BlockCache::put(long offset, const void* source, std::size_t size) {
    Block* const block = room_for(offset, size);
    if (block == nullptr) return;
    if (!block->bytes) block->bytes.reset(new char[size]);
    std::memcpy(block->bytes.get(), source, size);
}

void BlockCache::take(long offset, std::unique_ptr<char[]> bytes, std::size_t size) {
    Block* const block = room_for(offset, size);
    if (block != nullptr) block->bytes = std::move(bytes);
}

void BlockCache::erase(long offset) {
    if (find(offset) != nullptr) erase_at(place_of(offset));
}

// What follows without a gap moves up where it is nearer to its home (Knuth, 6.4 R).
void BlockCache::erase_at(std::size_t place) {
    held_ -= table_[place].size;
    --blocks_;
    const std::size_t mask = table_.size() - 1;
    for (std::size_t next = after(place); table_[next].offset != none; next = after(next)) {
        const std::size_t from_home = (next - home(table_[next].offset)) & mask;
        if (from_home < ((next - place) & mask)) continue;
        table_[place] = std::move(table_[next]);
        place = next;
    }
    table_[place] = Block();
}

void BlockCache::clear() {
    table_.clear();
    shift_ = 64;
    blocks_ = held_ = hand_ = 0;
    ++cleared_;
}

void BlockCache::make_room(std::size_t size) {
    while (held_ + size > capacity) {
        hand_ = after(hand_);
        Block& block = table_[hand_];
        if (block.offset == none) continue;
        if (block.asked_for)
            block.asked_for = 0;
        else
            erase_at(hand_);
    }
}

void BlockCache::grow() {
    constexpr int kFewest = 4; // its logarithm
    shift_ = table_.empty() ? 64 - kFewest : shift_ - 1;
    std::vector<Block> old(std::size_t{1} << (64 - shift_));
    old.swap(table_);
    for (Block& block : old)
        if (block.offset != none) table_[place_of(block.offset)] = std::move(block);
    hand_ = 0;
}

} // namespace velm::detail
