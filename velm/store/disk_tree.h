// ERBTreeOnDisk: a B-tree of fixed-length keys and 32-bit values in the blocks of a file manager.
#pragma once

#include "velm/export.h"
#include "velm/frame/string.h"
#include "velm/store/disk_tree_node.h"
#include "velm/store/file_space.h"

#include <memory>
#include <utility>
#include <vector>

namespace velm::detail {
class LeafTable;
class PairTable;
struct NumberRange;
} // namespace velm::detail

/// The 40 bytes by which a tree is found. Offsets and numbers are stored.
struct ERBTreeInformation {
    static constexpr std::int32_t magic_number = 1365; // on file

    std::int32_t root = -1;
    std::int32_t reserved = -1;
    std::int32_t magic = magic_number;
    std::uint32_t entries = 0;
    std::uint32_t key_length = 0;
    std::uint32_t order = 0;
    std::uint32_t minimum = 0; // least keys in a node that is not the root
    std::int32_t reserved_28 = -1;
    std::int32_t reserved_32 = 0;
    std::int32_t flags = 0; // bit 0: binary keys
};
static_assert(sizeof(ERBTreeInformation) == 40, "the information block is stored");

/// A B-tree after Bayer and McCreight (1972), with 2 * order keys to a node at most. Binary keys
/// (ignoreNulls) compare by memcmp, others by strncmp over the key length, so that integers in
/// binary keys sort by their little-endian bytes: the order is part of the format.
///
/// Each operation is one of the file manager's: it is on file as a whole, or leaves the tree as it
/// was. Its nodes are written in such an order that a process that ends in between leaves every
/// pair in a node that the root leads to, if need be in two of them; the information block is
/// written after a change of the root, by clear, and by the destructor. File trouble is raised as
/// CFileException*; so are nodes that can't be (more keys than fit, a depth beyond any tree):
/// invalidFile. The destructor raises nothing. On a file opened read-only nothing is written. One
/// thread to a tree, and one object of this class at a time. With binary keys of four bytes the
/// pairs that were found or entered are kept in memory, up to 12 MiB a tree.
class VELM_API ERBTreeOnDisk : private velm::detail::StepMember {
public:
    enum createMode : int { openExisting = 0, createNew = 1 };

    /// Opens the tree whose information block is at infoOffset, or at the file's start() for -1;
    /// with createNew, or where the file has no start yet, makes a new one. What an existing
    /// information block says overrules the arguments. One with a wrong magic number gives an empty
    /// tree that compares by strncmp; nothing is written until it is changed, then to that block.
    ERBTreeOnDisk(ERFileManager& file_, unsigned int cacheSize, createMode mode,
                  unsigned int keyLength, int ignoreNulls, long infoOffset, unsigned int order,
                  unsigned int minimum);
    ERBTreeOnDisk(const ERBTreeOnDisk&) = delete;
    ERBTreeOnDisk& operator=(const ERBTreeOnDisk&) = delete;
    ~ERBTreeOnDisk() override;

    /// 1, or 0 when the key was there; the tree is unchanged then.
    int insertKeyAndValue(const char* key, long value);
    /// The value, or -1.
    long findValue(const char* key) const;
    int contains(const char* key) const;
    void remove(const char* key);
    /// 1 with the pair taken out, or 0.
    int removeKeyAndValue(const char* key, ERCString& removedKey, long& value);
    /// 1 with the old value, or 0 and -1.
    int replaceValue(const char* key, long newValue, long& oldValue);
    unsigned long entries() const;
    void clear();
    long baseLocation() const { return infoOffset; }
    /// Calls back with each key and value in key order. With a flag of 0 the walk is whole and the
    /// callback may change the key bytes it is given. Any other flag walks only a tree of one node
    /// rightly; a deeper one it leaves early, with some keys repeated and others missed, part of
    /// the contract.
    void applyToKeyAndValue(void (*callback)(const char* key, long value, void* arg), void* arg,
                            int flag);

    /// Writes the information block as the destructor does, and raises what goes wrong with it.
    void save_information();
    /// The total size of the block whose payload a number's value is, as it was noted last; 0 where
    /// that isn't known any more.
    unsigned int block_size(const char* key) const;
    void note_block_size(const char* key, unsigned int size) const;
    /// Copies a key by the tree's rule.
    void copy_key(char* target, const char* key) const;
    /// Whether the information block was read with its magic number.
    bool has_valid_information() const {
        return information.magic == ERBTreeInformation::magic_number;
    }
    const ERBTreeInformation& info() const { return information; }
    /// Raises an invalidFile where the information on file is of other keys than the caller's: a
    /// longer key would be read beyond its end.
    void require_keys(unsigned int keyLength, int ignoreNulls) const;

private:
    enum retStatus : int { pending = 0, underflow = 0, done = 1, duplicate = 2, not_found = 2 };

