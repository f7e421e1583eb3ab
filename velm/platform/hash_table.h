// coTable, coTableIterator2: the hash table of the host's container library.
#pragma once

#include "velm/platform/copy_tag.h"
#include "velm/platform/integer_types.h"
#include "velm/platform/page_array.h"

#include <cstddef>
#include <utility>
#include <vector>

/// Values by key. A key has == and co_hash(key), a DWORD that is the same for equal keys.
///
/// Elements never move: a reference to a value stays valid until its key is removed. A walk goes in
/// the order of insertion, except that the next new key takes the place of a removed one.
///
/// Open addressing with linear probing and deletion by shifting back (Knuth, The Art of Computer
/// Programming 3, 6.4 algorithm R), half full at most. Slots keep the hash, so that a probe touches
/// a key only if all 32 bits agree.
template <class Key, class Value>
class coTable {
    struct Entry {
        Key key;
        Value value;
        int next_free = -1;
        bool used = false;
    };

public:
    coTable() = default;
    coTable(const coTable& other, utCopyTag) : coTable(other) {}
    coTable(const coTable&) = default;
    /// The other one is empty afterwards.
    coTable(coTable&& other) noexcept { swap(other); }
    coTable& operator=(coTable other) noexcept {
        swap(other);
        return *this;
    }
    ~coTable() = default;
    void swap(coTable& other) noexcept {
        slots_.swap(other.slots_);
        std::swap(upper_bits_, other.upper_bits_);
        entries_.swap(other.entries_);
        std::swap(first_free_, other.first_free_);
        std::swap(free_, other.free_);
    }

    int length() const { return entries_.length() - free_; }
    std::size_t size() const { return static_cast<std::size_t>(length()); }
    bool empty() const { return length() == 0; }

    /// The value of a key; a new key is entered with a default value.
    Value& operator[](const Key& key) {
        if (2 * (size() + 1) > slots_.size()) grow();
        const DWORD hash = co_hash(key);
        Slot& slot = slots_[place_of(key, hash)];
        if (slot.entry < 0) slot = {hash, enter(key)};
        return entries_[slot.entry].value;
    }
    /// The value of a key, or a default value; nothing is entered.
    const Value& read(const Key& key) const {
        static const Value none{};
        const Value* const found = find(key);
        return found != nullptr ? *found : none;
    }
    /// The value of a key, or null.
    const Value* find(const Key& key) const {
        if (slots_.empty()) return nullptr;
        const int entry = slots_[place_of(key, co_hash(key))].entry;
        return entry >= 0 ? &entries_[entry].value : nullptr;
    }
    bool member(const Key& key) const { return find(key) != nullptr; }
    /// Returns whether the key was there.
    bool remove(const Key& key) {
        if (slots_.empty()) return false;
        const std::size_t place = place_of(key, co_hash(key));
        const int gone = slots_[place].entry;
        if (gone < 0) return false;
        close_gap(place);
        entries_[gone] = Entry();
        entries_[gone].next_free = first_free_;
        first_free_ = gone;
        ++free_;
        return true;
    }
    void clear() { *this = coTable(); }
    /// Takes over the elements of another table.
    void become(const coTable& other) { *this = other; }

private:
    template <class AnyKey, class AnyValue>
    friend class coTableIterator2;

    struct Slot {
        DWORD hash = 0;
        int entry = -1; // none
    };

    /// Multiplicative hashing: the upper bits of the product.
    std::size_t home_of(DWORD hash) const { return (hash * 0x9E3779B9u) >> upper_bits_; }
    std::size_t after(std::size_t place) const { return (place + 1) & (slots_.size() - 1); }
    /// The slot of a key, or the free one where it belongs.
    std::size_t place_of(const Key& key, DWORD hash) const {
        std::size_t place = home_of(hash);
        while (slots_[place].entry >= 0 &&
               !(slots_[place].hash == hash && entries_[slots_[place].entry].key == key))
            place = after(place);
        return place;
    }
    int enter(const Key& key) {
        int entry = first_free_;
        if (entry >= 0) {
            first_free_ = entries_[entry].next_free;
            --free_;
        } else {
            entry = entries_.expand(1);
        }
        entries_[entry].key = key;
        entries_[entry].used = true;
        return entry;
    }
    /// Frees a slot and moves back the entries that it had displaced.
    void close_gap(std::size_t gap) {
        for (std::size_t place = after(gap); slots_[place].entry >= 0; place = after(place)) {
            const std::size_t home = home_of(slots_[place].hash);
            const std::size_t mask = slots_.size() - 1;
            if (((place - home) & mask) < ((place - gap) & mask)) continue;
            slots_[gap] = slots_[place];
            gap = place;
        }
        slots_[gap] = Slot();
    }
    void grow() {
        std::vector<Slot> old(slots_.empty() ? 16 : 2 * slots_.size());
        old.swap(slots_);
        upper_bits_ -= old.empty() ? 4 : 1;
        for (const Slot& slot : old) {
            if (slot.entry < 0) continue;
            std::size_t place = home_of(slot.hash);
            while (slots_[place].entry >= 0)
                place = after(place);
            slots_[place] = slot;
        }
    }

    std::vector<Slot> slots_; // 2^(32 - upper_bits_), or none
    int upper_bits_ = 32;
    coPageArr<Entry> entries_;
    int first_free_ = -1;
    int free_ = 0;
};

/// A walk over a table, made on its first element; false when it is past the last. The element may
/// be removed before the walk goes on.
template <class Key, class Value>
class coTableIterator2 {
public:
    explicit coTableIterator2(coTable<Key, Value>& table) : walk_(table.entries_) { skip_free(); }

    explicit operator bool() const { return static_cast<bool>(walk_); }
    /// The value of the element; the walk must be on one.
    Value& operator()() const { return walk_().value; }
    /// Its key.
    const Key& index() const { return walk_().key; }
    void do_first() {
        walk_.do_first();
        skip_free();
    }
    coTableIterator2& operator++() {
        ++walk_;
        skip_free();
        return *this;
    }

private:
    void skip_free() {
        while (walk_ && !walk_().used)
            ++walk_;
    }

    coPageArrIterator<typename coTable<Key, Value>::Entry> walk_;
};
