// ERFreeListNode, ERLMan, ERListManager: the free space of an object file, as a circular chain of
// fixed nodes in the file itself.
//
// The layout of a node and every number here are stored: they must never change.
#pragma once

#include "velm/export.h"

#include <cstddef>
#include <cstdint>

class ERFileManager;

/// The null offset: "none".
inline constexpr long ER_NULL_OFFSET = -1;

/// The image of a free-list node, 268 bytes on file. The extents in use are sorted by offset.
struct ERFreeListNode {
    static constexpr std::int16_t magic_number = 588; // on file
    static constexpr int max_extents = 32;            // on file

    std::int16_t magic = magic_number;
    std::int16_t unused = 0;
    std::int32_t offsets[max_extents] = {};
    std::uint32_t sizes[max_extents] = {};
    std::int32_t count = 0;
    std::int32_t next = -1;

    /// Enters an extent: joined to the entries it touches, else at its place by offset. Returns
    /// false when it touches none and the node is full.
    bool enter(std::int32_t offset, std::uint32_t size);
    /// Takes entry i out.
    void remove(int i);
};
static_assert(sizeof(ERFreeListNode) == 268, "the node is stored");
static_assert(offsetof(ERFreeListNode, offsets) == 4 && offsetof(ERFreeListNode, sizes) == 132 &&
              offsetof(ERFreeListNode, count) == 260 && offsetof(ERFreeListNode, next) == 264);

/// What hands out blocks of a file by their payload's offset and takes them back.
class VELM_API ERLMan {
public:
    ERLMan() = default;
    ERLMan(const ERLMan&) = default;
    ERLMan& operator=(const ERLMan&) = default;
    virtual ~ERLMan() = default;
    virtual long allocate(unsigned int bytes) = 0;
    virtual void deallocate(long payload) = 0;
};

/// The free list of a file manager. First fit within a node, next fit across nodes: the search
/// starts at the node where the last operation stopped. An operation is one of the file manager's.
///
/// Raises CFileException*. A node whose magic number is wrong is reported in the debug output and
/// used as it is.
class VELM_API ERListManager : public ERLMan {
public:
    /// With create set, writes an empty head node; else reads it.
    ERListManager(ERFileManager* file_, int create);
    /// Copies share the file manager and take over the current node's image.
    ERListManager(const ERListManager&) = default;
    ERListManager& operator=(const ERListManager&) = default;

    long allocate(unsigned int bytes) override;
    void deallocate(long payload) override;

private:
    friend class ERFileManager;

    /// The part in memory goes back with the file manager's operations.
    void remember() { state_before = {current, node}; }
    void go_back() {
        current = state_before.current;
        node = state_before.node;
    }
    template <class Work>
    auto as_operation(Work work);
    long take_block(unsigned int bytes, unsigned int& total);
    /// With a total size of 0 the size word is read.
    void give_back(long payload, unsigned int total);
    void addToFreeList(long offset, unsigned int size);
    /// Chains a new node after the current one. The extent that made it necessary is not entered
    /// anywhere and lost for good, kept for file compatibility.
    void extendFreeList(long offset, unsigned int size);
    void deleteNode();
    int readNode(long offset);
    void writeNode();
    int advance();
    int advance(long stop);
    /// As advance(stop) again and again, to the next node that a chain in memory finds or to the
    /// last one; a step where there is no such chain.
    template <class Find>
    int advance_to(long stop, Find find);
    void writeNode(long offset, const ERFreeListNode& image);
    unsigned int readHeader(long offset);
    void writeHeader(long offset, unsigned int size);
    /// Takes `need` bytes or a little more from extent i; need becomes the size given away.
    long take(int i, unsigned int& need);
    bool is_lone_head() const;

    /// Starts a walk round the chain: one that takes more steps than the file has room for nodes
    /// raises an invalidFile instead of going on for ever.
    void begin_walk() {
        steps = 0;
        jumped = false;
    }

    ERFileManager* file;
    long current;
    ERFreeListNode node;
    struct Before {
        long current = -1;
        ERFreeListNode node;
    } state_before;
    long steps = 0;
    bool jumped = false; // to the node that the chain in memory found
};
