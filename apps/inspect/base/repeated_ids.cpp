#include "inspect/base/repeated_ids.h"

#include "inspect/base/text_escape.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace velm::inspect {
namespace {

constexpr std::uint64_t top_bit = std::uint64_t{1} << 63;

// The finalizer of splitmix64 (Steele, Lea and Flood 2014).
std::uint64_t mix(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

std::uint64_t hash_of(std::string_view text) {
    std::uint64_t hash = 0xCBF29CE484222325u; // FNV-1a
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return mix(hash + text.size());
}

// Where the whole number begins with which an id ends, as it is usually written: zeros before it
// belong to the name.
std::size_t number_start(std::string_view id) {
    constexpr std::size_t most_digits = 15; // below 2^63
    std::size_t start = id.find_last_not_of("0123456789") + 1;
    start = std::max(start, id.size() - std::min(most_digits, id.size()));
    while (start + 1 < id.size() && id[start] == '0')
        ++start;
    return start;
}

// A whole number represents itself, below 2^63; all other ids hash above. After a name the number
// counts from the hash of that, so that neighbouring ones share a slot.
std::uint64_t code_of(std::string_view id) {
    const std::size_t start = number_start(id);
    if (start == id.size()) return hash_of(id) | top_bit;
    std::uint64_t number = 0;
    std::from_chars(id.data() + start, id.data() + id.size(), number);
    if (start == 0) return number;
    constexpr std::uint64_t slot = 63; // the last bits, by which neighbours differ
    return ((hash_of(id.substr(0, start)) & ~slot) + number) | top_bit;
}

} // namespace

IdSet::IdSet() : slots_(64) {}

IdSet::Slot& IdSet::find(std::uint64_t key) {
    std::size_t at = mix(key) & (slots_.size() - 1);
    while (slots_[at].members != 0 && slots_[at].key != key)
        at = (at + 1) & (slots_.size() - 1);
    return slots_[at];
}

void IdSet::grow() {
    std::vector<Slot> old(slots_.size() * 2);
    std::swap(old, slots_);
    for (const Slot& slot : old)
        if (slot.members != 0) find(slot.key) = slot;
}

bool IdSet::insert(std::string_view id) {
    const std::uint64_t code = code_of(id);
    const std::uint64_t member = std::uint64_t{1} << (code & 63);
    Slot* slot = &find(code >> 6);
    if ((slot->members & member) != 0) return false;
    if (slot->members == 0 && ++used_ * 3 > slots_.size() * 2) {
        grow();
        slot = &find(code >> 6);
    }
    slot->key = code >> 6;
    slot->members |= member;
    return true;
}

void RepeatedIds::add(const std::string& part, const std::string& id, std::size_t line) {
    if (ids_.insert(part.empty() ? id : part + '\n' + id)) return;
    if (count_++ == 0) first_ = "line " + std::to_string(line) + ", id '" + clipped(id, 40) + "'";
}

std::string RepeatedIds::sentence(const std::string& file) const {
    if (count_ == 0) return {};
    return file + ", " + first_ + ": the id came before" +
           (count_ == 1 ? "" : "; " + std::to_string(count_) + " rows repeat an id") +
           "; all rows are kept";
}

} // namespace velm::inspect
