// ERDiskTreeLayout, ERDiskTreeNodeView, ERDiskTreeNode, ERDiskNodeCache: a node of a disk tree in
// memory, and the cache of such nodes.
#pragma once

#include "velm/export.h"
#include "velm/store/file_space.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

class ERBTreeOnDisk;

/// The sizes of a tree's nodes. The layout is stored and must never change: with keys of K
/// bytes and the order M,
///
///     0         counter: the keys in use
///     4         2M + 1 sons: offsets of child nodes, -1 where there is none
///     8M + 8    2M items: the values
///     16M + 8   2M keys of K bytes, ascending
struct ERDiskTreeLayout {
    unsigned int key_length = 0;
    unsigned int order = 0;

    int max_keys() const { return static_cast<int>(2 * order); }
    static constexpr std::size_t first_son_at = 4;
    std::size_t sons_at() const { return first_son_at; }
    std::size_t items_at() const { return 8 * std::size_t{order} + 8; }
    std::size_t keys_at() const { return 16 * std::size_t{order} + 8; }
    std::size_t node_size() const { return (std::size_t{key_length} + 8) * order * 2 + 8; }
};

/// The fields of a node's image, for reading.
class ERDiskTreeNodeView {
public:
    using Compare = int (*)(const char*, const char*, std::size_t);
    static int compare_binary(const char* a, const char* b, std::size_t n);
    /// Four bytes as the number by which they compare.
    static std::uint32_t in_byte_order(const char* four) {
        std::uint32_t word;
        std::memcpy(&word, four, sizeof word);
        return __builtin_bswap32(word);
    }

    ERDiskTreeNodeView(const ERDiskTreeLayout& layout_, const char* image)
        : layout(layout_), bytes(image) {}

    int counter() const { return word(0); }
    long sons(int i) const { return word(layout.sons_at() + 4 * std::size_t(i)); }
    long items(int i) const { return word(layout.items_at() + 4 * std::size_t(i)); }
    const char* keys(int i) const {
        return bytes + layout.keys_at() + std::size_t{layout.key_length} * std::size_t(i);
    }
    bool is_leaf() const { return sons(0) == -1; }
    const char* data() const { return bytes; }
    /// The first position whose key is not less than this one; the counter if all are less.
    int binarySearch(const char* key, Compare compare) const {
        return has_numbers(compare) ? search_number(in_byte_order(key)) : search(key, compare);
    }
    bool holds(int pos, const char* key, Compare compare) const {
        if (pos >= counter()) return false;
        if (has_numbers(compare)) return in_byte_order(keys(pos)) == in_byte_order(key);
        return compare(keys(pos), key, layout.key_length) == 0;
    }

private:
    bool has_numbers(Compare compare) const {
        return layout.key_length == sizeof(std::uint32_t) && compare == compare_binary;
    }
    int search(const char* key, Compare compare) const;
    // Without a branch on a key: which way a search goes can't be foretold.
    int search_number(std::uint32_t sought) const {
        const char* first = keys(0);
        int left = counter();
        if (left <= 0) return 0;
        while (left > 1) {
            const int half = left / 2;
            first += (in_byte_order(first + 4 * (half - 1)) < sought) * 4 * half;
            left -= half;
        }
        first += (in_byte_order(first) < sought) * 4;
        return static_cast<int>(first - keys(0)) / 4;
    }
    std::int32_t word(std::size_t at) const {
        std::int32_t value;
        std::memcpy(&value, bytes + at, 4);
        return value;
    }

    ERDiskTreeLayout layout;
    const char* bytes;
};

/// The image of one node. Bytes that nothing assigned are zero.
class VELM_API ERDiskTreeNode {
public:
    ERDiskTreeNode(const ERDiskTreeLayout& layout_, const ERBTreeOnDisk* tree_);
    /// With the pair as key 0.
    ERDiskTreeNode(const ERDiskTreeLayout& layout_, const ERBTreeOnDisk* tree_, const char* key,
                   long value);

    /// No keys, no sons.
    void initialize();
    /// Takes an image of the same layout over.
    void assign(ERDiskTreeNodeView image) { std::memcpy(buffer.data(), image.data(), size()); }

    ERDiskTreeNodeView view() const { return {layout, buffer.data()}; }
    int counter() const { return view().counter(); }
    void counter(int n) { set_word(0, n); }
    long sons(int i) const { return view().sons(i); }
    void sons(int i, long offset) { set_word(layout.sons_at() + 4 * std::size_t(i), offset); }
    long items(int i) const { return view().items(i); }
    void items(int i, long value) { set_word(layout.items_at() + 4 * std::size_t(i), value); }
    char* keys(int i) { return buffer.data() + (view().keys(i) - buffer.data()); }
    const char* keys(int i) const { return view().keys(i); }
    bool is_leaf() const { return view().is_leaf(); }

    using Compare = ERDiskTreeNodeView::Compare;
    int binarySearch(const char* key, Compare compare) const {
        return view().binarySearch(key, compare);
    }
    /// Puts a pair at pos and a son after it; what was there moves up.
    void insert(const char* key, long value, int pos, long son);
    /// Takes key pos, item pos and a son, pos or pos + 1, out; what follows moves down.
    void remove(int pos, int son);
    /// Copies `count` keys and items from another node's position.
    void copy_pairs(int at, const ERDiskTreeNode& from, int first, int count);
    void copy_sons(int at, const ERDiskTreeNode& from, int first, int count);

    char* data() { return buffer.data(); }
    const char* data() const { return buffer.data(); }
    std::size_t size() const { return buffer.size(); }

private:
    void set_word(std::size_t at, long value) {
        const std::int32_t stored = static_cast<std::int32_t>(value);
        std::memcpy(buffer.data() + at, &stored, 4);
    }
    void move_pairs(int to, int from, int count);
    void move_sons(int to, int from, int count);

    ERDiskTreeLayout layout;
    const ERBTreeOnDisk* tree;
    std::vector<char> buffer;
};

/// The nodes of one size as the file manager keeps them in memory.
class VELM_API ERDiskNodeCache {
public:
    ERDiskNodeCache(ERFileManager& file_, std::size_t node_size_)
        : file(file_), node_size(node_size_) {}

    /// The node at an offset, good until the next call; null where the file doesn't have it whole.
    const char* read(long offset) { return file.node_at(offset, node_size); }
    void write(long offset, const char* source);
    void forget(long offset);

private:
    ERFileManager& file;
    std::size_t node_size;
};
