// repeated_ids.h: `IdSet`, the ids seen so far, and `RepeatedIds`, the warning about repeated ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// The ids seen so far, in little memory: 64 neighbouring whole numbers, alone or after the same
/// name, share one slot of 16 bytes, so that a million points with consecutive numbers take half a
/// megabyte. Names and all other ids are represented by hashes: two different ids count as equal in
/// less than one of 10^5 runs over a million names, which costs a needless warning.
class IdSet {
public:
    IdSet();
    /// Adds `id`; false if it was there before.
    bool insert(std::string_view id);

private:
    struct Slot {
        std::uint64_t key = 0;
        std::uint64_t members = 0; ///< none: the slot is free
    };
    Slot& find(std::uint64_t key);
    void grow();

    std::vector<Slot> slots_; // open addressing, a power of two of slots
    std::size_t used_ = 0;
};

/// Rows with repeated ids are kept; the end reports their number and the place of the first.
class RepeatedIds {
public:
    /// An id may come once in each part.
    void add(const std::string& part, const std::string& id, std::size_t line);
    /// "probed.csv, line 4, id 'a': the id came before; all rows are kept"; empty if none did.
    std::string sentence(const std::string& file) const;

private:
    IdSet ids_;
    std::uint64_t count_ = 0;
    std::string first_;
};

} // namespace velm::inspect
