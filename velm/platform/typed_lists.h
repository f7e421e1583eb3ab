// CObList, CList, CTypedPtrList, CMap: the framework's lists and hash map, with the walk by
// POSITION beside begin() and end().
#pragma once

#include "velm/platform/integer_types.h"
#include "velm/platform/root_class.h"

#include <cstddef>
#include <functional>
#include <iterator>
#include <type_traits>
#include <unordered_map>
#include <utility>

struct __POSITION; // never defined: a POSITION is opaque

/// A place in a list or map, null for none. It stays valid until its element is removed.
using POSITION = __POSITION*;

/// A doubly linked list of elements held by value; ARG is the type in which elements are passed in.
template <class T, class ARG = const T&>
class CList : public CObject {
    struct Node {
        T value;
        Node* next;
        Node* previous;
    };

    template <class Value>
    class Walk {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Walk() = default;
        explicit Walk(Node* node) : node_(node) {}
        Value& operator*() const { return node_->value; }
        Value* operator->() const { return &node_->value; }
        Walk& operator++() {
            node_ = node_->next;
            return *this;
        }
        Walk operator++(int) {
            const Walk before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Walk&) const = default;

    private:
        Node* node_ = nullptr;
    };

public:
    /// The block size is a hint that this implementation ignores.
    explicit CList(LONGLONG /*block_size*/ = 10) {}
    CList(const CList&) = delete;
    CList& operator=(const CList&) = delete;
    ~CList() override { CList::RemoveAll(); }

    LONGLONG GetCount() const { return static_cast<LONGLONG>(count_); }
    LONGLONG GetSize() const { return GetCount(); }
    BOOL IsEmpty() const { return count_ == 0; }

    T& GetHead() { return head_->value; }
    const T& GetHead() const { return head_->value; }
    T& GetTail() { return tail_->value; }
    const T& GetTail() const { return tail_->value; }

    POSITION AddHead(ARG value) { return insert(nullptr, head_, value); }
    POSITION AddTail(ARG value) { return insert(tail_, nullptr, value); }
    POSITION InsertBefore(POSITION place, ARG value) {
        return place != nullptr ? insert(node(place)->previous, node(place), value)
                                : AddHead(value);
    }
    POSITION InsertAfter(POSITION place, ARG value) {
        return place != nullptr ? insert(node(place), node(place)->next, value) : AddTail(value);
    }

    T RemoveHead() { return take(head_); }
    T RemoveTail() { return take(tail_); }
    void RemoveAt(POSITION place) { take(node(place)); }
    void RemoveAll() {
        while (head_ != nullptr)
            delete std::exchange(head_, head_->next);
        tail_ = nullptr;
        count_ = 0;
    }

    POSITION GetHeadPosition() const { return position(head_); }
    POSITION GetTailPosition() const { return position(tail_); }
    /// The element at the place, which moves on; past the last it becomes null.
    T& GetNext(POSITION& place) { return step(place, &Node::next); }
    const T& GetNext(POSITION& place) const { return step(place, &Node::next); }
    T& GetPrev(POSITION& place) { return step(place, &Node::previous); }
    const T& GetPrev(POSITION& place) const { return step(place, &Node::previous); }
    T& GetAt(POSITION place) { return node(place)->value; }
    const T& GetAt(POSITION place) const { return node(place)->value; }
    void SetAt(POSITION place, ARG value) { node(place)->value = value; }

    /// The first equal element after the place, or from the head on for null; null if there is
    /// none.
    POSITION Find(ARG value, POSITION after = nullptr) const {
        Node* n = after != nullptr ? node(after)->next : head_;
        while (n != nullptr && !(n->value == value))
            n = n->next;
        return position(n);
    }
    /// The place of the element with that number from 0 on, or null.
    POSITION FindIndex(LONGLONG index) const {
        if (index < 0 || index >= GetCount()) return nullptr;
        Node* n = head_;
        while (index-- > 0)
            n = n->next;
        return position(n);
    }

    using iterator = Walk<T>;
    using const_iterator = Walk<const T>;
    iterator begin() { return iterator(head_); }
    iterator end() { return iterator(); }
    const_iterator begin() const { return const_iterator(head_); }
    const_iterator end() const { return const_iterator(); }
    std::size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }

private:
    static Node* node(POSITION place) { return reinterpret_cast<Node*>(place); }
    static POSITION position(Node* n) { return reinterpret_cast<POSITION>(n); }

    static T& step(POSITION& place, Node* Node::*link) {
        Node* const n = node(place);
        place = position(n->*link);
        return n->value;
    }
    POSITION insert(Node* previous, Node* next, ARG value) {
        Node* const fresh = new Node{value, next, previous};
        (previous != nullptr ? previous->next : head_) = fresh;
        (next != nullptr ? next->previous : tail_) = fresh;
        ++count_;
        return position(fresh);
    }
    T take(Node* n) {
        T value = std::move(n->value);
        (n->previous != nullptr ? n->previous->next : head_) = n->next;
        (n->next != nullptr ? n->next->previous : tail_) = n->previous;
        --count_;
        delete n;
        return value;
    }

    Node* head_ = nullptr;
    Node* tail_ = nullptr;
    std::size_t count_ = 0;
};

