// ERTValDlist, ERTPtrDlist with their links and iterators: doubly linked lists that hold copies of
// values, or pointers that they don't own.
#pragma once

#include "velm/frame/isv_dlist.h"
#include "velm/frame/memory_pool.h"

#include <cassert>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <utility>

/// An element of an ERTValDlist, from the thread's pools.
template <class T>
class ERTValDlink : public ERIsvDlink, public ERMemoryPool {
public:
    using Value = T;

    explicit ERTValDlink(const T& v) : value(v) {}
    T value;
};

/// An element of an ERTPtrDlist, from the thread's pools.
template <class T>
class ERTPtrDlink : public ERIsvDlink, public ERMemoryPool {
public:
    using Value = T*;

    explicit ERTPtrDlink(T* v) : value(v) {}
    T* value;
};

namespace velm::detail {

/// Walks a list of nodes as their values.
template <class Node, class Value>
class NodeValueIterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = typename Node::Value;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    NodeValueIterator() = default;
    explicit NodeValueIterator(IsvElementIterator<Node> at) : at_(at) {}
    Value& operator*() const { return at_->value; }
    Value* operator->() const { return &at_->value; }
    NodeValueIterator& operator++() { return ++at_, *this; }
    NodeValueIterator& operator--() { return --at_, *this; }
    NodeValueIterator operator++(int) { return NodeValueIterator(at_++); }
    NodeValueIterator operator--(int) { return NodeValueIterator(at_--); }
    friend bool operator==(NodeValueIterator, NodeValueIterator) = default;

private:
    IsvElementIterator<Node> at_;
};

/// The operations of both lists. A list owns its nodes; copies are deep. Indices are not checked.
/// If there is no memory for a node, std::bad_alloc is thrown and the list is unchanged.
template <class Node>
class NodeDlist : protected ERTIsvDlist<Node> {
    using List = ERTIsvDlist<Node>;

public:
    using Value = typename Node::Value;
    using value_type = Value;
    using iterator = NodeValueIterator<Node, Value>;
    using const_iterator = NodeValueIterator<Node, const Value>;

    NodeDlist() = default;
    NodeDlist(std::initializer_list<Value> values) : NodeDlist() {
        for (const Value& value : values)
            append(value);
    }
    NodeDlist(const NodeDlist& other) : NodeDlist() {
        for (const Value& value : other)
            append(value);
    }
    NodeDlist(NodeDlist&& other) noexcept { take_all(other); }
    ~NodeDlist() { clear(); }

    NodeDlist& operator=(const NodeDlist& other) {
        if (this != &other) *this = NodeDlist(other);
        return *this;
    }
    NodeDlist& operator=(NodeDlist&& other) noexcept {
        if (this != &other) {
            clear();
            take_all(other);
        }
        return *this;
    }

    using List::entries;
    using List::isEmpty;
    using List::size;

    iterator begin() { return iterator(List::begin()); }
    iterator end() { return iterator(List::end()); }
    const_iterator begin() const { return const_iterator(List::begin()); }
    const_iterator end() const { return const_iterator(List::end()); }

    Value& at(int i) { return node(i)->value; }
    const Value& at(int i) const { return node(i)->value; }
    Value& operator[](int i) { return at(i); }
    const Value& operator[](int i) const { return at(i); }

    void append(const Value& value) { List::append(new Node(value)); }
    void insert(const Value& value) { append(value); }
    void prepend(const Value& value) { List::prepend(new Node(value)); }
    /// Puts `value` at the index i, 0 <= i <= entries().
    void insertAt(int i, const Value& value) { List::insertAt(i, new Node(value)); }

    /// Remove the element and return it; there must be one.
    Value get() { return release(List::get()); }
    Value removeLast() { return release(List::removeLast()); }
    Value removeAt(int i) { return release(List::removeAt(i)); }
    void clear() {
        while (Node* const first = List::get())
            delete first;
    }

    /// The first index of an equal value, -1 if there is none. Values compare by `==`.
    int index(const Value& value) const {
        int i = 0;
        for (const Value& held : *this) {
            if (held == value) return i;
            ++i;
        }
        return -1;
    }
    int contains(const Value& value) const { return index(value) >= 0; }
    int occurrencesOf(const Value& value) const {
        int count = 0;
        for (const Value& held : *this)
            count += held == value;
        return count;
    }
    /// Removes the first equal value; returns 1 if there was one.
    int remove(const Value& value) {
        const int i = index(value);
        if (i >= 0) delete List::removeAt(i);
        return i >= 0;
    }
    /// Removes all equal values and returns their number. `value` may be an element of the list.
    int removeAll(const Value& value) {
        List removed;
        for (Node *node = List::first(), *next; node != nullptr; node = next) {
            next = node->next != List::tail_sentinel() ? static_cast<Node*>(node->next) : nullptr;
            if (node->value == value) removed.append(List::removeReference(node));
        }
        const int count = removed.entries();
        while (Node* const gone = removed.get())
            delete gone;
        return count;
    }

