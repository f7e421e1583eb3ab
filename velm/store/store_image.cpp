#include "velm/store/store_image.h"

#include "velm/platform/file_exception.h"
#include "velm/store/detail/unfinished_node.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <utility>

namespace velm {

namespace {

constexpr std::size_t kMostFaults = 1000;
constexpr int kDeepestTree = 64;

std::string text(const char* what, const std::string& detail) {
    return std::string(what) + " " + detail;
}

// Walks one tree of the file.
class TreeReader {
public:
    TreeReader(StoreImage& image, TreeImage& tree, const char* kind)
        : image_(image), tree_(tree), kind_(kind),
          binary_(tree.information.flags & 1), layout_{tree.information.key_length,
                                                       tree.information.order} {}

    bool sizes_are_sane(long offset) {
        const ERBTreeInformation& info = tree_.information;
        const bool sane = info.key_length >= 1 && info.key_length <= 0xFFFF && info.order >= 1 &&
                          info.order <= 0xFFFF && info.minimum <= info.order;
        if (!sane ||
            (info.root != -1 && layout_.node_size() > static_cast<std::size_t>(image_.length))) {
            image_.faults.add(offset, text(kind_, "has impossible sizes"));
            return false;
        }
        return true;
    }

    void walk() {
        if (tree_.information.root != -1) walk(tree_.information.root, 0);
    }

private:
    void fault(long offset, const char* what) { image_.faults.add(offset, text(kind_, what)); }

    void lost(long offset, const char* what) {
        tree_.whole = false;
        fault(offset, what);
    }

    bool less(const std::string& a, const std::string& b) const {
        return binary_ ? a < b : std::strncmp(a.c_str(), b.c_str(), layout_.key_length) < 0;
    }

    void visit(const char* bytes, long value, long node) {
        std::string key(bytes, binary_ ? layout_.key_length : ::strnlen(bytes, layout_.key_length));
        if (!tree_.entries.empty() && !less(tree_.entries.back().key, key))
            fault(node, "has keys out of order");
        tree_.entries.push_back({std::move(key), value, node});
    }

    void walk(long offset, int depth) {
        std::vector<char> bytes(layout_.node_size());
        if (depth > kDeepestTree || !seen_.insert(offset).second)
            return lost(offset, "has a node that is named twice");
        if (offset < ERFileManager::first_block || !image_.read(offset, bytes.data(), bytes.size()))
            return lost(offset, "has a node outside the file");
        const ERDiskTreeNodeView node(layout_, bytes.data());
        const int count = node.counter();
        if (count < 0 || count > layout_.max_keys())
            return lost(offset, "has a node with an impossible number of keys");
        const long least = depth == 0 ? 1 : static_cast<long>(tree_.information.minimum);
        if (count < least) fault(offset, "has a node with too few keys");
        if (image_.block_size(offset) < static_cast<long>(layout_.node_size()) + 4)
            fault(offset, "has a node in too small a block");
        else
            tree_.extents.push_back({offset - 4, image_.block_size(offset), kind_});
        if (node.is_leaf()) check_leaf_depth(offset, depth);
        for (int i = 0; i <= count; ++i) {
            if (!node.is_leaf() && has_room_for_more()) walk(node.sons(i), depth + 1);
            if (i < count) visit(node.keys(i), node.items(i), offset);
        }
    }

    // Nodes that overlap would be more than the file has room for.
    bool has_room_for_more() const {
        return seen_.size() < static_cast<std::size_t>(image_.length) / layout_.node_size();
    }

    void check_leaf_depth(long offset, int depth) {
        if (leaf_depth_ == -1) leaf_depth_ = depth;
        if (leaf_depth_ != depth) fault(offset, "has leaves at different depths");
    }

