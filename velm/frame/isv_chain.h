// velm::detail::IsvChain, IsvChainIterator: the operations that the singly and the doubly linked
// intrusive lists share, as templates over the kind of link. The lists themselves are in
// isv_slist.h and isv_dlist.h.
#pragma once

#include "velm/export.h"

#include <cassert>

namespace velm::detail {

/// A chain of links between two sentinels in the list head. The links are parts of the elements,
/// which the chain does not own; a link is in one chain at a time. After the last element is the
/// tail sentinel, never null. A removed link's `next` is null.
///
/// A link with a `prev` has its predecessor at hand; without one, it is found by a walk.
template <class Link>
class VELM_API IsvChain {
    static constexpr bool both_ways = requires(Link link) { link.prev; };

public:
    IsvChain() { clear(); }
    IsvChain(const IsvChain&) = delete;
    IsvChain& operator=(const IsvChain&) = delete;

    int entries() const { return count_; }
    int size() const { return count_; }
    int isEmpty() const { return count_ == 0; }
    /// Null on an empty list.
    Link* first() const { return count_ > 0 ? head_.next : nullptr; }
    Link* last() const { return count_ > 0 ? last_ : nullptr; }
    /// The element at an index, null out of range.
    Link* at(int i) const { return i >= 0 && i < count_ ? before(i)->next : nullptr; }

    /// All of these return the link that they insert or remove; removing a link that is not there
    /// gives null.
    Link* append(Link* link) { return insertAfterLink(last_, link); }
    Link* prepend(Link* link) { return insertAfterLink(&head_, link); }
    /// Puts `link` at the index i, 0 <= i <= entries().
    Link* insertAt(int i, Link* link) {
        assert(i >= 0 && i <= count_);
        return insertAfterLink(before(i), link);
    }
    /// Inserts `link` after `after`, which is in this list.
    Link* insertAfterLink(Link* after, Link* link);
    /// Removes the first element.
    Link* get() { return count_ > 0 ? removeRight(&head_) : nullptr; }
    Link* removeLast() { return count_ > 0 ? removeRight(left_of(last_)) : nullptr; }
    Link* removeAt(int i) { return i >= 0 && i < count_ ? removeRight(before(i)) : nullptr; }
    /// `link` is in this list, or was never in one, or was removed; a doubly linked list doesn't
    /// check that.
    Link* removeReference(const Link* link);
    /// Removes the element after `left`, which is in this list and not its last, or the head
    /// sentinel.
    Link* removeRight(Link* left);
    /// Forgets all elements without touching them, so that they may have been destroyed before.
    void clear();

    int containsReference(const Link* link) const { return occurrencesOfReference(link); }
    /// 1 or 0: a link has at most one place.
    int occurrencesOfReference(const Link* link) const {
        return link != nullptr && walk_to_left(link) != nullptr;
    }

    /// The sentinels: the place before the first element and the one after the last.
    Link* head_sentinel() const { return &head_; }
    Link* tail_sentinel() const { return &tail_; }
    /// The place before `link`, the head sentinel before the first one; null if `link` is not in
    /// this list.
    Link* left_of(const Link* link) const;

private:
    Link* before(int i) const;
    Link* walk_to_left(const Link* link) const;

    // Mutable, since the elements of a const list may be changed.
    mutable Link head_;
    mutable Link tail_;
    Link* last_ = &head_;
    int count_ = 0;
};

/// A cursor on a chain. It starts before the first element and stops after the last; the element
/// under it must be removed only through it.
template <class Chain, class Link>
class IsvChainIterator {
public:
    explicit IsvChainIterator(Chain& list) { reset(list); }

    /// Back to the place before the first element, of another list in the second form.
    void reset() { cursor_ = list_->head_sentinel(); }
    void reset(Chain& list) {
        list_ = &list;
        reset();
    }
    void toFirst() { cursor_ = list_->head_sentinel()->next; }
    void toLast() {
        cursor_ = list_->isEmpty() ? list_->tail_sentinel() : static_cast<Link*>(list_->last());
    }

    /// 1 while the cursor is on an element.
    int isActive() const {
        return cursor_ != list_->head_sentinel() && cursor_ != list_->tail_sentinel();
    }
    int atFirst() const { return isActive() && cursor_ == list_->first(); }
    int atLast() const { return isActive() && cursor_ == list_->last(); }
    /// The element under the cursor, null if there is none.
    Link* key() const { return isActive() ? static_cast<Link*>(cursor_) : nullptr; }

    /// One element forward; returns the element there, null after the last.
    Link* advance() {
        if (cursor_ != list_->tail_sentinel()) cursor_ = cursor_->next;
        return key();
    }
    int operator++() { return advance() != nullptr; }

    /// Inserts `link` after the cursor, at the list's end if the cursor is after the last element.
    Link* insertAfterPoint(Link* link) {
        const bool behind = cursor_ == list_->tail_sentinel();
        list_->insertAfterLink(behind ? list_->left_of(cursor_) : cursor_, link);
        return link;
    }
    /// Removes the element under the cursor and returns it; the cursor goes back by one place, so
    /// that `operator++` continues with the next. Null if there is none.
    Link* remove() {
        if (!isActive()) return nullptr;
        Link* const removed = static_cast<Link*>(cursor_);
        cursor_ = list_->left_of(cursor_);
        list_->removeRight(cursor_);
        return removed;
    }

protected:
    Chain* list_;
    decltype(Chain().head_sentinel()) cursor_;
};

template <class Link>
Link* IsvChain<Link>::insertAfterLink(Link* after, Link* link) {
    assert(after != nullptr && after != &tail_ && link != nullptr);
    link->next = after->next;
    after->next = link;
    if constexpr (both_ways) {
        link->prev = after;
        link->next->prev = link;
    }
    if (last_ == after) last_ = link;
    ++count_;
    return link;
}

template <class Link>
Link* IsvChain<Link>::removeRight(Link* left) {
    Link* const removed = left->next;
    left->next = removed->next;
    if constexpr (both_ways) {
        removed->next->prev = left;
        removed->prev = nullptr;
    }
    if (last_ == removed) last_ = left;
    removed->next = nullptr;
    --count_;
    return removed;
}

template <class Link>
Link* IsvChain<Link>::removeReference(const Link* link) {
    if (link == nullptr || link->next == nullptr) return nullptr;
    Link* const left = left_of(link);
    return left != nullptr ? removeRight(left) : nullptr;
}

template <class Link>
void IsvChain<Link>::clear() {
    head_.next = &tail_;
    tail_.next = &tail_;
    if constexpr (both_ways) {
        head_.prev = &head_;
        tail_.prev = &head_;
    }
    last_ = &head_;
    count_ = 0;
}

template <class Link>
Link* IsvChain<Link>::left_of(const Link* link) const {
    if constexpr (both_ways)
        return link->prev;
    else
        return walk_to_left(link);
}

template <class Link>
Link* IsvChain<Link>::walk_to_left(const Link* link) const {
    for (Link* left = &head_; left != &tail_; left = left->next) {
        if (left->next == link) return left;
    }
    return nullptr;
}

template <class Link>
Link* IsvChain<Link>::before(int i) const {
    if (i == count_) return last_;
    Link* link = &head_;
    if constexpr (both_ways) {
        if (i > count_ / 2) {
            link = last_;
            for (int k = count_; k > i; --k)
                link = link->prev;
            return link;
        }
    }
    for (int k = 0; k < i; ++k)
        link = link->next;
    return link;
}

} // namespace velm::detail
