// ERChainerProcessor: links pieces of the plane into chains.
#pragma once

#include "velm/export.h"
#include "velm/frame/smart_pointer.h"
#include "velm/planar/segment_chain.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <vector>

namespace velm::detail {
class ChainEndIndex;
}

/// Takes pieces in any order and direction and links those whose ends are nearer than the
/// tolerance; see `ERChainerSeg2D::compareWith` for how ends meet. If more than two ends meet at a
/// point, the result depends on the order of insertion.
///
/// The chains that a piece may meet are found by the places of their ends, so pieces and chains
/// must not change once they are inserted, except through the operations here. A piece belongs to
/// one chain.
///
/// The time grows with the number of pieces, with that of the ends at one point, and with that of
/// the pieces that are reversed: if two last ends or two first ends meet, the whole current chain
/// is reversed, however long it is.
class VELM_API ERChainerProcessor {
public:
    using Comparison = SegCompState (*)(ERChainedMetaSeg2D const&, ERChainedMetaSeg2D const&,
                                        double);
    static constexpr double default_tolerance = 0.001;

    explicit ERChainerProcessor(double tolerance = default_tolerance);
    /// A copy holds the same chains, not copies of them: a piece that one of the two links to a
    /// chain is in the other's chain as well. Once one of them moves pieces of a shared chain into
    /// another chain, both compare with all chains from then on.
    ERChainerProcessor(ERChainerProcessor const& other);
    ERChainerProcessor& operator=(ERChainerProcessor const& other);
    ~ERChainerProcessor();

    /// `a.compareWith(&b, tol)`.
    static SegCompState StandardCompare(ERChainedMetaSeg2D const& a, ERChainedMetaSeg2D const& b,
                                        double tol);
    /// Sets the comparison of an existing chain (a) with a new one (b). If it isn't the standard
    /// one, every chain is compared.
    void setComparison(Comparison comparison);

    /// Inserts a piece as a new chain.
    int insert(t_SmartPtr<ERChainerSeg2D> piece);
    /// Returns 1 if the chain is accepted, 0 if it is refused: shorter than the tolerance, or with
    /// both ends at the same end of another one. Chains linked to a refused chain before remain
    /// linked to it and are lost with it. The chain is joined with those that it meets, in the
    /// order of the list, and the result is put at the list's end.
    ///
    /// A closed chain is appended unchanged, and none is linked to it later; a piece without length
    /// counts as closed, which is part of the contract.
    int insert(t_SmartPtr<ERChainedMetaSeg2D> chain);

    int entries() const { return static_cast<int>(live_); }
    /// 0 <= i < entries().
    ERChainedMetaSeg2D const* getAt(int i) const;
    /// In the order of the list. The operation may change chains and pieces, but not the list.
    void applyOnMChain(void (*operation)(ERChainedMetaSeg2D*, void*), void* data);
    void applyOnSegment(void (*operation)(ERChainerSeg2D*, void*), void* data);
    void printOn(std::ostream& out) const;

private:
    using Chain = t_SmartPtr<ERChainedMetaSeg2D>;
    using Ends = ERChainedMetaSeg2D::Ends;
    struct Slot {
        Chain chain; // empty where a chain was taken out
        Ends ends;   // as after known_changes_
    };
    /// The changes that this processor and its copies made to the chains that they share.
    struct Changes {
        std::uint64_t count = 0;
        bool pieces_shared =
            false; // two chains of a list may hold a piece; reversing it affects both
    };
    class Walk;

    void join(ERChainedMetaSeg2D& taker, ERChainedMetaSeg2D& other) const;
    void append(Chain chain, const Ends& ends);
    Chain take_out(std::size_t place);
    void close_gaps() const;
    bool prepare_index(const ERChainedMetaSeg2D& carried);
    void note_ends(std::size_t place);
    template <class Operation>
    void for_chains(Operation operation) const;

    // The last slot always has a chain: after a walk takes it out, no chain is left that could
    // refuse.
    mutable std::vector<Slot> slots_;
    std::size_t live_ = 0;    // slots with a chain
    std::size_t derived_ = 0; // of those, chains of a host's own class
    double tolerance_;
    Comparison comparison_ = StandardCompare;
    mutable std::unique_ptr<velm::detail::ChainEndIndex> index_; // by the slots' places
    std::vector<std::uint32_t> near_; // the places that a walk found in the index
    std::shared_ptr<Changes> changes_;
    std::uint64_t known_changes_ = 0; // the changes that slots and index already include
};