    StoreImage& image_;
    TreeImage& tree_;
    const char* kind_;
    bool binary_;
    ERDiskTreeLayout layout_;
    std::unordered_set<long> seen_;
    int leaf_depth_ = -1;
};

} // namespace

void StoreFaults::add(long offset, std::string what) {
    if (faults_.size() < kMostFaults) faults_.push_back({offset, std::move(what)});
    ++count_;
}

std::int32_t TreeImage::number(const std::string& key) {
    std::int32_t value = 0;
    std::memcpy(&value, key.data(), std::min(key.size(), sizeof value));
    return value;
}

StoreImage::StoreImage(const char* name)
    : file(name, CFile::modeRead | CFile::shareDenyWrite | CFile::typeBinary) {
    length = static_cast<long>(file.GetLength());
    read_head();
    if (!head_known) return;
    read_unfinished_node();
    read_free_list();
    read_header();
    if (!header_known) return;
    classes = read_tree(header.class_tree, "the class tree", class_tree_form);
    for (const TreeImage::Entry& entry : classes.entries)
        class_names.emplace(entry.value, entry.key);
    objects = read_tree(header.object_tree, "the object tree", object_tree_form);
    read_records();
    read_index();
}

bool StoreImage::read(long offset, void* target, std::size_t count) const {
    if (offset < 0 || offset > length || static_cast<std::size_t>(length - offset) < count)
        return false;
    file.Seek(offset, CFile::begin);
    if (read_bytes(file, target, count) != count) return false;
    const long from = std::max(offset, mended.offset);
    const long to = std::min(offset + static_cast<long>(count), mended.end());
    if (from < to)
        mended_bytes.copy(static_cast<char*>(target) + (from - offset),
                          static_cast<std::size_t>(to - from),
                          static_cast<std::size_t>(from - mended.offset));
    return true;
}

long StoreImage::next_data(long offset) const {
    return offset < 0 || offset >= length
               ? offset
               : static_cast<long>(file.next_data(static_cast<ULONGLONG>(offset)));
}

// A process that was killed in the writing of a node has left its images at the end of the file.
void StoreImage::read_unfinished_node() {
    using detail::UnfinishedNode;
    struct {
        std::int32_t offset;
        std::int32_t size;
        char magic[8];
    } trailer;
    static_assert(sizeof trailer == UnfinishedNode::trailer_size);
    const long end = length - long{sizeof trailer};
    if (!read(end, &trailer, sizeof trailer) || trailer.size < 1 || trailer.size > end / 2 ||
        std::memcmp(trailer.magic, UnfinishedNode::magic, sizeof trailer.magic) != 0)
        return;
    UnfinishedNode node{trailer.offset, std::string(std::size_t(trailer.size), '\0'), {}};
    node.old = node.replacement;
    std::string present = node.old;
    const bool whole = trailer.offset >= ERFileManager::first_block &&
                       read(end - 2 * trailer.size, node.replacement.data(), present.size()) &&
                       read(end - trailer.size, node.old.data(), present.size()) &&
                       read(trailer.offset, present.data(), present.size());
    if (!whole || !node.is_mixture(present)) return;
    faults.add(node.offset, "a node was not written whole");
    mended = {node.offset, trailer.size, "a node"};
    mended_bytes = node.replacement;
}

long StoreImage::block_size(long payload) const {
    std::uint32_t size = 0;
    if (payload - 4 < ERFileManager::first_block || !read(payload - 4, &size, sizeof size))
        return 0;
    return size >= 4 && size <= CFile::longest - static_cast<ULONGLONG>(payload) + 4
               ? static_cast<long>(size)
               : 0;
}

void StoreImage::read_head() {
    std::int32_t head[3] = {};
    const bool whole = read(0, head, sizeof head);
    if (!whole || head[2] != ERFileManager::node_size) {
        faults.add(0, "this is not an object file: its head is missing or unknown");
        return;
    }
    head_known = true;
    start = head[0];
    end_of_data = head[1];
    if (end_of_data < ERFileManager::first_block)
        faults.add(4, "the end of data lies inside the head of the file");
}

void StoreImage::read_free_list() {
    std::unordered_set<long> seen;
    long offset = ERFileManager::head_node_offset;
    do {
        ERFreeListNode node;
        if (!seen.insert(offset).second)
            return faults.add(offset, "the free list runs in a circle without its head");
        if (!read(offset, &node, sizeof node))
            return faults.add(offset, "the free list has a node outside the file");
        if (node.magic != ERFreeListNode::magic_number)
            return faults.add(offset, "the free list has a node without its magic number");
        if (offset != ERFileManager::head_node_offset)
            free_nodes.push_back({offset, ERFileManager::node_size, "a free-list node"});
        if (node.count < 0 || node.count > ERFreeListNode::max_extents)
            return faults.add(offset, "the free list has a node with an impossible count");
        for (int i = 0; i < node.count; ++i) {
            const StoreExtent extent{node.offsets[i], static_cast<long>(node.sizes[i]),
                                     "a free extent"};
            if (extent.offset < ERFileManager::first_block || extent.size == 0 ||
                extent.end() > end_of_data)
                faults.add(offset, "the free list has an extent outside the data");
            else
                free_extents.push_back(extent);
            if (i > 0 && node.offsets[i - 1] >= node.offsets[i])
                faults.add(offset, "the free list has extents out of order");
        }
        offset = node.next;
    } while (offset != ERFileManager::head_node_offset);
}

void StoreImage::read_header() {
    if (start < ERFileManager::first_block || !read(start, &header, sizeof header)) {
        header = DatabaseHeader();
        faults.add(0, "the file has no database header");
        return;
    }
    header_known = true;
    if (header.version > DatabaseHeader::current_version)
        faults.add(start, "the file is of a later version");
}

TreeImage StoreImage::read_tree(long information_offset, const char* kind, StoreTree form) {
    TreeImage tree;
    if (!read(information_offset, &tree.information, sizeof tree.information) ||
        tree.information.magic != ERBTreeInformation::magic_number) {
        faults.add(information_offset, text(kind, "has no information block"));
        return tree;
    }
    if (tree.information.key_length != form.key_length ||
        (tree.information.flags & 1) != form.binary_keys) {
        faults.add(information_offset, text(kind, "has keys of another form"));
        return tree;
    }
    tree.known = true;
    // The word in front of the class tree's block holds the header's last field.
    tree.extents.push_back({information_offset - 4, 44, kind});
    TreeReader reader(*this, tree, kind);
    tree.whole = reader.sizes_are_sane(information_offset);
    if (tree.whole) reader.walk();
    return tree;
}

void StoreImage::read_records() {
    for (const TreeImage::Entry& entry : objects.entries) {
        RecordImage record{TreeImage::number(entry.key), entry.value, 0, 0};
        std::int32_t signature = 0;
        const long block = block_size(record.location);
        if (block < 8 || !read(record.location, &signature, sizeof signature)) {
            faults.add(entry.node, "object " + std::to_string(record.identifier) +
                                       " has its record outside the file");
            continue;
        }
        record.size = block - 4;
        record.signature = signature;
        records.push_back(record);
    }
    std::sort(records.begin(), records.end(), [](const RecordImage& a, const RecordImage& b) {
        return a.identifier < b.identifier;
    });
}

void StoreImage::read_index() {
    if (records.empty() || records.front().identifier != 1) return;
    const RecordImage& first = records.front();
    if (class_name(first.signature) != "ERAuxilaryIndex") return;
    std::int32_t offset = -1;
    if (!read(first.location + 4, &offset, sizeof offset)) return;
    has_index = true;
    index = read_tree(offset, "the index", index_tree_form);
}

std::string StoreImage::class_name(long signature) const {
    const auto found = class_names.find(signature);
    return found != class_names.end() ? found->second : std::string();
}

std::string StoreImage::guts(const RecordImage& record) const {
    const long from = record.location + 4;
    const long bytes = std::clamp(record.size - 4, 0L, std::max(length - from, 0L));
    std::string result(static_cast<std::size_t>(bytes), '\0');
    read(from, result.data(), result.size());
    return result;
}

std::vector<StoreExtent> StoreImage::extents() const {
    std::vector<StoreExtent> all = {{0, ERFileManager::first_block, "the head of the file"}};
    if (header_known) all.push_back({start - 4, 24, "the database header"});
    for (const TreeImage* tree : {&classes, &objects, &index})
        all.insert(all.end(), tree->extents.begin(), tree->extents.end());
    all.insert(all.end(), free_nodes.begin(), free_nodes.end());
    all.insert(all.end(), free_extents.begin(), free_extents.end());
    for (const RecordImage& record : records)
        all.push_back({record.location - 4, record.size + 4, "a record"});
    std::stable_sort(all.begin(), all.end(), [](const StoreExtent& a, const StoreExtent& b) {
        return a.offset < b.offset;
    });
    return all;
}

// ---- the counters ----

std::vector<StoreFault> stale_counters(const StoreImage& image) {
    std::vector<StoreFault> stale;
    const auto compare = [&stale](bool behind, long offset, const char* what) {
        if (behind) stale.push_back({offset, what});
    };
    const auto entries = [&](const TreeImage& tree, long offset, const char* what) {
        compare(tree.known && tree.information.entries != tree.entries.size(), offset + 12, what);
    };
    if (!image.header_known) return stale;
    long last_signature = 0;
    for (const TreeImage::Entry& entry : image.classes.entries)
        last_signature = std::max(last_signature, entry.value);
    long last_identifier = 0;
    for (const TreeImage::Entry& entry : image.objects.entries)
        last_identifier = std::max<long>(last_identifier, TreeImage::number(entry.key));
    compare(image.header.last_identifier < last_identifier,
            image.start + DatabaseHeader::counters_at,
            "the last identifier is behind the object tree");
    compare(image.header.last_signature < last_signature,
            image.start + DatabaseHeader::counters_at + 8,
            "the last signature is behind the class tree");
    entries(image.classes, image.header.class_tree,
            "the number of classes is not what the class tree holds");
    entries(image.objects, image.header.object_tree,
            "the number of objects is not what the object tree holds");
    if (image.has_index && !image.index.extents.empty()) {
        entries(image.index, image.index.extents.front().offset + 4,
                "the number of indices is not what the index holds");
    }
    return stale;
}

bool counters_are_stale(const char* name) { return !stale_counters(StoreImage(name)).empty(); }

} // namespace velm
