// ERTValHashDictionary: pairs of key and value in hashed buckets.
#pragma once

#include "velm/frame/isv_slist.h"
#include "velm/frame/memory_pool.h"
#include "velm/frame/ptr_vector.h"

#include <cstddef>
#include <iterator>
#include <utility>

/// Pairs of K and V. A key's bucket is `hashFunction(key) % buckets()`; keys in a bucket compare by
/// `==` and are in the order of insertion. A walk goes bucket by bucket. Copies are deep and keep
/// the order. Results are 1 or 0.
///
/// Each slot of the vector is null or a heap list, which stays when its last pair is removed.
template <class K, class V>
class ERTValHashDictionary : public ERPtrVector {
public:
    using HashFunction = unsigned int (*)(const K&);

    /// A pair in its bucket, from the thread's pools. The key must not be changed.
    struct Association : ERIsvSlink, ERMemoryPool {
        explicit Association(const K& k) : key(k), value() {}
        const K key;
        V value;
    };

    /// Walks the pairs.
    class iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Association;
        using difference_type = std::ptrdiff_t;
        using pointer = Association*;
        using reference = Association&;

        iterator() = default;
        Association& operator*() const { return *static_cast<Association*>(link_); }
        Association* operator->() const { return static_cast<Association*>(link_); }
        iterator& operator++() {
            link_ = link_->next;
            return to_pair(), *this;
        }
        iterator operator++(int) {
            const iterator before = *this;
            return ++*this, before;
        }
        friend bool operator==(const iterator& a, const iterator& b) { return a.link_ == b.link_; }

    private:
        friend class ERTValHashDictionary;
        explicit iterator(const ERTValHashDictionary& in) : in_(&in) { to_pair(); }
        // From no place or a bucket's end on to the next pair; null after the last.
        void to_pair() {
            while (link_ == nullptr || link_ == in_->list(bucket_)->tail_sentinel()) {
                link_ = nullptr;
                if (++bucket_ >= in_->npts) return;
                if (ERIsvSlist* const pairs = in_->list(bucket_)) link_ = pairs->first();
            }
        }
        const ERTValHashDictionary* in_ = nullptr;
        ERIsvSlink* link_ = nullptr;
        int bucket_ = -1;
    };

    /// A bucket count of 0 (or below) means 2.
    explicit ERTValHashDictionary(HashFunction hash, int bucket_count = 0)
        : ERPtrVector(at_least_two(bucket_count), nullptr), hashFunction(hash) {}
    ERTValHashDictionary(const ERTValHashDictionary& other)
        : ERTValHashDictionary(other.hashFunction, other.npts) {
        for (const Association& pair : other)
            (*this)[pair.key] = pair.value;
    }
    ~ERTValHashDictionary() { delete_lists(*this); }

    ERTValHashDictionary& operator=(const ERTValHashDictionary& other) {
        ERTValHashDictionary copy(other);
        swap(copy);
        return *this;
    }

    /// Deleted: as vectors of slots, dictionaries would be equal only to themselves.
    friend bool operator==(const ERTValHashDictionary&, const ERTValHashDictionary&) = delete;

    int entries() const { return nbItems; }
    int size() const { return nbItems; }
    int isEmpty() const { return nbItems == 0; }
    int buckets() const { return npts; }
    int hashIndex(const K& key) const {
        return static_cast<int>(hashFunction(key) % static_cast<unsigned int>(npts));
    }
    iterator begin() const { return iterator(*this); }
    iterator end() const { return iterator(); }

    /// The value of the key; a new key gets a default value, after the others of its bucket.
    V& operator[](const K& key) {
        Association* const present = search(hashIndex(key), key);
        return present != nullptr ? present->value : append(key);
    }
    void insertKeyAndValue(const K& key, const V& value) { (*this)[key] = value; }

    int contains(const K& key) const { return search(hashIndex(key), key) != nullptr; }
    /// The key as stored in the dictionary; outputs are unchanged on 0.
    int find(const K& key, K& found) const {
        Association* const pair = search(hashIndex(key), key);
        if (pair != nullptr) found = pair->key;
        return pair != nullptr;
    }
    int findValue(const K& key, V& value) const {
        Association* const pair = search(hashIndex(key), key);
        if (pair != nullptr) value = pair->value;
        return pair != nullptr;
    }
    int findKeyAndValue(const K& key, K& found, V& value) const {
        Association* const pair = search(hashIndex(key), key);
        if (pair != nullptr) found = pair->key, value = pair->value;
        return pair != nullptr;
    }
    /// 1 if the key was there and has been removed. `key` may be the dictionary's own.
    int remove(const K& key) {
        const int bucket = hashIndex(key);
        Association* const pair = search(bucket, key);
        if (pair == nullptr) return 0;
        list(bucket)->removeReference(pair);
        delete pair;
        --nbItems;
        return 1;
    }
    /// Removes all pairs; the buckets stay.
    void clear() {
        delete_lists(*this);
        ERPtrVector::operator=(nullptr);
        nbItems = 0;
    }
    void applyToKeyAndValue(void (*function)(const K&, V&, void*), void* data) const {
        for (Association& pair : *this)
            function(pair.key, pair.value, data);
    }

    /// Changes the bucket count, 0 (or below) meaning 2: the pairs are entered again in the order
    /// of a walk. The same count changes nothing.
    void resize(int bucket_count) {
        bucket_count = at_least_two(bucket_count);
        if (bucket_count == npts) return;
        ERTValHashDictionary enlarged(hashFunction, bucket_count);
        for (int bucket = 0; bucket < npts; ++bucket)
            enlarged.take_pairs(list(bucket));
        enlarged.nbItems = std::exchange(nbItems, 0);
        swap(enlarged);
    }

protected:
    /// Enters a key that is known to be new.
    V& append(const K& key) {
        const int bucket = hashIndex(key);
        if (list(bucket) == nullptr) array[bucket] = new ERIsvSlist;
        Association* const made = new Association(key);
        list(bucket)->append(made);
        ++nbItems;
        return made->value;
    }

private:
    static int at_least_two(int bucket_count) { return bucket_count > 0 ? bucket_count : 2; }
    ERIsvSlist* list(int bucket) const { return static_cast<ERIsvSlist*>(array[bucket]); }

    Association* search(int bucket, const K& key) const {
        ERIsvSlist* const pairs = list(bucket);
        if (pairs == nullptr) return nullptr;
        for (ERIsvSlink* link = pairs->first(); link != nullptr && link != pairs->tail_sentinel();
             link = link->next) {
            Association* const pair = static_cast<Association*>(link);
            if (pair->key == key) return pair;
        }
        return nullptr;
    }
    void swap(ERTValHashDictionary& other) noexcept {
        std::swap(npts, other.npts);
        std::swap(array, other.array);
        std::swap(nbItems, other.nbItems);
        std::swap(hashFunction, other.hashFunction);
    }
    void take_pairs(ERIsvSlist* pairs) {
        while (ERIsvSlink* const link = pairs != nullptr ? pairs->get() : nullptr) {
            const int bucket = hashIndex(static_cast<Association*>(link)->key);
            if (list(bucket) == nullptr) array[bucket] = new ERIsvSlist;
            list(bucket)->append(link);
        }
    }
    static void delete_lists(const ERTValHashDictionary& of) {
        for (int bucket = 0; bucket < of.npts; ++bucket) {
            ERIsvSlist* const pairs = of.list(bucket);
            while (ERIsvSlink* const link = pairs != nullptr ? pairs->get() : nullptr)
                delete static_cast<Association*>(link);
            delete pairs;
        }
    }

    int nbItems = 0;
    HashFunction hashFunction;
};
