#include "velm/store/detail/free_chain.h"

#include <algorithm>
#include <iterator>

namespace velm::detail {

void FreeChain::forget() {
    tried_ = usable_ = false;
    nodes_.clear();
    largest_.clear();
    full_.clear();
    images_.clear();
    starts_.clear();
    ends_.clear();
}

void FreeChain::give_up() {
    forget();
    tried_ = true;
}

// Most look-ups are of the node that was looked up last. The others go through runs of offsets,
// each without a branch.
std::size_t FreeChain::place_of(long offset) const {
    constexpr std::size_t kRun = 64;
    const auto sought = static_cast<std::int32_t>(offset);
    if (last_place_ < nodes_.size() && nodes_[last_place_] == sought) return last_place_;
    std::size_t place = 0;
    for (; place + kRun <= nodes_.size(); place += kRun) {
        unsigned found = 0;
        for (std::size_t i = 0; i < kRun; ++i)
            found |= nodes_[place + i] == sought ? 1u : 0u;
        if (found != 0) break;
    }
    while (place < nodes_.size() && nodes_[place] != sought)
        ++place;
    return last_place_ = place;
}

// ---- what the nodes list ----

namespace {

// Where two nodes differ: they have `first` extents in common at the beginning and `last` at the
// end.
struct Difference {
    int first = 0;
    int last = 0;

    Difference(const ERFreeListNode& a, const ERFreeListNode& b) {
        const int least = std::min(a.count, b.count);
        const auto same = [&](int i, int j) {
            return a.offsets[i] == b.offsets[j] && a.sizes[i] == b.sizes[j];
        };
        while (first < least && same(first, first))
            ++first;
        while (last < least - first && same(a.count - 1 - last, b.count - 1 - last))
            ++last;
    }
};

// Whether extents of a node from `first` to before `end` can be, and come after the one before.
bool is_sound(const ERFreeListNode& node, int first, int end) {
    for (int i = first; i < end; ++i)
        if (node.sizes[i] == 0 || node.sizes[i] > INT32_MAX ||
            node.offsets[i] <= (i > 0 ? node.offsets[i - 1] : 0))
            return false;
    return true;
}

bool has_sound_head(const ERFreeListNode& node) {
    return node.magic == ERFreeListNode::magic_number && node.count >= 0 &&
           node.count <= ERFreeListNode::max_extents;
}

} // namespace

bool FreeChain::enter(std::int32_t at, const ERFreeListNode& node, int i) {
    const auto start = static_cast<std::uint32_t>(node.offsets[i]);
    return starts_.enter(start, at) && ends_.enter(start + node.sizes[i], at);
}

void FreeChain::leave(const ERFreeListNode& node, int i) {
    const auto start = static_cast<std::uint32_t>(node.offsets[i]);
    starts_.erase(start);
    ends_.erase(start + node.sizes[i]);
}

void FreeChain::leave_all(const ERFreeListNode& node) {
    for (int i = 0; i < node.count; ++i)
        leave(node, i);
}

void FreeChain::measure(std::size_t i) {
    const ERFreeListNode& node = *images_[i];
    full_[i] = node.count == ERFreeListNode::max_extents;
    std::uint32_t largest = 0;
    for (int k = 0; k < node.count; ++k)
        largest = std::max(largest, node.sizes[k]);
    largest_[i] = largest;
}

bool FreeChain::append(long offset, const ERFreeListNode& node) {
    const auto at = static_cast<std::int32_t>(offset);
    if (!has_sound_head(node) || !is_sound(node, 0, node.count)) return false;
    for (int i = 0; i < node.count; ++i)
        if (!enter(at, node, i)) return false;
    nodes_.push_back(at);
    largest_.push_back(0);
    full_.push_back(0);
    images_.push_back(std::make_unique<ERFreeListNode>(node));
    measure(nodes_.size() - 1);
    return true;
}

// ---- finding ----

long FreeChain::first_with(long from, std::uint32_t size) const {
    const auto start = largest_.begin() + static_cast<std::ptrdiff_t>(place_of(from));
    const auto fits = [size](std::uint32_t largest) { return largest >= size; };
    auto found = std::find_if(start, largest_.end(), fits);
    if (found == largest_.end()) {
        found = std::find_if(largest_.begin(), start, fits);
        if (found == start) return -1;
    }
    return nodes_[static_cast<std::size_t>(found - largest_.begin())];
}

long FreeChain::first_for(long from, long offset, std::uint32_t size) const {
    const std::size_t start = place_of(from);
    const std::size_t count = nodes_.size();
    const auto way = [=](std::size_t place) { return (place + count - start) % count; };
    std::size_t least = count;
    const auto middle = full_.begin() + static_cast<std::ptrdiff_t>(start);
    auto room = std::find(middle, full_.end(), 0);
    if (room == full_.end()) {
        room = std::find(full_.begin(), middle, 0);
        if (room == middle) room = full_.end();
    }
    if (room != full_.end()) least = way(static_cast<std::size_t>(room - full_.begin()));
    const auto touching = [&](const OffsetMap& map, std::int64_t at) {
        if (at <= 0 || at > UINT32_MAX) return;
        const std::int32_t* const node = map.find(static_cast<std::uint32_t>(at));
        if (node != nullptr) least = std::min(least, way(place_of(*node)));
    };
    touching(ends_, offset);
    touching(starts_, std::int64_t{offset} + size);
    return least == count ? -1 : nodes_[(start + least) % count];
}

long FreeChain::before(long node) const {
    const std::size_t place = place_of(node);
    return nodes_[place > 0 ? place - 1 : nodes_.size() - 1];
}

// ---- following ----

void FreeChain::written(long offset, const ERFreeListNode& node) {
    if (!usable_) return;
    const std::size_t place = place_of(offset);
    if (place == nodes_.size()) return forget();
    if (!has_sound_head(node)) return give_up();
    ERFreeListNode& image = *images_[place];
    const Difference differ(image, node);
    const int end = node.count - differ.last;
    if (!is_sound(node, differ.first, std::min(end + 1, node.count))) return give_up();
    for (int i = differ.first; i < image.count - differ.last; ++i)
        leave(image, i);
    for (int i = differ.first; i < end; ++i)
        if (!enter(nodes_[place], node, i)) return give_up();
    image = node;
    measure(place);
}

void FreeChain::chained(long before, long offset) {
    if (!usable_) return;
    const std::size_t place = place_of(before);
    if (place == nodes_.size() || place_of(offset) != nodes_.size()) return forget();
    const auto at = static_cast<std::ptrdiff_t>(place) + 1;
    nodes_.insert(nodes_.begin() + at, static_cast<std::int32_t>(offset));
    largest_.insert(largest_.begin() + at, 0);
    full_.insert(full_.begin() + at, 0);
    images_.insert(images_.begin() + at, std::make_unique<ERFreeListNode>());
}

void FreeChain::removed(long offset) {
    if (!usable_) return;
    const std::size_t place = place_of(offset);
    if (place == nodes_.size()) return forget();
    leave_all(*images_[place]);
    const auto at = static_cast<std::ptrdiff_t>(place);
    nodes_.erase(nodes_.begin() + at);
    largest_.erase(largest_.begin() + at);
    full_.erase(full_.begin() + at);
    images_.erase(images_.begin() + at);
}

} // namespace velm::detail
