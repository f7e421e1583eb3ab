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
// These numbers are stored: they must never change.
#pragma once

#include "velm/export.h"
#include "velm/frame/binary_file.h"
#include "velm/store/free_list.h"
#include "velm/store/store_step.h"

#include <memory>
#include <string>

namespace velm {
class StoreBatch;
}
namespace velm::detail {
class BlockCache;
class FreeChain;
struct OperationState;
} // namespace velm::detail

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"
#endif

/// Blocks are known by the offset of their payload. All offsets are 32-bit signed, -1 meaning none.
/// File trouble is raised as CFileException*, and so is a head or free list that can't be
/// (invalidFile).
///
/// This holds for every public operation of the store that changes a file, of the trees and the
/// database on top of it, too. When it returns, the file holds what it says, seen through any other
/// descriptor. When it raises, the store in memory is as it was before, and so is the file; or,
/// where bytes that were written in place could not be put back, the file is *behind*: reading goes
/// on and is right, the next operation that writes first brings the file up or fails again with the
/// code, changing nothing, and so does Close. A file that is still behind when Close has raised or
/// the process ends may hold the operation that failed, as a whole or in part; velm::check_store
/// names what is damaged then. What an operation allocates it writes before any byte
/// in place, so that a full disk leaves the file as it was. A removal needs no room.
class VELM_API ERFileManager : public ERFile {
public:
    static constexpr long head_node_offset = 12; // on file
    static constexpr long first_block = 280;     // on file
    static constexpr int node_size = 268;        // on file

    /// Opens or creates a file: for reading with writers shut out, or for reading and writing with
    /// everybody shut out. A file whose third word isn't 268 has no free list: allocate then raises
    /// an invalidFile, and nothing is given back.
    ERFileManager(const char* name, int readOnly);
    /// Brings the file up as Close does; what goes wrong is not reported.
    ~ERFileManager() override;

    /// Closes the file. Where it is behind and can't be brought up, the cause is raised afterwards.
    void Close() override;
    /// Brings the file up and sends what the system holds back to the disk.
    void Flush() override;

    /// A block for so many bytes; its total size is 4 plus the bytes rounded up to a multiple of 4,
    /// or up to 4 bytes more where a free extent would leave too little. The first block of a
    /// file's life is reachable through start() for good.
    long allocate(unsigned int bytes);
    /// Gives a block back. -1 and the first block of the file are ignored, part of the contract.
    /// The size word in front of the payload is taken at face value.
    void deallocate(long payload);
    /// The same with the block's total size, which the caller knows then: its size word isn't read.
    long allocate_sized(unsigned int bytes, unsigned int& total);
    void deallocate_sized(long payload, unsigned int total);
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
    /// Whether a velm::StoreBatch is under way.
    bool gathers_batch() const;
    /// Whether a failed operation has left bytes in the file that could not be put back yet.
    bool is_behind() const;

    using ERFile::Read;
    using ERFile::Write;
    UINT Read(void* buffer, UINT count) override;
    /// Outside an operation of the store the bytes go to the file at once, and nobody puts back
    /// what a failure has overwritten.
    void Write(const void* buffer, UINT count) override;
    ULONGLONG GetLength() const override;
    void SetLength(ULONGLONG new_length) override;

    /// How many times all the nodes that were kept have been given up, since one may be wrong.
    unsigned long nodes_given_up() const;
    /// What is kept of a node that is one no longer is dropped; deallocate does it for its blocks.
    void forget_node(long offset);
    /// Reads and changes some bytes as a whole. The position is after them when they have been
    /// read, and anywhere when they have been changed.
    std::size_t read_through(long offset, void* target, std::size_t count);
    void write_through(long offset, const void* source, std::size_t count);
    /// Goes to the payload of a block and returns its size word, 0 where it wasn't read. While a
    /// step is under way the block is read ahead, all of it where its total size is known.
    unsigned int enter_block(long payload, unsigned int known_total);
    /// The same where the caller knows the bytes that are there, read from the file otherwise.
    void write_over(long offset, const void* source, const void* old, std::size_t count);
    /// A node of a tree or of the free list, good until the next call; null where the file doesn't
    /// have it whole. Those that were used last are kept in memory.
    const char* node_at(long offset, std::size_t size);
    /// Writes a node. Where one of a tree replaces an image that something leads to, and a process
    /// that is killed could leave both mixed, both are at the end of the file during the write.
    enum class NodeKind { of_tree, of_free_list };
    void write_node(long offset, const void* source, std::size_t size, NodeKind kind);
    [[noreturn]] void raise(int cause) const;

private:
    friend class velm::detail::StoreStep;
    friend class velm::detail::ReadingStep;
    friend class velm::detail::StepMember;
    friend class velm::detail::RemovalWithoutRoom;
    friend class velm::StoreBatch;
    friend class ERListManager;

    void create_head();
    // The operation under way.
    void begin_operation();
    void commit();
    void roll_back();
    void settle();
    bool is_free_space(long offset, std::size_t count) const;
    void note_allocated(long offset, unsigned int size);
    void note_freed(long offset, unsigned int size);
    void doubt_what_is_kept(long offset, std::size_t count);
    void change(long offset, const void* source, std::size_t count);
    void gather_node(long offset, const void* source, std::size_t size, bool of_tree);
    void end_batch();
    // Writing for good.
    void write_allocated();
    void write_free_space(long offset, const char* bytes, std::size_t size);
    void write_in_place();
    void write_head();
    void put_in_place(long offset, const char* bytes, const char* old, std::size_t size, bool node);
    void write_guard(long offset, const char* bytes, const char* old, std::size_t size);
    void write_over_guard(long offset, const char* bytes, std::size_t size);
    void cut_tail();
    void bring_up();
    void write_direct(long offset, const void* source, std::size_t count);
    // Reading.
    std::size_t read_image(long offset, void* target, std::size_t count);
    std::size_t bytes_before_tail(long offset) const;
    std::string old_image(long offset, std::size_t count);
    bool read_ahead(ULONGLONG position, std::size_t count);

    int readOnly;
    std::unique_ptr<velm::detail::BlockCache> kept; // nodes
    std::unique_ptr<velm::detail::FreeChain> chain; // of all list managers of the file
    std::unique_ptr<velm::detail::OperationState> operation;
    std::unique_ptr<ERListManager> list;
    long startOffset = ER_NULL_OFFSET;
    long endOfData = first_block;
    mutable ULONGLONG length = 0; // of the file
    mutable bool length_known = false;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
