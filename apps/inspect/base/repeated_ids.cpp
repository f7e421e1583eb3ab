#include "inspect/base/repeated_ids.h"

#include "inspect/base/text_escape.h"

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

// A whole number as it is usually written represents itself, below 2^63; all other ids hash above.
std::uint64_t code_of(std::string_view id) {
    std::uint64_t number = 0;
    const char* const last = id.data() + id.size();
    const auto [end, error] = std::from_chars(id.data(), last, number);
    const bool is_canonical = id.size() == 1 || (!id.empty() && id.front() != '0');
    if (error == std::errc() && end == last && is_canonical && number < top_bit) return number;
    std::uint64_t hash = 0xCBF29CE484222325u; // FNV-1a
    for (const char c : id)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return mix(hash + id.size()) | top_bit;
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
