// velm::detail::RootIsolation: intervals that hold a polynomial's roots.
#pragma once

#include "velm/numerics/detail/local_polynomial.h"

namespace velm::detail {

/// An interval that holds roots.
struct RootInterval {
    double lower;
    double upper;
    double guess; ///< where a lone root may be
    bool lone;    ///< exactly one simple root with certain signs at the ends; else a cluster
    bool rising;  ///< the sign at upper is positive, for a lone root
};

/// Finds where p can't be distinguished from zero: the roots of all polynomials whose coefficients
/// differ from p's by a relative `uncertainty`.
class RootIsolation {
public:
    /// The doubles that `room_for_it` must hold.
    static int room(int degree) { return ((most_depth + 1) * 3 + 2) * (degree + 1); }

    RootIsolation(LocalPolynomial& p, double uncertainty, double* room_for_it)
        : p_(p), uncertainty_(uncertainty), scratch_(room_for_it),
          room_(room_for_it + 2 * (p.degree + 1)) {}

    /// Looks for roots in [lower, upper], 0 <= lower <= upper <= 1.
    void start(double lower, double upper);
    /// The next interval that holds roots, in ascending order, valid until the next call; null
    /// after the last. Clusters that touch are given as one.
    const RootInterval* next();

private:
    enum class Content { nothing, one, unclear };
    struct Verdict {
        Content content;
        bool lower_unclear;
        bool upper_unclear;
        double guess; // of one root, from 0 to 1
    };

    void need(int pieces);
    void resolve_top();
    Verdict judge(const BernsteinPiece& piece) const;
    int sign(const BernsteinPiece& piece, int i) const;
    bool surely_unclear(const BernsteinPiece& piece, const Verdict& verdict) const;
    bool settled(const BernsteinPiece& piece, const Verdict& verdict) const;
    double middle(const BernsteinPiece& piece);
    double beside_end(const BernsteinPiece& piece, bool at_upper) const;
    bool split(double at, bool last_try);
    void report_lone(const BernsteinPiece& piece, double guess);
    void report_cluster(const BernsteinPiece& piece);
    void end_cluster();
    double smallest_root_size();

    LocalPolynomial& p_;
    double uncertainty_;
    static constexpr int most_depth = 160;
    double* scratch_;
    double* room_;
    BernsteinPiece stack_[most_depth + 1]; // the next piece is on top; two above it are work space
    int prepared_ = 0;                     // the entries of stack_ that have their arrays
    int top_ = -1;
    int pieces_made_ = 0;
    double whole_ = 0.0;     // the upper end of the whole search
    double smallest_ = -1.0; // smallest_root_size; -1 until it is computed
    RootInterval cluster_{}; // the last cluster, as long as it may grow
    bool growing_ = false;
    RootInterval found_[2]{}; // to be given by next()
    int handed_out_ = 0;
    int count_ = 0;
};

} // namespace velm::detail
