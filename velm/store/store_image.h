// velm::StoreImage, velm::TreeImage, velm::StoreFault: the structures of an object file as they
// stand there, read whole and never written; the ground for checking, exporting and rebuilding a
// file.
#pragma once

#include "velm/export.h"
#include "velm/store/disk_tree.h"
#include "velm/store/object_database.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace velm {

/// Something in the file that can't be, and where.
struct StoreFault {
    long offset;
    std::string what;
};

/// What is wrong with a file. The first thousand faults are kept, all are counted.
class VELM_API StoreFaults {
public:
    void add(long offset, std::string what);
    bool none() const { return count_ == 0; }
    std::size_t count() const { return count_; }
    const std::vector<StoreFault>& list() const { return faults_; }

private:
    std::vector<StoreFault> faults_;
    std::size_t count_ = 0;
};

/// A range of bytes with a meaning, its size word included.
struct StoreExtent {
    long offset;
    long size;
    const char* kind;

    long end() const { return offset + size; }
};

/// A tree as it is stored: all that its root leads to, in key order.
struct VELM_API TreeImage {
    struct Entry {
        std::string key;
        long value;
        long node; // in which it is
    };

    bool known = false; // its information block was read with its magic number
    bool whole = false; // and so was each node that something leads to
    ERBTreeInformation information;
    std::vector<Entry> entries;
    std::vector<StoreExtent> extents; // the information block and the nodes

    static std::int32_t number(const std::string& key); ///< of a key of four bytes
};

/// A record and its block.
struct RecordImage {
    long identifier;
    long location; // of the payload
    long size;     // of the payload
    long signature;
};

/// Nothing in the file is trusted: what is impossible is a fault, and the reading goes on with the
/// rest. Raises CFileException* only where the file can't be opened or read.
class VELM_API StoreImage {
public:
    /// Opens the file with writers shut out and reads all but the records' guts.
    explicit StoreImage(const char* name);

    bool head_known = false; // 268 is where it should be
    long length = 0;
    long start = -1;
    long end_of_data = 0;
    std::vector<StoreExtent> free_nodes; // other than the head
    std::vector<StoreExtent> free_extents;

    bool header_known = false;
    DatabaseHeader header;
    TreeImage classes;
    TreeImage objects;
    std::vector<RecordImage> records; // by identifier
    bool has_index = false;           // the first object is an index of a known class
    TreeImage index;

    StoreFaults faults;
    std::unordered_map<long, std::string> class_names; // by signature

    /// The name of a class, empty where the file doesn't tell.
    std::string class_name(long signature) const;
    /// All ranges in use, by offset; the free ones and the nodes of the free list are among them.
    std::vector<StoreExtent> extents() const;
    /// The bytes of a record after its signature; short where the file ends.
    std::string guts(const RecordImage& record) const;
    /// Reads bytes; false where the file doesn't have them all.
    bool read(long offset, void* target, std::size_t count) const;
    /// The first offset from there on that is not in a hole of the file, as far as the system
    /// knows of holes.
    long next_data(long offset) const;
    /// The size word in front of a payload, 0 where it can't be one.
    long block_size(long payload) const;
    /// Reads a tree, entering what is wrong with it. One with keys of another form is not known.
    TreeImage read_tree(long information_offset, const char* kind, StoreTree form);

private:
    void read_unfinished_node();
    void read_head();
    void read_free_list();
    void read_header();
    void read_records();
    void read_index();

    mutable ERFile file;
    StoreExtent mended{-1, 0, ""}; // a node that was not written whole
    std::string mended_bytes;      // as it was to be
};

/// Whether the counters of a file are behind its trees, as a process leaves them that ended before
/// it closed the store: the last identifier, the last signature and the trees' entry counts. Such a
/// file must not be written; salvage_store mends it. Raises CFileException* where the file can't be
/// read.
VELM_API bool counters_are_stale(const char* name);
/// The same of a file that has been read, with the offset of each counter that is behind.
VELM_API std::vector<StoreFault> stale_counters(const StoreImage& image);

} // namespace velm
