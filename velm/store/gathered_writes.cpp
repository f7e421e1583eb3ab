#include "velm/store/detail/gathered_writes.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace velm::detail {

namespace {

// Blocks are rounded up to a multiple of this.
constexpr long kRounding = 4;

// Copies what two ranges share.
void copy_shared(long from_offset, const char* from, std::size_t from_size, long offset,
                 char* target, std::size_t count) {
    const long begin = std::max(from_offset, offset);
    const long end =
        std::min(from_offset + static_cast<long>(from_size), offset + static_cast<long>(count));
    if (begin < end)
        std::memcpy(target + (begin - offset), from + (begin - from_offset),
                    static_cast<std::size_t>(end - begin));
}

} // namespace

// The last write gets no more bytes: if there are many, it is to be found by its offset.
void GatheredWrites::enter_last() {
    const auto enter = [this](std::size_t i) {
        for (long chunk = writes_[i].offset >> chunk_bits;
             chunk <= (writes_[i].end() - 1) >> chunk_bits; ++chunk)
            by_chunk_[chunk].push_back(i);
    };
    if (writes_.size() < few) return;
    if (writes_.size() > few) return enter(writes_.size() - 1);
    for (std::size_t i = 0; i < writes_.size(); ++i)
        enter(i);
}

void GatheredWrites::add_fresh(long offset, const void* source, std::size_t size, bool never_used) {
    const long end = open_end();
    if (end == offset || (never_used && end != -1 && end < offset && offset - end < kRounding)) {
        const auto gap = static_cast<std::size_t>(offset - end);
        writes_.back().size += gap + size;
        bytes_.append(gap, '\0');
    } else {
        enter_last();
        writes_.push_back({offset, size, bytes_.size(), true, false});
    }
    bytes_.append(static_cast<const char*>(source), size);
    end_ = std::max(end_, writes_.back().end());
}

void GatheredWrites::add(long offset, const void* source, const void* old, std::size_t size,
                         bool node) {
    if (!writes_.empty() && !writes_.back().fresh && writes_.back().taken == nullptr &&
        writes_.back().offset == offset && writes_.back().size == size) {
        std::memcpy(bytes_.data() + writes_.back().at, source, size);
        return;
    }
    enter_last();
    writes_.push_back({offset, size, bytes_.size(), false, node});
    bytes_.append(static_cast<const char*>(source), size);
    bytes_.append(static_cast<const char*>(old), size);
    end_ = std::max(end_, writes_.back().end());
}

void GatheredWrites::add_taken(long offset, std::unique_ptr<char[]> images, std::size_t size,
                               bool node) {
    enter_last();
    writes_.push_back({offset, size, 0, false, node, images.get()});
    taken_.push_back(std::move(images));
    end_ = std::max(end_, writes_.back().end());
}

std::size_t GatheredWrites::put_over(long offset, char* target, std::size_t count,
                                     std::size_t came) const {
    const long wanted_end = offset + static_cast<long>(count);
    const auto put = [&](const Write& write) {
        if (write.offset >= wanted_end || write.end() <= offset) return;
        const auto known = static_cast<std::size_t>(std::min(write.end(), wanted_end) - offset);
        if (known > came) { // the file will have zeros in front of it
            std::memset(target + came, 0, known - came);
            came = known;
        }
        copy_shared(write.offset, new_bytes(write), write.size, offset, target, count);
    };
    if (writes_.empty() || count == 0) return came;
    if (writes_.size() <= few) {
        for (const Write& write : writes_)
            put(write);
        return came;
    }
    std::vector<std::size_t> found;
    for (long chunk = offset >> chunk_bits; chunk <= (wanted_end - 1) >> chunk_bits; ++chunk)
        if (const auto here = by_chunk_.find(chunk); here != by_chunk_.end())
            found.insert(found.end(), here->second.begin(), here->second.end());
    std::sort(found.begin(), found.end());
    for (const std::size_t i : found)
        put(writes_[i]);
    put(writes_.back());
    return came;
}

void GatheredWrites::put_old_over(std::size_t done, long offset, char* target,
                                  std::size_t count) const {
    while (done-- > 0) {
        const Write& write = writes_[done];
        if (!write.fresh)
            copy_shared(write.offset, old_bytes(write), write.size, offset, target, count);
    }
}

const std::vector<GatheredWrites::Piece>& GatheredWrites::fresh_pieces(long length) const {
    pieces_.clear();
    for (const Write& write : writes_)
        if (write.fresh) pieces_.push_back({write.offset, new_bytes(write), write.size});
    if (pieces_.size() <= 1) return pieces_;
    pieces_.clear();
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < writes_.size(); ++i)
        if (writes_[i].fresh) order.push_back(i);
    std::stable_sort(order.begin(), order.end(), [this](std::size_t a, std::size_t b) {
        return writes_[a].offset < writes_[b].offset;
    });
    joined_.clear();
    struct Place {
        long offset;
        std::size_t at;
        std::size_t size;
    };
    std::vector<Place> places;
    for (const std::size_t i : order) {
        const Write& write = writes_[i];
        const long end = places.empty() ? -1 : places.back().offset + long(places.back().size);
        const bool rounds_up = end >= length && write.offset - end < kRounding;
        if (places.empty() || (write.offset > end && !rounds_up))
            places.push_back({write.offset, joined_.size(), 0});
        Place& place = places.back();
        const auto within = static_cast<std::size_t>(write.offset - place.offset);
        place.size = std::max(place.size, within + write.size);
        joined_.resize(place.at + place.size);
    }
    // Where writes overlap, the later one counts.
    std::size_t k = 0;
    for (const Write& write : writes_) {
        if (!write.fresh) continue;
        k = static_cast<std::size_t>(
            std::upper_bound(places.begin(), places.end(), write.offset,
                             [](long offset, const Place& p) { return offset < p.offset; }) -
            places.begin() - 1);
        std::memcpy(joined_.data() + places[k].at + (write.offset - places[k].offset),
                    new_bytes(write), write.size);
    }
    for (const Place& place : places)
        pieces_.push_back({place.offset, joined_.data() + place.at, place.size});
    return pieces_;
}

void GatheredWrites::drop_fresh() {
    std::vector<Write> kept;
    std::string bytes;
    for (Write write : writes_) {
        if (write.fresh) continue;
        const std::size_t from = std::exchange(write.at, bytes.size());
        if (write.taken == nullptr) bytes.append(bytes_, from, 2 * write.size);
        kept.push_back(write);
    }
    writes_.clear();
    by_chunk_.clear();
    for (const Write& write : kept) {
        enter_last();
        writes_.push_back(write);
    }
    bytes_ = std::move(bytes);
}

void GatheredWrites::clear() {
    writes_.clear();
    by_chunk_.clear();
    taken_.clear();
    end_ = 0;
    if (bytes_.capacity() > std::size_t{1} << 20)
        bytes_ = std::string();
    else
        bytes_.clear();
}

} // namespace velm::detail
