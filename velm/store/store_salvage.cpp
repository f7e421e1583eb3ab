#include "velm/store/store_salvage.h"

#include "velm/platform/file_exception.h"
#include "velm/store/database.h"
#include "velm/store/detail/record_bytes.h"
#include "velm/store/detail/record_checker.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>

namespace velm {

namespace {

constexpr char kIndexClass[] = "ERAuxilaryIndex";

// What goes into the new file.
struct Content {
    DatabaseHeader header;
    std::map<long, std::string> classes; // by signature
    std::map<long, RecordImage> records; // by identifier
    std::map<long, long> index;          // index to identifier
    long index_object = -1;              // the identifier of the index itself, -1 for none
};

// ---- finding what no parent names ----

// The words of a file from a window that moves on; what is all zeros or a hole is passed over.
class WordReader {
public:
    explicit WordReader(const StoreImage& image) : image_(image) {}

    std::int32_t at(long offset) {
        if (!is_here(offset)) fill(offset);
        return is_here(offset) ? word(offset) : 0;
    }
    // The first word from an offset on, in steps of four, that isn't zero; `to` where all are.
    long next_not_zero(long offset, long to) {
        while (offset < to) {
            if (!is_here(offset)) {
                const long data = image_.next_data(offset);
                offset += std::max(data - offset, 0L) & ~3L;
                if (offset >= to) break;
            }
            if (at(offset) != 0) return offset;
            const long end = std::min(to, from_ + starts_);
            for (offset += 4; offset < end && word(offset) == 0;)
                offset += 4;
        }
        return to;
    }

private:
    // Whether the window has the word that begins there.
    bool is_here(long offset) const {
        return static_cast<unsigned long>(offset - from_) < static_cast<unsigned long>(starts_);
    }
    std::int32_t word(long offset) const {
        std::int32_t word;
        std::memcpy(&word, bytes_.data() + (offset - from_), sizeof word);
        return word;
    }
    void fill(long offset) {
        from_ = offset;
        const long size = std::clamp<long>(image_.length - offset, 0, kWindow);
        bytes_.resize(static_cast<std::size_t>(size));
        const bool whole = image_.read(from_, bytes_.data(), bytes_.size());
        starts_ = whole ? std::max(size - 3, 0L) : 0;
    }

    static constexpr long kWindow = long{1} << 20;
    const StoreImage& image_;
    std::string bytes_;
    long from_ = 0;
    long starts_ = 0; // of words in the window, at any of its bytes
};

// The ranges of a file that nothing names, looked through for nodes and records.
class WasteSearch {
public:
    explicit WasteSearch(const StoreImage& image) : image_(image) {
        long covered = 0;
        const long end = std::max(std::min(image.end_of_data, image.length), covered);
        for (const StoreExtent& extent : image.extents()) {
            if (extent.offset > covered) add(covered, std::min(extent.offset, end));
            covered = std::max(covered, extent.end());
        }
        if (covered < end) add(covered, end);
    }

    // Calls back with each block in the waste that could be one by its size word: the payload's
    // offset and its size. A callback that takes the block returns true; the search then goes on
    // after it, and the block is waste no more.
    template <class Take>
    void for_each_block(Take take) {
        std::vector<std::pair<long, long>> left;
        WordReader words(image_);
        for (auto [from, to] : ranges_) {
            long begin = from;
            for (long at = words.next_not_zero(from, to); at + 8 <= to;
                 at = words.next_not_zero(at, to)) {
                const long size = words.at(at);
                if (size < 8 || size % 4 != 0 || size > image_.end_of_data - at ||
                    at + size > to + 8 || !take(at + 4, size - 4)) {
                    at += 4;
                    continue;
                }
                if (begin < at) left.emplace_back(begin, at);
                begin = at = std::min(at + size, to);
            }
            if (begin < to) left.emplace_back(begin, to);
        }
        ranges_ = std::move(left);
    }