    /// What an insertion hands up from a node that was split, or down to the leaf.
    struct Pending {
        std::vector<char> key;
        long value = 0;
        long son = -1;
    };

    retStatus ins(const char* key, long value);
    retStatus insert_in_known_leaf(const char* key, long value);
    retStatus rem(const char* key, ERCString& outKey, long& outValue);
    retStatus remove_from_leaf(int pos, ERCString& outKey, long& outValue);
    /// Mends son pos of a parent, which has fallen below the minimum.
    retStatus restoreNode(long parent, int pos);
    /// Splits the full work node, with the pending triple belonging at pos.
    void splitNode(int pos);
    void combineNodes(int pos, long parent);
    void moveItLeft(int pos, long parent);
    void moveItRight(int pos, long parent);
    void swapWithSuccessor(int pos);
    int remove_pair(const char* key, ERCString& removedKey, long& value);
    void new_root();
    void drop_empty_root();
    void apl(long offset, void (*callback)(const char*, long, void*), void* arg, int flag,
             int depth);
    void del(long offset, int depth);
    /// The offset of the node that holds the key and its place there, -1 where none does.
    long findKeyAndValue(const char* key, int& pos, long& value) const;
    /// Whether keys are numbers of four bytes, whose pairs are kept once they have been found.
    bool has_numbers() const {
        return compare == ERDiskTreeNodeView::compare_binary && layout.key_length == 4;
    }
    bool find_number(const char* key, long& value) const;
    void enter_pairs(const ERDiskTreeNodeView& node, const velm::detail::NumberRange& range) const;
    velm::detail::PairTable& valid_pairs() const;
    velm::detail::LeafTable& valid_leaves() const;
    void forget_known() const;
    /// Writes the left halves of the nodes that an insertion has split, from the top down.
    void write_halves();

    void infoInit(unsigned int keyLength, int ignoreNulls, unsigned int order,
                  unsigned int minimum);
    void infoReInit(unsigned int keyLength, int ignoreNulls, unsigned int order,
                    unsigned int minimum);
    int ignoreNulls() const { return information.flags & 1; }
    int isEmpty() const { return information.root == -1; }
    void readInfo();
    void writeInfo();
    /// The node at an offset, good until the cache is used again; raises where there is none.
    ERDiskTreeNodeView node_at(long offset) const;
    /// Reads the node at an offset into a buffer.
    void readcache(long offset, ERDiskTreeNode& target) const;
    void writecache(long offset, const ERDiskTreeNode& source);
    void startup();
    void check_sizes() const;
    void check_depth(int depth) const;
    [[noreturn]] void raise_invalid() const;
    void remember() override { before = {information, information_on_file}; }
    void go_back() noexcept override;

    void load(long offset) const;
    void store() { writecache(workOffset, *work); }
    bool equal(const ERDiskTreeNode& node, int pos, const char* key) const {
        return node.view().holds(pos, key, compare);
    }
    ERCString key_text(const char* key) const;
    int max_keys() const { return layout.max_keys(); }
    long minimum() const { return static_cast<long>(information.minimum); }

    ERFileManager& file;
    long infoOffset;
    ERBTreeInformation information;
    ERBTreeInformation information_on_file;
    bool information_known = false; // made here or read with its magic number
    struct Before {
        ERBTreeInformation information;
        ERBTreeInformation on_file;
    } before;
    ERDiskTreeLayout layout;
    ERDiskTreeNode::Compare compare = nullptr;
    std::unique_ptr<ERDiskTreeNode> work;  // the one node being worked on
    std::unique_ptr<ERDiskTreeNode> above; // and, in a removal, its parent and its neighbour
    std::unique_ptr<ERDiskTreeNode> beside;
    std::vector<std::pair<long, int>> way; // down to a leaf: nodes and places in them
    mutable long workOffset = -1;
    Pending pendingInsertion;
    std::vector<std::pair<long, ERDiskTreeNode>> halves; // split by the insertion under way
    std::unique_ptr<ERDiskNodeCache> cache;
    std::unique_ptr<velm::detail::PairTable> pairs;  // of numbers, as they are in the tree
    std::unique_ptr<velm::detail::LeafTable> leaves; // that insertions have found
    mutable unsigned long known_of = 0; // the nodes that the file manager had dropped by then
    long visits = 0;                    // nodes that the walk under way may still see
};
