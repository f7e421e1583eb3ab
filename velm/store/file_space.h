// ERFileManager: a file whose bytes are handed out and taken back in blocks.
//
// The head of the file and the blocks, all numbers 32-bit little-endian:
//
//     0    start: payload offset of the first block ever allocated, -1 before
//     4    end of data: where the next block would be appended
//     8    268, the size of a free-list node
//     12   the head node of the free list
//     280  the first block: a word with its total size, then the payload
//
// These numbers stand on file: they must never change.
#pragma once

#include "velm/export.h"
#include "velm/frame/binary_file.h"
#include "velm/store/free_list.h"

#include <memory>
#include <string>

namespace velm::detail {
class BlockCache;
class FreeChain;
class StoreStep;
} // namespace velm::detail

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#endif

/// Blocks are known by the offset of their payload. All offsets are 32-bit signed, -1 meaning none.
/// File trouble is raised as CFileException*, and so is a head or free list that can't be
/// (invalidFile).
///
/// After each public operation the file holds what it says, seen through any other descriptor.
class VELM_API ERFileManager : public ERFile {
public:
    static constexpr long head_node_offset = 12; // on file
    static constexpr long first_block = 280;     // on file
    static constexpr int node_size = 268;        // on file

    /// Opens or creates a file: for reading with writers shut out, or for reading and writing with
    /// everybody shut out. A file whose third word isn't 268 has no free list: allocate then raises
    /// an invalidFile, and nothing is given back.
    ERFileManager(const char* name, int readOnly);
    ~ERFileManager() override;

    /// A block for so many bytes; its total size is 4 plus the bytes rounded up to a multiple of 4,
    /// or up to 4 bytes more where a free extent would leave too little. The first block of a
    /// file's life is reachable through start() for good.
    long allocate(unsigned int bytes);
    /// Gives a block back. -1 and the first block of the file are ignored: intended. The size word
    /// in front of the payload is taken at face value.
    void deallocate(long payload);
    /// Room of just that size at the end of the data, without a size word.
    long allocateAtEnd(unsigned int bytes);
    /// Moves the end of the data back to an offset, if what ends there is the last. Returns 1 or 0.
    int deallocateFromEnd(long offset, unsigned int size);

    long start() const { return startOffset; }
    long endData() const { return endOfData; }
    int isReadOnly() const { return readOnly; }
    long rootOffset() const { return head_node_offset; }
    /// Whether the head of the file was understood.
    bool has_free_list() const { return list != nullptr; }

    using ERFile::Read;
    using ERFile::Write;
    UINT Read(void* buffer, UINT count) override;
    void Write(const void* buffer, UINT count) override;
    ULONGLONG GetLength() const override;
    void SetLength(ULONGLONG new_length) override;

    /// What is kept of a node that is one no longer goes; deallocate does it for its blocks.
    void forget_node(long offset);
    /// Reads and writes some bytes as a whole, past what is gathered. The position stands behind
    /// them afterwards.
    std::size_t read_through(long offset, void* target, std::size_t count);
    void write_through(long offset, const void* source, std::size_t count);
    /// The same for a node of a tree or of the free list. Nodes and records that were used last are
    /// kept in memory, all with the system at once when they are written. The position is anywhere
    /// afterwards.
    std::size_t read_node(long offset, void* target, std::size_t count);
    void write_node(long offset, const void* source, std::size_t count);
    /// The same for a node that something leads to already, in place of its old image. Where a
    /// process that is killed could leave the old and the new one mixed, both stand at the end of
    /// the file while the node is being written.
    void replace_node(long offset, const void* source, const void* old, std::size_t count);
    /// Keeps the record from a payload on to the position, which has just been written or read.
    void keep_record(long payload);
    [[noreturn]] void raise(int cause) const;

private:
    friend class velm::detail::StoreStep;
    friend class ERListManager;

    void write_start(long offset);
    void write_end(long offset);
    /// A word that is gathered with what is written behind it, if a step is under way.
    void write_word(long offset, std::int32_t word);
    void create_head();
    void flush_gathered();
    void forget_window() { window_size = 0; }
    ULONGLONG write_unfinished(long offset, const void* source, const void* old, std::size_t count);
    bool read_ahead(ULONGLONG position);
    void grew_to(ULONGLONG at) const { length = at > length ? at : length; }

    int readOnly;
    std::unique_ptr<velm::detail::BlockCache> kept;
    std::unique_ptr<velm::detail::FreeChain> chain; // of all list managers of the file
    std::unique_ptr<ERLMan> list;
    long startOffset = ER_NULL_OFFSET;
    long endOfData = first_block;

    // Only while a step is under way:
    static constexpr std::size_t most_gathered = 65536;
    static constexpr std::size_t window_capacity = 4096;
    static constexpr std::size_t ahead = 1024;
    int steps = 0;
    std::string gathered; // bytes written and not yet handed to the system
    ULONGLONG gathered_at = 0;
    std::unique_ptr<char[]> window; // bytes read ahead
    ULONGLONG window_at = 0;
    std::size_t window_size = 0;
    bool window_is_kept = false;  // it is a record that was kept
    mutable ULONGLONG length = 0; // with the system
    mutable bool length_known = false;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace velm::detail {

/// One public operation of a store. While it is under way, adjoining small writes leave as one and
/// small reads are served from a window; with finish() all is with the system. What an exception
/// leaves behind is handed over as far as it goes.
class StoreStep {
public:
    explicit StoreStep(ERFileManager& file) : file_(file) { ++file_.steps; }
    StoreStep(const StoreStep&) = delete;
    StoreStep& operator=(const StoreStep&) = delete;
    ~StoreStep();

    void finish();

private:
    ERFileManager& file_;
};

} // namespace velm::detail
