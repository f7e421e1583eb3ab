// velm::detail::OperationState: what a file manager has in memory of the operation under way, of
// one that failed, and of a batch.
#pragma once

#include "velm/frame/binary_file.h"
#include "velm/store/detail/gathered_writes.h"
#include "velm/store/detail/offset_map.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velm::detail {

class StepMember;

/// The file manager's own; see there.
struct OperationState {
    int steps = 0;        // of any kind, one inside another
    int changes = 0;      // of these, the ones that change something
    bool wrote = false;   // the operation has gathered something
    bool doomed = false;  // a part of the operation has failed
    bool sparing = false; // no node of the free list is to be made at the end of the file
    std::vector<StepMember*> members;

    // The operation under way.
    GatheredWrites log;
    long start_before = -1; // the head of the file when it began, as it is on file
    long end_before = 0;
    std::vector<std::pair<long, long>> allocated; // of space that was free when it began
    std::vector<std::pair<long, long>> freed;

    /// The writes of an operation that failed, the first `done` of which may have changed the file.
    struct Behind {
        bool any = false;
        GatheredWrites writes;
        std::size_t done = 0;
        bool head = false; // the head of the file may have been written
    } behind;

    /// The images of a node at the end of the file. They are of use while the node is written.
    struct Guard {
        bool there = false;
        long node = -1;
        std::size_t node_size = 0;
        long start = 0;

        /// Whether a range has bytes of the node.
        bool is_of(long offset, std::size_t size) const {
            return there && offset < node + static_cast<long>(node_size) &&
                   node < offset + static_cast<long>(size);
        }
    } guard;
    /// Where the file ends for the system, if images, or zeros in their place, follow its own end.
    long tail_end = 0;

    /// A node that a batch has changed: its image, and after it the old one if the node was in the
    /// file when the batch began.
    struct BatchNode {
        long offset;
        std::uint32_t size;
        bool of_tree;
        bool is_new;
        std::unique_ptr<char[]> images;
    };
    struct Batch {
        OffsetMap places; // of nodes, by their offsets
        std::deque<BatchNode> nodes;
        std::vector<long> freed; // payloads of blocks, given back when the batch is on file

        BatchNode* find(long offset) {
            const std::int32_t* const place = places.find(static_cast<std::uint32_t>(offset));
            return place != nullptr ? &nodes[static_cast<std::size_t>(*place)] : nullptr;
        }
        BatchNode& add(long offset, std::size_t size, bool of_tree, bool is_new) {
            places.enter(static_cast<std::uint32_t>(offset),
                         static_cast<std::int32_t>(nodes.size()));
            return nodes.emplace_back(
                BatchNode{offset, static_cast<std::uint32_t>(size), of_tree, is_new,
                          std::make_unique_for_overwrite<char[]>(is_new ? size : 2 * size)});
        }
    };
    std::unique_ptr<Batch> batch;

    // What was read ahead, while a step is under way.
    static constexpr std::size_t window_capacity = 4096;
    std::unique_ptr<char[]> window;
    ULONGLONG window_at = 0;
    std::size_t window_size = 0;
    static constexpr std::size_t most_ahead = 1024;
    static constexpr std::size_t ahead = 640; // most records, with their size words
    std::string node_read;                    // a node that is too large to be kept

    /// Beyond this, what was written to free space goes to the file at once.
    static constexpr std::size_t most_held = std::size_t{1} << 20;
};

} // namespace velm::detail