    bool is_waste(long from, long to) const {
        return std::any_of(ranges_.begin(), ranges_.end(), [=](const auto& range) {
            return range.first <= from && to <= range.second + 8;
        });
    }

private:
    void add(long from, long to) {
        from = (std::max(from, ERFileManager::first_block) + 3) & ~3L;
        if (from + 8 <= to) ranges_.emplace_back(from, to);
    }
    const StoreImage& image_;
    std::vector<std::pair<long, long>> ranges_;
};

// A block in the waste read as a node; false where it can't be one.
bool read_node(const StoreImage& image, const ERDiskTreeLayout& layout, bool binary, long payload,
               long size, TreeImage& found) {
    const long node_size = static_cast<long>(layout.node_size());
    if (size < node_size || size > node_size + 7) return false;
    std::vector<char> bytes(layout.node_size());
    if (!image.read(payload, bytes.data(), bytes.size())) return false;
    const ERDiskTreeNodeView node(layout, bytes.data());
    const int count = node.counter();
    if (count < 1 || count > layout.max_keys()) return false;
    std::vector<TreeImage::Entry> entries;
    for (int i = 0; i < count; ++i) {
        std::string key(node.keys(i),
                        binary ? layout.key_length : ::strnlen(node.keys(i), layout.key_length));
        if (node.items(i) < 1 || (!entries.empty() && !(entries.back().key < key))) return false;
        entries.push_back({std::move(key), node.items(i), payload});
    }
    for (int i = 0; i <= count; ++i) {
        const long son = node.sons(i);
        if (node.is_leaf() ? son != -1 : son < ERFileManager::first_block) return false;
    }
    found.entries.insert(found.entries.end(), entries.begin(), entries.end());
    return true;
}

bool is_class_name(const std::string& name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '_' || c == ':' || c == '<' || c == '>' || c >= 0x80;
    });
}

// The nodes of one tree that the search finds.
TreeImage lost_nodes(const StoreImage& image, WasteSearch& search, StoreTree form,
                     const TreeImage& tree) {
    ERDiskTreeLayout layout{form.key_length, StoreTree::order};
    bool binary = form.binary_keys;
    if (tree.known) {
        layout = {tree.information.key_length, tree.information.order};
        binary = tree.information.flags & 1;
    }
    TreeImage found;
    search.for_each_block([&](long payload, long size) {
        return read_node(image, layout, binary, payload, size, found);
    });
    return found;
}

// ---- gathering ----

void gather_classes(const StoreImage& image, const TreeImage& lost, Content& content) {
    for (const TreeImage::Entry& entry : image.classes.entries)
        if (entry.value >= 1 && !entry.key.empty()) content.classes.emplace(entry.value, entry.key);
    for (const TreeImage::Entry& entry : lost.entries)
        if (is_class_name(entry.key)) content.classes.emplace(entry.value, entry.key);
}

bool plausible(const Content& content, const RecordImage& record) {
    return record.identifier >= 1 && content.classes.contains(record.signature);
}

// The records that a node in the waste names, as far as they can be had.
std::vector<RecordImage> named_records(const StoreImage& image, const WasteSearch& search,
                                       const Content& content, const TreeImage::Entry* first,
                                       const TreeImage::Entry* last) {
    std::vector<RecordImage> records;
    for (; first != last; ++first) {
        RecordImage record{TreeImage::number(first->key), first->value,
                           image.block_size(first->value) - 4, 0};
        std::int32_t signature = 0;
        if (record.size < 4 || !image.read(record.location, &signature, sizeof signature)) continue;
        record.signature = signature;
        if (plausible(content, record) &&
            search.is_waste(record.location - 4, record.location + record.size))
            records.push_back(record);
    }
    return records;
}

// The new half of a split that no parent names yet holds as many keys as a node must, all of them
// missing in the tree, and each with a record of its own that nothing else names. A node that was
// given up once doesn't: its objects live elsewhere or were deleted.
bool is_new_half(const StoreImage& image, const Content& content,
                 const std::vector<RecordImage>& records, std::size_t keys) {
    std::set<long> locations;
    for (const RecordImage& record : records)
        if (!content.records.contains(record.identifier)) locations.insert(record.location);
    return locations.size() == keys && keys >= image.objects.information.minimum;
}

// The pair that is on its way up from such a split, to the parent: it is after the last key
// of the old half, and in front of keys that the new half has taken over.
TreeImage::Entry pair_on_its_way(const StoreImage& image, const TreeImage::Entry* first,
                                 const TreeImage::Entry* last) {
    const ERDiskTreeLayout layout{image.objects.information.key_length,
                                  image.objects.information.order};
    std::vector<char> bytes(layout.node_size());
    for (const StoreExtent& extent : image.objects.extents) {
        if (!image.read(extent.offset + 4, bytes.data(), bytes.size())) continue;
        const ERDiskTreeNodeView node(layout, bytes.data());
        const int after = node.counter();
        if (after != static_cast<int>(layout.order)) continue;
        const auto key = [&](int i) { return std::string(node.keys(i), layout.key_length); };
        const bool halved = std::any_of(first, last, [&](const TreeImage::Entry& entry) {
            return entry.key == key(after + 1) && entry.value == node.items(after + 1);
        });
        if (halved && key(after - 1) < key(after) && key(after) < first->key)
            return {key(after), node.items(after), extent.offset + 4};
    }
    return {};
}

