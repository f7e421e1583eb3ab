// velm::detail::LeafSearch: one search for the nearest point among the leaves of surfaces.
#pragma once

#include "velm/surfaces/detail/leaf_polynomial.h"
#include "velm/surfaces/detail/surface_leaves.h"

#include <algorithm>
#include <cmath>

namespace velm::detail {

/// A place on a leaf, local: the point less the query, and its squared length.
struct LeafPlace {
    int leaf = -1;
    double s = 0.0, t = 0.0;
    double from_query[3] = {};
    double squared = HUGE_VAL;
};

/// The certificate's accuracy: this part of the size and this part of the distance.
inline constexpr double foot_size_part = 0x1p-43;
inline constexpr double foot_distance_part = 0x1p-49;

/// On each leaf that a search offers, the nearest point is found by Newton's method in the square
/// of the parameters, its steps being exact minima of the quadratic model there. The leaf is done
/// when the second derivatives, by the bounds kept with it, show the squared distance to be convex
/// or the model's lower bound shows it too far; else it is halved. Parts are left out by the
/// quadratic part of |X - w q|^2 - b w^2 about their middles and the size of the rest, b being
/// the square of a distance that is less than the best one by half the certificate's accuracy.
class LeafSearch {
public:
    /// q is local.
    LeafSearch(const double* q, double size, int budget) : size_(size), budget_(budget) {
        std::copy_n(q, 3, q_);
    }

    /// A first upper bound: only points nearer than this are looked for.
    void limit(double squared) { best_.squared = std::min(best_.squared, squared); }

    /// Looks at one leaf. `number` is what `best().leaf` becomes.
    void leaf(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number);
    /// The same from a place.
    void leaf_from(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number, double s,
                   double t);

    /// No other place is nearer than this, squared.
    void left_out(double squared) { lower_ = std::min(lower_, squared); }

    const double* query() const { return q_; }
    /// The best place found; its squared distance is the bound of what is worth a look.
    const LeafPlace& best() const { return best_; }
    /// Squared: nothing on the leaves that were offered is nearer.
    double lower() const { return std::min(lower_, best_.squared); }
    bool spent() const { return budget_ < 0; }
    double allowed(double distance) const {
        return foot_size_part * size_ + foot_distance_part * distance;
    }

    /// What Newton's method works on: X - w (centre + e) = R - w e.
    struct View {
        const double* coefs;
        int p, q;
        bool rational;
        double e[3];
        double turn[2], turn_by_b[2]; ///< of the form's diagonal: constant, and by |b - b_turn|
        double b_turn;
        double least_weight;
        // The place of the part in its leaf: s = middle + half x.
        double middle[2], half[2];
    };

private:
    View view_of(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf) const;
    /// The square of a distance that is less than the best one by half the accuracy.
    double wanted_square() const {
        const double distance = std::sqrt(best_.squared);
        const double wanted = std::max(0.0, distance - 0.5 * allowed(distance));
        return wanted * wanted;
    }
    void look_at(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number);
    bool newton(const View& view, int number, double x, double y);
    /// look(), and what it leaves out less the error of the leaf.
    template <class Look>
    void with_error(const SurfaceLeaf& leaf, Look look) {
        if (leaf.error == 0.0) return look();
        const double before = lower_;
        lower_ = HUGE_VAL;
        look();
        const double own = std::max(0.0, std::sqrt(lower()) - leaf.error);
        lower_ = std::min(before, own * own);
    }
    void offer(const LeafPlace& place) {
        const bool better =
            place.squared < best_.squared ||
            (place.squared == best_.squared && best_.leaf >= 0 && place.leaf < best_.leaf);
        if (better) best_ = place;
    }
    void halve(const SurfaceLeaf& leaf, const View& whole, int number);

    double q_[3];
    double size_;
    int budget_;
    LeafPlace best_;
    double lower_ = HUGE_VAL;
};

} // namespace velm::detail
