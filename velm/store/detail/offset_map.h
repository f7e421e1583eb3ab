// velm::detail::OffsetMap: offsets of a file, each with the node that names it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace velm::detail {

/// One table with linear probing (Knuth, 6.4 L and R), at most half full: a look costs one miss of
/// the processor's cache. Offsets are above 0.
class OffsetMap {
public:
    /// Enters an offset; false where it is there already.
    bool enter(std::uint32_t offset, std::int32_t node) {
        if (2 * (count_ + 1) > table_.size()) grow();
        Entry& entry = table_[place_of(offset)];
        if (entry.offset == offset) return false;
        entry = {offset, node};
        ++count_;
        return true;
    }
    /// The node of an offset; null where it isn't here.
    const std::int32_t* find(std::uint32_t offset) const {
        if (count_ == 0) return nullptr;
        const Entry& entry = table_[place_of(offset)];
        return entry.offset == offset ? &entry.node : nullptr;
    }
    void erase(std::uint32_t offset) {
        if (find(offset) == nullptr) return;
        const std::size_t mask = table_.size() - 1;
        std::size_t place = place_of(offset);
        for (std::size_t i = (place + 1) & mask; table_[i].offset != 0; i = (i + 1) & mask) {
            const std::size_t from_home = (i - home(table_[i].offset)) & mask;
            if (from_home < ((i - place) & mask)) continue;
            table_[place] = table_[i];
            place = i;
        }
        table_[place] = Entry();
        --count_;
    }
    void clear() {
        table_.clear();
        count_ = 0;
    }

private:
    struct Entry {
        std::uint32_t offset = 0; // 0: none
        std::int32_t node = 0;
    };

    std::size_t home(std::uint32_t offset) const {
        return static_cast<std::size_t>(std::uint64_t{offset} * 0x9E3779B97F4A7C15u >> shift_);
    }
    std::size_t place_of(std::uint32_t offset) const {
        std::size_t place = home(offset);
        while (table_[place].offset != 0 && table_[place].offset != offset)
            place = (place + 1) & (table_.size() - 1);
        return place;
    }
    void grow() {
        shift_ = table_.empty() ? 64 - 6 : shift_ - 1;
        std::vector<Entry> old(std::size_t{1} << (64 - shift_));
        old.swap(table_);
        for (const Entry& entry : old)
            if (entry.offset != 0) table_[place_of(entry.offset)] = entry;
    }

    std::vector<Entry> table_; // a power of two
    std::size_t count_ = 0;
    int shift_ = 64;
};

} // namespace velm::detail