void gather_lost_records(const StoreImage& image, const TreeImage& lost, const WasteSearch& search,
                         Content& content, SalvageReport& report) {
    const auto take = [&](const std::vector<RecordImage>& records) {
        for (const RecordImage& record : records)
            report.from_lost_nodes += content.records.emplace(record.identifier, record).second;
    };
    const TreeImage::Entry* const end = lost.entries.data() + lost.entries.size();
    for (const TreeImage::Entry *first = lost.entries.data(), *last; first != end; first = last) {
        last = std::find_if(first, end, [=](const auto& e) { return e.node != first->node; });
        const auto records = named_records(image, search, content, first, last);
        if (!image.objects.whole) { // what has lost its parent counts as far as it goes
            take(records);
            continue;
        }
        if (!is_new_half(image, content, records, static_cast<std::size_t>(last - first))) continue;
        take(records);
        const TreeImage::Entry pair = pair_on_its_way(image, first, last);
        if (!pair.key.empty()) take(named_records(image, search, content, &pair, &pair + 1));
    }
}

void gather_index(const StoreImage& image, WasteSearch& search, Content& content) {
    const auto first = content.records.find(1);
    if (first == content.records.end()) return;
    if (content.classes[first->second.signature] != kIndexClass) return;
    content.index_object = 1;
    const TreeImage lost = lost_nodes(image, search, index_tree_form, image.index);
    for (const TreeImage* tree : {&image.index, &lost})
        for (const TreeImage::Entry& entry : tree->entries) {
            const long index = TreeImage::number(entry.key);
            if (index >= 0 && content.records.contains(entry.value))
                content.index.emplace(index, entry.value);
        }
}

// Whether a block that nothing names holds what its class would store there.
bool looks_like_a_record(const StoreImage& image, const RecordImage& record,
                         const std::string& class_name) {
    const auto creator = ERClassRegistration::findCreator(class_name.c_str());
    if (!creator) return false;
    const t_SmartPtr<ERObject> object(creator());
    detail::RecordBytes file(image.guts(record));
    ERObjectDataBase* const present = std::exchange(ERObject::theCurrentDataBase, nullptr);
    object->restoreGuts(file); // references come out null: the bytes read are what counts
    ERObject::theCurrentDataBase = present;
    const long bytes = static_cast<long>(file.GetPosition()) + 4;
    return bytes <= record.size && record.size <= bytes + 7;
}

void gather_orphans(const StoreImage& image, WasteSearch& search, bool restored, Content& content,
                    SalvageReport& report) {
    long next = content.header.last_identifier;
    if (!content.records.empty()) next = std::max(next, content.records.rbegin()->first);
    std::set<long> named;
    for (const auto& [identifier, record] : content.records)
        named.insert(record.location);
    search.for_each_block([&](long payload, long size) {
        if (named.contains(payload)) return true;
        std::int32_t signature = 0;
        if (!image.read(payload, &signature, sizeof signature)) return false;
        const auto known = content.classes.find(signature);
        const RecordImage record{next + 1, payload, size, signature};
        if (known == content.classes.end() || known->second == kIndexClass ||
            !looks_like_a_record(image, record, known->second))
            return false;
        report.orphans.push_back({payload, size, known->second, restored ? ++next : -1});
        if (restored) content.records[next] = record;
        return true;
    });
}

// Leaves out what isn't as its class stores it.
void leave_damaged_out(const StoreImage& image, Content& content, SalvageReport& report) {
    detail::RecordChecker checker(image);
    for (auto next = content.records.begin(); next != content.records.end();) {
        const auto& [identifier, record] = *next;
        const std::string& name = content.classes[record.signature];
        const bool is_index = identifier == content.index_object;
        const std::string why = is_index ? std::string() : checker.fault(record, name);
        if (why.empty()) {
            if (!is_index) report.unchecked += !ERClassRegistration::findCreator(name.c_str());
            ++next;
            continue;
        }
        report.missing.push_back({identifier, record.location, name, why});
        next = content.records.erase(next);
    }
    std::erase_if(content.index,
                  [&](const auto& entry) { return !content.records.contains(entry.second); });
}

// What the trees name and what is not to be taken over.
void note_missing(const StoreImage& image, const Content& content, SalvageReport& report) {
    for (const RecordImage& record : image.records)
        if (!plausible(content, record))
            report.missing.push_back({record.identifier, record.location,
                                      image.class_name(record.signature),
                                      "has a class that the file lacks"});
    std::set<long> with_a_record;
    for (const RecordImage& record : image.records)
        with_a_record.insert(record.identifier);
    for (const TreeImage::Entry& entry : image.objects.entries)
        if (const long id = TreeImage::number(entry.key); !with_a_record.contains(id))
            report.missing.push_back({id, entry.value, {}, "has its record outside the file"});
}

