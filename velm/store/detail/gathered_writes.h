// velm::detail::GatheredWrites: the writes of one operation on an object file, in their order.
#pragma once

#include "velm/export.h"

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace velm::detail {

/// The bytes of each write, and of one in place of bytes that count also these: the old image, by
/// which the write can be taken back. A write to free space has none.
class VELM_API GatheredWrites {
public:
    struct Write {
        long offset;
        std::size_t size;
        std::size_t at;              // of the new bytes; the old ones follow them
        bool fresh;                  // to free space
        bool node;                   // of a tree
        const char* taken = nullptr; // both, if they were taken over

        long end() const { return offset + static_cast<long>(size); }
    };

    bool empty() const { return writes_.empty(); }
    const std::vector<Write>& writes() const { return writes_; }
    const char* new_bytes(const Write& write) const {
        return write.taken != nullptr ? write.taken : bytes_.data() + write.at;
    }
    const char* old_bytes(const Write& write) const { return new_bytes(write) + write.size; }
    /// The largest end of a write, 0 for none.
    long end() const { return end_; }
    /// The bytes that are held.
    std::size_t held() const { return bytes_.size(); }

    /// A write to free space; what continues the last one is joined to it, over a gap that rounds
    /// a block up, too, where the space was never used.
    void add_fresh(long offset, const void* source, std::size_t size, bool never_used);
    /// A write in place. A second one of the same bytes right after the first replaces that.
    void add(long offset, const void* source, const void* old, std::size_t size, bool node);
    /// The same with both images taken over, the old one after the new one.
    void add_taken(long offset, std::unique_ptr<char[]> images, std::size_t size, bool node);
    /// The offset at which the next bytes would be joined to the last write; -1 for none.
    long open_end() const {
        return !writes_.empty() && writes_.back().fresh ? writes_.back().end() : -1;
    }

    /// Puts what the writes have of a range over bytes that were read of it, and returns how many
    /// of them are known then; `came` were read.
    std::size_t put_over(long offset, char* target, std::size_t count, std::size_t came) const;
    /// The same with the old images of the first `done` writes, so that the range is as it was
    /// before them.
    void put_old_over(std::size_t done, long offset, char* target, std::size_t count) const;

    /// The writes to free space as few pieces by ascending offset; a gap that only rounds a block
    /// up is filled with zeros where the file has never been. Calls back with offset, bytes, size.
    template <class Callback>
    void each_fresh_piece(long length, Callback callback) const {
        for (const Piece& piece : fresh_pieces(length))
            callback(piece.offset, piece.bytes, piece.size);
    }
    /// Gives the writes to free space up; the others keep their order.
    void drop_fresh();
    void clear();

private:
    struct Piece {
        long offset;
        const char* bytes;
        std::size_t size;
    };
    const std::vector<Piece>& fresh_pieces(long length) const;
    void enter_last();

    static constexpr std::size_t few = 24; // writes that are looked through one by one
    static constexpr int chunk_bits = 12;  // of offsets, by which many are found
    std::vector<Write> writes_;
    std::string bytes_;
    std::vector<std::unique_ptr<char[]>> taken_;
    long end_ = 0;
    std::unordered_map<long, std::vector<std::size_t>> by_chunk_; // of all but the last, past a few
    mutable std::vector<Piece> pieces_;
    mutable std::string joined_;
};

} // namespace velm::detail
