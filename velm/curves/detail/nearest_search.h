// velm::detail::NearestSearch: one search for the nearest point of a prepared curve.
#pragma once

#include "velm/curves/detail/bernstein_signs.h"
#include "velm/curves/detail/prepared_pieces.h"

namespace velm::detail {

/// The certificate's accuracy: this part of the size and this part of the distance.
inline constexpr double certified_size_part = 0x1p-43;
inline constexpr double certified_distance_part = 0x1p-49;

/// Visits the boxes nearest first and leaves out those that are no nearer than what is found. On a
/// piece the foot polynomial's signs show where the distance can have a minimum. Where a sign is
/// uncertain, a bound of the polynomial bounds how much nearer the curve may come; if that is too
/// much for the certificate, the piece is halved.
template <int N>
class NearestSearch {
public:
    using Point = typename DimensionOf<N>::Point;

    NearestSearch(const PreparedPieces<N>& tables, const Point& p, int budget)
        : tables_(tables), p_(local<N>(p)), budget_(budget) {}

    NearestPoint<N> run(const CurvePlace* hint);

private:
    /// A part of a piece: the squared distances at its ends are known.
    struct Part {
        double low, high;
        double at_low, at_high;
        double* coefficients;
    };

    void tree();
    void piece(int index);
    /// Returns false if the part has to be halved.
    bool decide(const Part& part, bool at_limit);
    /// Whether the poles of a part show that it comes no nearer than what is found.
    bool too_far(const Part& part);
    void halve_piece(double* g);
    void offer(double squared, double u);
    /// The part's squared distance, less a `loss`, is at least `squared`.
    bool accept(double squared, double loss, bool at_limit);
    double squared_at(double u) const;

    const PreparedPieces<N>& tables_;
    const Local<N> p_;
    int budget_;
    bool spent_ = false;

    double best_ = std::numeric_limits<double>::infinity(); ///< squared
    int best_piece_ = 0;
    double best_u_ = 0.0;
    bool best_flat_ = false;
    double lower_ = std::numeric_limits<double>::infinity(); ///< squared, of the pieces visited
    int done_ = -1;                                          ///< the hint's piece

    // The piece that is looked at.
    const Piece<N>* piece_ = nullptr;
    int index_ = 0;
    Local<N> from_origin_{};
    double error_ = 0.0;
    int count_ = 0;
    bool flat_ = false;
};

extern template class NearestSearch<2>;
extern template class NearestSearch<3>;

} // namespace velm::detail
