// ERChainerProcessor: links pieces of the plane to chains.
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
/// tolerance, see `ERChainerSeg2D::compareWith` for how ends meet. The result depends on the order
/// of insertion where more than two ends meet in a place.
///
/// The chains that a piece may meet are found by the places of their ends, so pieces and chains
/// must not change once they are in, but by the operations here. A piece is for one chain.
///
/// Time goes with the number of pieces, with that of the ends in one place, and with that of the
/// pieces that are turned round: where both ends that meet are last ones or first ones, all of the
/// chain under way is, however long it has become.
class VELM_API ERChainerProcessor {
public:
    using Comparison = SegCompState (*)(ERChainedMetaSeg2D const&, ERChainedMetaSeg2D const&,
                                        double);
    static constexpr double default_tolerance = 0.001;

    explicit ERChainerProcessor(double tolerance = default_tolerance);
    /// A copy holds the same chains, not copies of them: what one of the two links to a chain the
    /// other sees as well. Where one of them puts pieces of a chain that both hold into another
    /// chain, both go through all chains from then on.
    ERChainerProcessor(ERChainerProcessor const& other);
    ERChainerProcessor& operator=(ERChainerProcessor const& other);
    ~ERChainerProcessor();

    /// `a.compareWith(&b, tol)`.
    static SegCompState StandardCompare(ERChainedMetaSeg2D const& a, ERChainedMetaSeg2D const& b,
                                        double tol);
    /// How an existing chain (a) meets a new one (b). With another comparison than the standard one
    /// every chain is compared.
    void setComparison(Comparison comparison);

    /// Takes a piece as a new chain.
    int insert(t_SmartPtr<ERChainerSeg2D> piece);
    /// 1 if the chain is taken in, 0 if it is refused: shorter than the tolerance, or with both
    /// ends at the same end of another one; what it was linked to before stays linked, but is lost
    /// with it. The chain grows by those that it meets, in the order of the list, or they by it,
    /// and what comes of it stands at the list's end.
    ///
    /// A closed chain is appended as it is, and none is linked to it later; a piece without length
    /// counts as closed, intended.
    int insert(t_SmartPtr<ERChainedMetaSeg2D> chain);

    int entries() const { return static_cast<int>(live); }
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
        Ends ends;   // as of the known changes
    };
    /// What this processor and its copies have done to the chains that they share.
    struct Changes {
        std::uint64_t count = 0;
        bool pieces_shared = false; // two chains of a list may hold a piece, that turns for both
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

    // The last one has a chain: once a walk takes it out, nothing is left that could refuse.
    mutable std::vector<Slot> slots;
    std::size_t live = 0;    // slots with a chain
    std::size_t derived = 0; // of those, chains of a host's own class
    double tolerance;
    Comparison comparison = StandardCompare;
    mutable std::unique_ptr<velm::detail::ChainEndIndex> index; // by the slots' places
    std::vector<std::uint32_t> near;                            // what a walk has found there
    std::shared_ptr<Changes> changes;
    std::uint64_t known_changes = 0; // of which the slots and the index know
};
