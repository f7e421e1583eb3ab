// ERIsvSlink, ERIsvSlist, ERIsvSlistIterator: the intrusive singly linked list.
#pragma once

#include "velm/export.h"
#include "velm/frame/isv_chain.h"

/// The link that an element of a singly linked list derives from. It is the element's place, not
/// part of its value: a copy is in no list, and an element that is assigned to keeps its place.
struct VELM_API ERIsvSlink {
    ERIsvSlink() = default;
    ERIsvSlink(const ERIsvSlink&) noexcept {}
    ERIsvSlink& operator=(const ERIsvSlink&) noexcept { return *this; }

    ERIsvSlink* next = nullptr;
};

/// See velm::detail::IsvChain for the operations. Removing at the end or at a place walks the list.
class VELM_API ERIsvSlist : public velm::detail::IsvChain<ERIsvSlink> {
public:
    /// Walks to the place before `link`; the head sentinel before the first element, null if `link`
    /// is not in the list.
    ERIsvSlink* findLeftIsv(const ERIsvSlink* link) const { return left_of(link); }
};

/// See velm::detail::IsvChainIterator.
class VELM_API ERIsvSlistIterator : public velm::detail::IsvChainIterator<ERIsvSlist, ERIsvSlink> {
public:
    using IsvChainIterator::IsvChainIterator;
};

extern template class velm::detail::IsvChain<ERIsvSlink>;