void make_counters_true(Content& content) {
    DatabaseHeader& header = content.header;
    const auto raise = [](std::int32_t& counter, long least) {
        counter = std::max(counter, static_cast<std::int32_t>(std::min<long>(least, INT_MAX)));
    };
    if (!content.records.empty()) raise(header.last_identifier, content.records.rbegin()->first);
    if (!content.classes.empty()) raise(header.last_signature, content.classes.rbegin()->first);
    raise(header.objects_stored, static_cast<long>(content.records.size()));
    if (header.version > DatabaseHeader::current_version)
        header.version = DatabaseHeader::current_version;
}

// ---- writing ----

long write_record(ERFileManager& file, long signature, const std::string& guts) {
    detail::StoreStep step(file);
    const long location = file.allocate(static_cast<unsigned int>(guts.size()) + 4);
    file.Seek(location, CFile::begin);
    file.Write(signature);
    write_bytes(file, guts.data(), guts.size());
    step.finish();
    return location;
}

void write_store(const StoreImage& image, const Content& content, const char* name) {
    ERFileManager file(name, 0);
    const long start = file.allocate(DatabaseHeader::allocated_bytes);
    const auto classes = class_tree_form.make(file);
    const auto objects = object_tree_form.make(file);
    std::unique_ptr<ERBTreeOnDisk> index;
    if (content.index_object != -1) index = index_tree_form.make(file);
    for (const auto& [signature, class_name] : content.classes)
        classes->insertKeyAndValue(class_name.c_str(), signature);
    for (const auto& [identifier, record] : content.records) {
        const std::string guts = identifier == content.index_object
                                     ? std::string(NumberKey(index->baseLocation()), 4)
                                     : image.guts(record);
        objects->insertKeyAndValue(NumberKey(identifier),
                                   write_record(file, record.signature, guts));
    }
    for (const auto& [number, identifier] : content.index)
        index->insertKeyAndValue(NumberKey(number), identifier);
    DatabaseHeader header = content.header;
    header.class_tree = static_cast<std::int32_t>(classes->baseLocation());
    header.object_tree = static_cast<std::int32_t>(objects->baseLocation());
    file.write_through(start, &header, sizeof header);
    classes->save_information();
    objects->save_information();
    if (index) index->save_information();
    file.Close();
}

void write_new_store(const StoreImage& image, Content& content, const char* name,
                     SalvageReport& report) {
    make_counters_true(content);
    CFileStatus status;
    if (CFile::GetStatus(name, status))
        AfxThrowFileException(CFileException::accessDenied, -1, name);
    try {
        write_store(image, content, name);
    } catch (CFileException* failure) {
        try {
            CFile::Remove(name);
        } catch (CFileException* none) {
            none->Delete();
        }
        throw;
    }
    report.objects = static_cast<long>(content.records.size());
    report.indices = static_cast<long>(content.index.size());
    report.classes = static_cast<long>(content.classes.size());
}

} // namespace

SalvageReport salvage_store(const char* from, const char* to, bool orphans) {
    const StoreImage image(from);
    SalvageReport report;
    report.faults = image.faults;
    for (const StoreFault& fault : stale_counters(image))
        report.faults.add(fault.offset, fault.what);
    Content content;
    if (image.header_known) content.header = image.header;
    WasteSearch search(image);
    gather_classes(image, lost_nodes(image, search, class_tree_form, image.classes), content);
    const TreeImage lost_objects = lost_nodes(image, search, object_tree_form, image.objects);
    for (const RecordImage& record : image.records)
        if (plausible(content, record)) content.records.emplace(record.identifier, record);
    gather_lost_records(image, lost_objects, search, content, report);
    gather_index(image, search, content);
    gather_orphans(image, search, orphans, content, report);
    note_missing(image, content, report);
    leave_damaged_out(image, content, report);
    report.complete = report.missing.empty() && image.objects.whole && image.classes.whole &&
                      (!image.has_index || image.index.whole);
    write_new_store(image, content, to, report);
    return report;
}

SalvageReport compact_store(const char* from, const char* to) {
    const StoreImage image(from);
    const bool whole =
        image.header_known && image.classes.known && image.objects.known && image.faults.none() &&
        image.header.version <= DatabaseHeader::current_version && stale_counters(image).empty();
    if (!whole) AfxThrowFileException(CFileException::invalidFile, -1, from);
    SalvageReport report;
    report.complete = true;
    Content content;
    content.header = image.header;
    for (const TreeImage::Entry& entry : image.classes.entries)
        content.classes.emplace(entry.value, entry.key);
    for (const RecordImage& record : image.records)
        content.records.emplace(record.identifier, record);
    if (image.has_index) {
        content.index_object = 1;
        for (const TreeImage::Entry& entry : image.index.entries)
            content.index.emplace(TreeImage::number(entry.key), entry.value);
    }
    write_new_store(image, content, to, report);
    return report;
}

} // namespace velm
