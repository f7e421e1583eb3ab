// ERChainedMetaSeg2D: a chain of pieces, itself a piece.
#pragma once

#include "velm/export.h"
#include "velm/frame/point_functions.h"
#include "velm/frame/smart_pointer.h"
#include "velm/planar/chainer_segment.h"

#include <cstddef>
#include <iosfwd>
#include <vector>

/// Pieces end to end, each in its own direction. A chain without pieces has both ends at the
/// origin. It is not stored.
class VELM_API ERChainedMetaSeg2D : public ERChainerSeg2D {
    VELM_DECLARE_CLASS(ERChainedMetaSeg2D)

public:
    ERChainedMetaSeg2D() = default;
    explicit ERChainedMetaSeg2D(t_SmartPtr<ERChainerSeg2D> piece) { insert(piece); }
    /// A chain of the same pieces; a move is a copy.
    ERChainedMetaSeg2D(ERChainedMetaSeg2D const& other) = default;
    ERChainedMetaSeg2D& operator=(ERChainedMetaSeg2D const& other) = default;

    int entries() const { return static_cast<int>(size()); }
    /// Appends the piece without checking that it meets the chain. An empty pointer does nothing.
    void insert(t_SmartPtr<ERChainerSeg2D> piece);
    /// Appends the pieces of the other chain, which keeps them too.
    void merge(ERChainedMetaSeg2D& other);
    /// The pieces at the ends, null for a chain without any.
    ERChainerSeg2D* firstSeg() const;
    ERChainerSeg2D* lastSeg() const;
    /// Whether the ends agree within 1e-11 in x and in y.
    int isClosed() const;
    void applyOnSegment(void (*operation)(ERChainerSeg2D*, void*), void* data);

    /// Reverses the order and each piece.
    void reverse() override;
    /// The sum of the lengths that the pieces had when they were added to this chain, in that
    /// order.
    double length() const override;
    /// Compares the whole chains, then, if they meet, the pieces at their ends: the first with the
    /// first, the first with the last, the last with the first, the last with the last. The first
    /// of these pairs that meets at just these ends decides, regardless of how the chains met; if
    /// none does, the result is SEGCOMP_APART. Refused chains are refused.
    SegCompState compareWith(ERChainerSeg2D const* other, double tol) const override;
    ERPoint2D getExt1() const override;
    ERPoint2D getExt2() const override;
    ERVector2D getTan1() const override;
    ERVector2D getTan2() const override;

    void printOn(std::ostream& out) const override;
    /// A chain of the same pieces.
    ERObject* getCopy() const override;

private:
    friend class ERChainerProcessor;

    struct Piece {
        t_SmartPtr<ERChainerSeg2D> segment;
        double length;
    };
    struct Ends {
        ERPoint2D first, last;
    };

    std::size_t size() const { return before_.size() + after_.size(); }
    const Piece& piece(std::size_t i) const {
        return i < before_.size() ? before_[before_.size() - 1 - i] : after_[i - before_.size()];
    }
    const Piece& front() const { return before_.empty() ? after_.front() : before_.back(); }
    const Piece& back() const { return after_.empty() ? before_.front() : after_.back(); }
    /// `merge` with a chain that is no longer needed and may lose its pieces.
    void take(ERChainedMetaSeg2D& other);
    bool is_shorter_than(double value) const;
    Ends ends() const { return {first(), last()}; }
    static bool meet(const Ends& ends) { return isEqual(ends.first, ends.last, equalityTolerance); }
    /// compareWith of two chains of exactly this class, not derived by a host.
    SegCompState compare_plain(const Ends& own, ERChainedMetaSeg2D const& other, const Ends& others,
                               double tol) const;
    SegCompState compare_pieces(SegCompState whole, ERChainedMetaSeg2D const& other,
                                double tol) const;

    std::vector<Piece> before_;      // the first pieces, last one first
    std::vector<Piece> after_;       // the pieces after them
    mutable double sum_ = 0.0;       // of the first `summed_` pieces, in the order of insertion
    mutable std::size_t summed_ = 0; // a reverse keeps the sum
    double rough_sum_ = 0.0;         // in any order
    bool is_open_to_change_ = false; // the pieces' lengths have to be read again
};
