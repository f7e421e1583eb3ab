// velm::detail::PairSearch: where a piece of one plane curve meets a piece of another.
#pragma once

#include "velm/curves/detail/graph_intersection.h"
#include "velm/curves/detail/intersection_parts.h"
#include "velm/curves/detail/piece_links.h"
#include "velm/curves/intersections.h"

#include <optional>
#include <vector>

namespace velm::detail {

/// A rectangle of both parameters outside of which the curves are certainly apart, near it.
struct Meeting {
    PiecePart a, b;
    double u = 0.0, v = 0.0;                               ///< the best place in it
    double left = 0.0, right = 0.0, low = 0.0, high = 0.0; ///< holds the places in the plane
    int before = 0, after = 0; ///< the sides of b on which a is; 0: not known
    int order = 0;
    double sine = 0.0; ///< a bound of the sine of the angle, if the tangents differ
    bool same_direction = true;
    bool flat = false; ///< the curves agree on a whole part
    bool unresolved = false;
};

/// Halves and clips both parts until they are proved to be apart, or to meet once at an angle
/// (Newton's method finds the place, the angle bounds it), or are so nearly parallel that the signs
/// of GraphIntersection show all, or are points.
class PairSearch {
    struct Task {
        double a_low, a_high, b_low, b_high;
    };

public:
    /// Lists that one search leaves to the next, so that it allocates nothing.
    struct Room {
        std::vector<Meeting> meetings; ///< what is found
        std::vector<Task> tasks;
        std::vector<PiecePart> parts;
        std::vector<GraphZone> zones;
    };

    PairSearch(const PreparedPieces<2>& a, const PreparedPieces<2>& b, double tolerance, Room& room)
        : tables_a_(a), tables_b_(b), tolerance_(tolerance), meetings_(room.meetings),
          tasks_(room.tasks), parts_(room.parts), zones_(room.zones) {
        meetings_.clear();
    }

    /// Appends the meetings of the parts of two pieces. Takes from the budget; what is left when
    /// it ends is appended as unresolved.
    void run(const PiecePart& a, const PiecePart& b, int& budget);
    /// Of the parts of one piece of `a` with each other.
    void run_self(const PiecePart& part, int& budget);
    /// Finds the order and the best place of a contact that may have been cut into parts, from as
    /// much of the curves around it as one polynomial can describe.
    bool settle(Meeting& meeting);

private:
    /// Which of the parts is taken as a graph.
    struct GraphRoles {
        const CurvePart &graph, &other, &whole_other;
        bool swapped; ///< b is the graph
    };

    void set_pair(int a, int b);
    void refine(Task task, int& budget);
    bool meet_at_angle(const Transversality& known);
    bool meet_as_graphs();
    std::optional<GraphRoles> graph_roles() const;
    bool leads_on(const GraphIntersection& graph, const GraphRoles& roles);
    bool settle_zone(const GraphIntersection& graph, std::size_t number);
    Meeting meeting_of_zone(const GraphIntersection& graph, const GraphRoles& roles,
                            const GraphZone& zone, const Task& task) const;
    void meet_as_points();
    Meeting meeting() const;

    const PreparedPieces<2>& tables_a_;
    const PreparedPieces<2>& tables_b_;
    double tolerance_;
    std::vector<Meeting>& meetings_;

    int piece_a_ = -1, piece_b_ = -1;
    PlaneVector origin_{};
    MeetingLimits limits_{0.0, 0.0};
    CurvePart whole_a_, whole_b_, a_, b_, zone_;
    std::vector<Task>& tasks_;
    std::vector<PiecePart>& parts_; // that may meet themselves
    std::vector<GraphZone>& zones_;
};

} // namespace velm::detail