/// A list of objects that it does not own.
class CObList : public CList<CObject*, CObject*> {
public:
    using CList::CList;
};

/// A list BASE (CObList or another list of pointers) in which every pointer is a TYPE.
template <class BASE, class TYPE>
class CTypedPtrList : public BASE {
    template <class Inner>
    class Walk {
    public:
        explicit Walk(Inner inner) : inner_(inner) {}
        TYPE operator*() const { return static_cast<TYPE>(*inner_); }
        Walk& operator++() {
            ++inner_;
            return *this;
        }
        bool operator==(const Walk&) const = default;

    private:
        Inner inner_;
    };

public:
    using BASE::BASE;

    TYPE GetHead() const { return static_cast<TYPE>(BASE::GetHead()); }
    TYPE GetTail() const { return static_cast<TYPE>(BASE::GetTail()); }
    TYPE RemoveHead() { return static_cast<TYPE>(BASE::RemoveHead()); }
    TYPE RemoveTail() { return static_cast<TYPE>(BASE::RemoveTail()); }
    TYPE GetNext(POSITION& place) const { return static_cast<TYPE>(BASE::GetNext(place)); }
    TYPE GetPrev(POSITION& place) const { return static_cast<TYPE>(BASE::GetPrev(place)); }
    TYPE GetAt(POSITION place) const { return static_cast<TYPE>(BASE::GetAt(place)); }
    POSITION AddHead(TYPE value) { return BASE::AddHead(value); }
    POSITION AddTail(TYPE value) { return BASE::AddTail(value); }
    POSITION InsertBefore(POSITION place, TYPE value) { return BASE::InsertBefore(place, value); }
    POSITION InsertAfter(POSITION place, TYPE value) { return BASE::InsertAfter(place, value); }
    void SetAt(POSITION place, TYPE value) { BASE::SetAt(place, value); }

    auto begin() const { return Walk<typename BASE::const_iterator>(BASE::begin()); }
    auto end() const { return Walk<typename BASE::const_iterator>(BASE::end()); }
};

/// How CMap hashes a key passed in as ARG_KEY. A host specialises it for its own keys.
template <class ARG_KEY>
UINT HashKey(ARG_KEY key) {
    const std::size_t hash = std::hash<std::remove_cvref_t<ARG_KEY>>()(key);
    return static_cast<UINT>(hash ^ (hash >> 16 >> 16));
}

/// Whether a stored key equals the one looked up. A host specialises it likewise.
template <class KEY, class ARG_KEY>
BOOL CompareElements(const KEY* stored, const ARG_KEY* wanted) {
    return *stored == *wanted;
}

/// A hash map. The order of the walk is not defined, and no element may be added during it.
template <class KEY, class ARG_KEY, class VALUE, class ARG_VALUE>
class CMap : public CObject {
    struct Hash {
        std::size_t operator()(const KEY& key) const { return HashKey<ARG_KEY>(key); }
    };
    struct Equal {
        bool operator()(const KEY& stored, const KEY& wanted) const {
            return CompareElements(&stored, &wanted) != 0;
        }
    };
    using Table = std::unordered_map<KEY, VALUE, Hash, Equal>;

public:
    explicit CMap(LONGLONG /*block_size*/ = 10) {}
    CMap(const CMap&) = delete;
    CMap& operator=(const CMap&) = delete;

    LONGLONG GetCount() const { return static_cast<LONGLONG>(table_.size()); }
    LONGLONG GetSize() const { return GetCount(); }
    BOOL IsEmpty() const { return table_.empty(); }
    /// A hint: the table still grows by itself.
    void InitHashTable(UINT buckets, BOOL /*allocate_now*/ = 1) { table_.rehash(buckets); }
    UINT GetHashTableSize() const { return static_cast<UINT>(table_.bucket_count()); }

    /// Returns 1 and sets the value, or 0 with the value unchanged.
    BOOL Lookup(ARG_KEY key, VALUE& value) const {
        const auto found = table_.find(key);
        if (found == table_.end()) return 0;
        value = found->second;
        return 1;
    }
    VALUE& operator[](ARG_KEY key) { return table_[key]; }
    void SetAt(ARG_KEY key, ARG_VALUE value) { table_.insert_or_assign(key, value); }
    /// Returns whether the key was there.
    BOOL RemoveKey(ARG_KEY key) { return table_.erase(key) != 0; }
    void RemoveAll() { table_.clear(); }

    POSITION GetStartPosition() const { return position(table_.begin()); }
    /// Gives the element at the place, which moves on; past the last it becomes null.
    void GetNextAssoc(POSITION& place, KEY& key, VALUE& value) const {
        const auto& element = *reinterpret_cast<const typename Table::value_type*>(place);
        key = element.first;
        value = element.second;
        place = position(std::next(table_.find(element.first)));
    }

    auto begin() { return table_.begin(); }
    auto end() { return table_.end(); }
    auto begin() const { return table_.begin(); }
    auto end() const { return table_.end(); }
    std::size_t size() const { return table_.size(); }
    bool empty() const { return table_.empty(); }

private:
    POSITION position(typename Table::const_iterator at) const {
        if (at == table_.end()) return nullptr;
        return reinterpret_cast<POSITION>(const_cast<typename Table::value_type*>(&*at));
    }

    Table table_;
};
