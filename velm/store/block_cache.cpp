#include "velm/store/detail/block_cache.h"

#include <cstring>

namespace velm::detail {

bool BlockCache::get(long offset, void* target, std::size_t size) {
    const auto found = places_.find(offset);
    if (found == places_.end() || blocks_[found->second].size != size) return false;
    return get_any(offset, target, size) == size;
}

std::size_t BlockCache::get_any(long offset, void* target, std::size_t most) {
    const auto found = places_.find(offset);
    if (found == places_.end() || blocks_[found->second].size > most) return 0;
    Block& block = blocks_[found->second];
    block.asked_for = true;
    std::memcpy(target, block.bytes.get(), block.size);
    return block.size;
}

void BlockCache::put(long offset, const void* source, std::size_t size) {
    const auto found = places_.find(offset);
    if (found != places_.end()) {
        Block& block = blocks_[found->second];
        if (block.size == size) {
            std::memcpy(block.bytes.get(), source, size);
            return;
        }
        erase(offset);
    }
    if (size > capacity / 16) return;
    make_room(size);
    if (free_.empty()) {
        blocks_.emplace_back();
        free_.push_back(static_cast<std::uint32_t>(blocks_.size() - 1));
    }
    const std::uint32_t slot = free_.back();
    free_.pop_back();
    Block& block = blocks_[slot];
    block.offset = offset;
    if (block.size != size || !block.bytes) {
        block.bytes = std::make_unique<char[]>(size);
        block.size = size;
    }
    block.asked_for = false;
    std::memcpy(block.bytes.get(), source, size);
    places_.emplace(offset, slot);
    held_ += size;
}

void BlockCache::free_slot(std::uint32_t slot) {
    held_ -= blocks_[slot].size;
    blocks_[slot].offset = -1;
    free_.push_back(slot);
}

void BlockCache::erase(long offset) {
    const auto found = places_.find(offset);
    if (found == places_.end()) return;
    free_slot(found->second);
    places_.erase(found);
}

void BlockCache::clear() {
    blocks_.clear();
    free_.clear();
    places_.clear();
    held_ = hand_ = 0;
}

void BlockCache::make_room(std::size_t size) {
    while (held_ + size > capacity) {
        hand_ = hand_ + 1 < blocks_.size() ? hand_ + 1 : 0;
        Block& block = blocks_[hand_];
        if (block.offset == -1) continue;
        if (block.asked_for)
            block.asked_for = false;
        else
            erase(block.offset);
    }
}

} // namespace velm::detail
