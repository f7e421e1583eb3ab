// velm::detail::PooledList: a singly linked list whose nodes come from a pool of its own.
#pragma once

#include "velm/frame/memory_pool.h"
#include "velm/frame/vec.h"

#include <cstddef>
#include <iterator>
#include <type_traits>

namespace velm::detail {

/// A list of plain values. All nodes are freed with the list's pool, at once. The list can't be
/// copied.
template <class T>
class PooledList {
    static_assert(std::is_trivially_destructible_v<T>, "nodes die with their pool");

public:
    struct Node : ERMemoryPool {
        explicit Node(const T& v, Node* after = nullptr) : value(v), next(after) {}

        T value;
        Node* next;
    };

    /// A forward iterator over the values, in order.
    template <class Value, class NodePointer>
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Iterator() = default;
        explicit Iterator(NodePointer node) : node_(node) {}
        reference operator*() const { return node_->value; }
        pointer operator->() const { return &node_->value; }
        Iterator& operator++() {
            node_ = node_->next;
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator&) const = default;

    private:
        NodePointer node_ = nullptr;
    };
    using iterator = Iterator<T, Node*>;
    using const_iterator = Iterator<const T, const Node*>;

    PooledList() : pool_(sizeof(Node), deferred_frees) {}
    PooledList(const PooledList&) = delete;
    PooledList& operator=(const PooledList&) = delete;

    int size() const { return count_; }
    bool empty() const { return first_ == nullptr; }
    Node* first() { return first_; }
    const Node* first() const { return first_; }
    const Node* last() const { return last_; }

    iterator begin() { return iterator(first_); }
    iterator end() { return iterator(); }
    const_iterator begin() const { return const_iterator(first_); }
    const_iterator end() const { return const_iterator(); }

    /// Adds a node at the end and returns it.
    Node* append(const T& value) {
        Node* node = new (pool_) Node(value);
        (last_ == nullptr ? first_ : last_->next) = node;
        last_ = node;
        ++count_;
        return node;
    }

    /// Adds a node after `before`, a node of this list, and returns it.
    Node* insert_after(Node* before, const T& value) {
        Node* node = new (pool_) Node(value, before->next);
        before->next = node;
        if (last_ == before) last_ = node;
        ++count_;
        return node;
    }

    /// One member of every value, in order.
    template <class Member>
    ERVec<Member> gathered(Member T::*member) const {
        ERVec<Member> members(count_);
        Member* place = members.begin();
        for (const T& value : *this)
            *place++ = value.*member;
        return members;
    }

private:
    static constexpr std::size_t deferred_frees = 1024;

    ERMemPool pool_;
    Node* first_ = nullptr;
    Node* last_ = nullptr;
    int count_ = 0;
};

} // namespace velm::detail
