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
///
/// Where a trim crosses a leaf, only places inside it count, and the trim itself has to be searched
/// beside the leaves. A part where the squared distance is convex is then done as well if its
/// nearest place is outside: from any place inside, the way there is straight in the parameters,
/// meets the trim, and the squared distance is nowhere on it above that at its ends. So the trim
/// has a place as near, except for what the nearest place was missed by; `lower` is below by that.
/// A part is done too where one direction leads downhill from everywhere in it: then no minimum
/// inside the trim is there, except on sides that are limits or creases, across which the distance
/// is not smooth; those are searched beside the leaves as well.
class LeafSearch {
public:
    /// q is local.
    LeafSearch(const double* q, double size, int budget) : size_(size), budget_(budget) {
        std::copy_n(q, 3, q_);
    }

    /// A first upper bound: only points nearer than this are looked for.
    void limit(double squared) { best_.squared = std::min(best_.squared, squared); }

    void limit_budget(int budget) { budget_ = std::min(budget_, budget); }

    /// Looks at one leaf. `number` is what `best().leaf` becomes; `trim` is that of the leaves.
    void leaf(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number,
              const LeafTrim* trim = nullptr);
    /// The same from a place.
    void leaf_from(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number, double s,
                   double t, const LeafTrim* trim = nullptr);

    /// A place that was found elsewhere.
    void offer(const LeafPlace& place) {
        const bool better =
            place.squared < best_.squared ||
            (place.squared == best_.squared && best_.leaf >= 0 && place.leaf < best_.leaf);
        if (better) best_ = place;
    }
    /// The square of a distance that is less than the best one by half the accuracy: what has no
    /// place nearer than that can be left out.
    double wanted_square() const {
        const double distance = std::sqrt(best_.squared);
        const double wanted = std::max(0.0, distance - 0.5 * allowed(distance));
        return wanted * wanted;
    }
    /// Takes one halving from the budget; returns whether there was one.
    bool halving() {
        halved_ = true;
        return --budget_ >= 0;
    }
    /// Whether a leaf or piece was not shown to have one minimum at most, so that it may have more
    /// than the best place.
    bool halved() const { return halved_; }

    /// The nearest place of a part where the squared distance is convex, at this distance, to
    /// within `loss` of its square and off the surface by `error`, is outside of the trim.
    void missed(double distance, double loss, double error) {
        const bool is_small = loss <= 0.5 * allowed(distance) * distance;
        (is_small ? missed_ : missed_nearby_) = std::max(is_small ? missed_ : missed_nearby_, loss);
        missed_error_ = std::max(missed_error_, error);
    }
    /// No other place is nearer than this, squared.
    void left_out(double squared) { lower_ = std::min(lower_, squared); }

    const double* query() const { return q_; }
    /// The best place found; its squared distance is the bound of what is worth a look.
    const LeafPlace& best() const { return best_; }
    /// Squared: nothing on the leaves that were offered is nearer.
    /// Of parts whose nearest place was missed, those where it is further away than the best one
    /// hold nothing nearer than that less their loss; of the others the loss is small beside the
    /// best distance too.
    double lower() const {
        const double distance = std::sqrt(best_.squared);
        const double loss =
            std::max(std::min(missed_, 0.5 * allowed(distance) * distance), missed_nearby_);
        const double shown = std::min(lower_, border_lower_);
        if (loss == 0.0) return std::min(shown, best_.squared);
        const double least = std::sqrt(std::max(0.0, best_.squared - loss)) - missed_error_;
        return std::min(shown, least > 0.0 ? least * least : 0.0);
    }
    bool spent() const { return budget_ < 0; }
    int budget_left() const { return budget_; }
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
    void look_at(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, int number);
    bool newton(const View& view, int number, double x, double y);
    /// look(), and what it leaves out less the error of the leaf.
    template <class Look>
    void with_error(const SurfaceLeaf& leaf, Look look) {
        if (leaf.error == 0.0) return look();
        const double before = lower_;
        lower_ = HUGE_VAL;
        look();
        const double least = std::sqrt(std::max(0.0, std::min(lower_, best_.squared)));
        const double own = std::max(0.0, least - leaf.error);
        lower_ = std::min(before, own * own);
    }
    void offer_if_inside(const LeafPlace& place) {
        if (place.squared > best_.squared) return;
        if (trim_ == nullptr || inside(place)) offer(place);
    }
    bool inside(const LeafPlace& place) const;
    bool misses_trim(const double* low, const double* high) const;
    void set_trim(const SurfaceLeaves& leaves, const SurfaceLeaf& leaf, const LeafTrim* trim) {
        leaves_ = &leaves;
        leaf_ = &leaf;
        trim_ = leaf.in_trim == InTrim::crossing ? trim : nullptr;
    }
    void halve(const SurfaceLeaf& leaf, const View& whole, int number);

    double q_[3];
    double size_;
    int budget_;
    LeafPlace best_;
    double lower_ = HUGE_VAL, border_lower_ = HUGE_VAL;
    bool halved_ = false;
    // By nearest places outside of the trim: losses of squares, and errors.
    double missed_ = 0.0, missed_nearby_ = 0.0, missed_error_ = 0.0;
    // Of the leaf at hand; no trim unless it crosses the leaf.
    const SurfaceLeaves* leaves_ = nullptr;
    const SurfaceLeaf* leaf_ = nullptr;
    const LeafTrim* trim_ = nullptr;
};

} // namespace velm::detail
