// velm::detail::MeetingMerger: makes one entry of all the rectangles in which a search has found
// parts of one meeting.
#pragma once

#include "velm/curves/detail/pair_search.h"
#include "velm/curves/detail/stretch_ends.h"

#include <span>
#include <vector>

namespace velm::detail {

class MeetingMerger {
    struct Cluster {
        Stretch a, b;
        Stretch flat_a, flat_b; ///< of the parts in common
        CurveIntersection entry;
        bool is_flat = false, on_diagonal = false, sides_known = false;
    };
    struct Link {
        int from, to;
        int turn_a, turn_b; ///< 1 if the curve passes its seam on the way
    };

public:
    /// Lists that one use leaves to the next, so that it allocates nothing.
    struct Room {
        std::vector<Link> links;
        std::vector<int> order, first_link, members, cluster_of;
        std::vector<int> turns_a, turns_b;
        std::vector<Cluster> clusters;
        StretchEnds ends_a, ends_b; ///< of the clusters away from the diagonal
    };

    /// Of one curve with itself if both are the same object.
    MeetingMerger(const PreparedPieces<2>& a, const PreparedPieces<2>& b, PairSearch& search,
                  Room& room)
        : a_(a), b_(b), search_(search), links_(room.links), order_(room.order),
          first_link_(room.first_link), members_(room.members), cluster_of_(room.cluster_of),
          turns_a_(room.turns_a), turns_b_(room.turns_b), clusters_(room.clusters),
          ends_a_(room.ends_a), ends_b_(room.ends_b) {}

    void merge(std::vector<Meeting>& meetings, std::vector<CurveIntersection>& found);

private:
    /// What the rectangles of a cluster have in common.
    struct Summary {
        const Meeting* best = nullptr; ///< the narrowest of those with the highest order
        int flat_direction = 0;        ///< above 0 if more flat parts run alike than opposite
        bool all_at_angle = true;
        bool sides_agree = true;
        bool inside = true; ///< of pieces of both curves
    };

    bool of_itself() const { return &a_ == &b_; }
    void turn_at_seam(std::vector<Meeting>& meetings);
    void link(const std::vector<Meeting>& meetings);
    void link_pair(const std::vector<Meeting>& meetings, int i, int k);
    void gather(std::vector<Meeting>& meetings, int first);
    void complete(const std::vector<Meeting>& meetings, std::span<const int> members,
                  Cluster& cluster);
    void include_stretches(const Meeting& meeting, double start_a, double start_b,
                           Cluster& cluster) const;
    void include_facts(const Meeting& meeting, Cluster& cluster, Summary& summary) const;
    void settle(const std::vector<Meeting>& meetings, std::span<const int> members,
                Cluster& cluster, Meeting& best);
    bool turns_back(const Cluster& cluster) const;
    double reaching_step(const PreparedPieces<2>& curve, double along, double sense,
                         double reach) const;
    void find_sides();
    void set_sides(std::size_t index);
    double room(std::size_t index, bool on_a, bool forward, double step) const;
    void look_beside(std::size_t index, bool walk_a, int& before, int& after) const;
    void settle_overlap(Cluster& cluster) const;
    CurveIntersection entry_of(Cluster& cluster) const;

    const PreparedPieces<2>& a_;
    const PreparedPieces<2>& b_;
    PairSearch& search_;
    std::vector<Link>& links_;
    std::vector<int>&order_, &first_link_, &members_, &cluster_of_;
    std::vector<int>&turns_a_, &turns_b_;
    std::vector<Cluster>& clusters_;
    StretchEnds &ends_a_, &ends_b_;
};

} // namespace velm::detail
