// ERIsvDlink, ERIsvDlist, ERIsvDlistIterator: the intrusive doubly linked list; ERTIsvDlist and
// ERTIsvDlistIterator: the same for one type of element.
#pragma once

#include "velm/export.h"
#include "velm/frame/isv_chain.h"

#include <cstddef>
#include <iterator>

/// The link that an element of a doubly linked list derives from. It is the element's place, not
/// part of its value: a copy is in no list, and an element that is assigned to keeps its place.
struct VELM_API ERIsvDlink {
    ERIsvDlink() = default;
    ERIsvDlink(const ERIsvDlink&) noexcept {}
    ERIsvDlink& operator=(const ERIsvDlink&) noexcept { return *this; }

    ERIsvDlink* next = nullptr;
    ERIsvDlink* prev = nullptr;
};

/// See velm::detail::IsvChain for the operations.
class VELM_API ERIsvDlist : public velm::detail::IsvChain<ERIsvDlink> {};

extern template class velm::detail::IsvChain<ERIsvDlink>;

namespace velm::detail {

/// The cursor of a doubly linked list, which also goes back.
template <class List, class Link>
class IsvBothWaysIterator : public IsvChainIterator<List, Link> {
public:
    using IsvChainIterator<List, Link>::IsvChainIterator;

    /// One element back; returns the element there, null before the first.
    Link* backup() {
        if (this->cursor_ != this->list_->head_sentinel()) this->cursor_ = this->cursor_->prev;
        return this->key();
    }
    int operator--() { return backup() != nullptr; }
    /// `n` elements forward or back; 1 if the cursor is then on an element. Negative n goes the
    /// other way.
    int operator+=(int n) {
        for (; n > 0; --n)
            this->advance();
        for (; n < 0; ++n)
            backup();
        return this->isActive();
    }
    int operator-=(int n) {
        for (; n > 0; --n)
            backup();
        for (; n < 0; ++n)
            this->advance();
        return this->isActive();
    }
};

/// Walks a chain of links as elements of the type L.
template <class L>
class IsvElementIterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = L;
    using difference_type = std::ptrdiff_t;
    using pointer = L*;
    using reference = L&;

    IsvElementIterator() = default;
    explicit IsvElementIterator(ERIsvDlink* link) : link_(link) {}
    L& operator*() const { return *static_cast<L*>(link_); }
    L* operator->() const { return static_cast<L*>(link_); }
    IsvElementIterator& operator++() { return link_ = link_->next, *this; }
    IsvElementIterator& operator--() { return link_ = link_->prev, *this; }
    IsvElementIterator operator++(int) {
        const IsvElementIterator before = *this;
        return ++*this, before;
    }
    IsvElementIterator operator--(int) {
        const IsvElementIterator before = *this;
        return --*this, before;
    }
    friend bool operator==(IsvElementIterator, IsvElementIterator) = default;

private:
    ERIsvDlink* link_ = nullptr;
};

} // namespace velm::detail

/// See velm::detail::IsvChainIterator and IsvBothWaysIterator.
class VELM_API ERIsvDlistIterator
    : public velm::detail::IsvBothWaysIterator<ERIsvDlist, ERIsvDlink> {
public:
    using IsvBothWaysIterator::IsvBothWaysIterator;
};

/// A doubly linked list of elements L, which derive from ERIsvDlink and are not owned.
template <class L>
class ERTIsvDlist : public ERIsvDlist {
public:
    using iterator = velm::detail::IsvElementIterator<L>;

    L* first() const { return static_cast<L*>(ERIsvDlist::first()); }
    L* last() const { return static_cast<L*>(ERIsvDlist::last()); }
    L* at(int i) const { return static_cast<L*>(ERIsvDlist::at(i)); }
    L* append(L* link) { return static_cast<L*>(ERIsvDlist::append(link)); }
    L* prepend(L* link) { return static_cast<L*>(ERIsvDlist::prepend(link)); }
    L* insertAt(int i, L* link) { return static_cast<L*>(ERIsvDlist::insertAt(i, link)); }
    L* get() { return static_cast<L*>(ERIsvDlist::get()); }
    L* removeLast() { return static_cast<L*>(ERIsvDlist::removeLast()); }
    L* removeAt(int i) { return static_cast<L*>(ERIsvDlist::removeAt(i)); }
    L* removeReference(const L* link) { return static_cast<L*>(ERIsvDlist::removeReference(link)); }

    iterator begin() const { return iterator(head_sentinel()->next); }
    iterator end() const { return iterator(tail_sentinel()); }
};

/// See velm::detail::IsvChainIterator and IsvBothWaysIterator.
template <class L>
class ERTIsvDlistIterator : public velm::detail::IsvBothWaysIterator<ERTIsvDlist<L>, L> {
public:
    using velm::detail::IsvBothWaysIterator<ERTIsvDlist<L>, L>::IsvBothWaysIterator;
};