    friend bool operator==(const NodeDlist& a, const NodeDlist& b) {
        if (a.entries() != b.entries()) return false;
        for (auto at = a.begin(), bt = b.begin(); at != a.end(); ++at, ++bt) {
            if (!(*at == *bt)) return false;
        }
        return true;
    }

protected:
    template <class L, class N>
    friend class NodeDlistIterator;

    Node* node(int i) const {
        Node* const found = List::at(i);
        assert(found != nullptr);
        return found;
    }
    static Value release(Node* taken) {
        assert(taken != nullptr);
        Value value = std::move(taken->value);
        delete taken;
        return value;
    }
    void take_all(NodeDlist& other) {
        while (Node* const first = static_cast<List&>(other).get())
            List::append(first);
    }
};

/// A cursor on such a list; see IsvChainIterator for the movements.
template <class List, class Node>
class NodeDlistIterator : protected ERTIsvDlistIterator<Node> {
    using Cursor = ERTIsvDlistIterator<Node>;
    using Value = typename Node::Value;

public:
    explicit NodeDlistIterator(List& list) : Cursor(chain(list)) {}

    using Cursor::advance;
    using Cursor::atFirst;
    using Cursor::atLast;
    using Cursor::backup;
    using Cursor::isActive;
    using Cursor::toFirst;
    using Cursor::toLast;
    using Cursor::operator++;
    using Cursor::operator--;
    using Cursor::operator+=;
    using Cursor::operator-=;

    void reset() { Cursor::reset(); }
    void reset(List& list) { Cursor::reset(chain(list)); }
    /// The value under the cursor, which must be on an element.
    Value& key() const {
        assert(isActive());
        return Cursor::key()->value;
    }
    /// Inserts `value` after the cursor.
    void insertAfterPoint(const Value& value) { Cursor::insertAfterPoint(new Node(value)); }
    /// Removes the element under the cursor; returns 1 if there was one. The cursor goes back by
    /// one.
    int remove() {
        Node* const gone = Cursor::remove();
        delete gone;
        return gone != nullptr;
    }

private:
    static ERTIsvDlist<Node>& chain(NodeDlist<Node>& list) { return list; }
};

} // namespace velm::detail

/// A list of copies of T; see velm::detail::NodeDlist for the operations.
template <class T>
class ERTValDlist : public velm::detail::NodeDlist<ERTValDlink<T>> {
    using Base = velm::detail::NodeDlist<ERTValDlink<T>>;

public:
    using Base::Base;
    /// The first and the last value; the list must not be empty.
    T& first() { return this->at(0); }
    const T& first() const { return this->at(0); }
    T& last() { return this->at(this->entries() - 1); }
    const T& last() const { return this->at(this->entries() - 1); }
};

/// A list of T*, not owned; see velm::detail::NodeDlist for the operations. Pointers compare as
/// addresses.
template <class T>
class ERTPtrDlist : public velm::detail::NodeDlist<ERTPtrDlink<T>> {
    using Base = velm::detail::NodeDlist<ERTPtrDlink<T>>;

public:
    using Base::Base;
    /// The ends, null on an empty list.
    T* first() const { return this->isEmpty() ? nullptr : this->at(0); }
    T* last() const { return this->isEmpty() ? nullptr : this->at(this->entries() - 1); }
};

template <class T>
class ERTValDlistIterator : public velm::detail::NodeDlistIterator<ERTValDlist<T>, ERTValDlink<T>> {
public:
    using velm::detail::NodeDlistIterator<ERTValDlist<T>, ERTValDlink<T>>::NodeDlistIterator;
};

template <class T>
class ERTPtrDlistIterator : public velm::detail::NodeDlistIterator<ERTPtrDlist<T>, ERTPtrDlink<T>> {
public:
    using velm::detail::NodeDlistIterator<ERTPtrDlist<T>, ERTPtrDlink<T>>::NodeDlistIterator;
};
