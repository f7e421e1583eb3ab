// velm::detail::LiftedLoop: a loop of a face as a closed curve in space.
//
// A place on it is one number: that of an edge of the loop plus the part of the way along it. It
// goes from 0 to edges(); beyond that a second round begins.
#pragma once

#include "velm/surfaces/detail/face_metric.h"

#include <vector>

namespace velm::detail {

struct LoopVertex {
    double place = 0.0;
    ERPoint2D at; ///< the parameter on the surface
    ERPoint3D point;
    double way = 0.0; ///< the length in space of the sides before it
};

struct LoopFoot {
    double place = 0.0;
    ERPoint3D point;
    double distance = HUGE_VAL;
};

class LiftedLoop {
public:
    /// `metric` stays where it is. Each part of the loop in space is within `error` of the side
    /// between its two neighbouring vertices, and of the trim in the parameters what half of that
    /// is at the greatest speed.
    LiftedLoop(FaceMetric& metric, int loop, double error);

    FaceMetric& metric() const { return metric_; }
    int edges() const { return edges_; }
    /// From the place 0 to that of edges(), which has the first one's point.
    const std::vector<LoopVertex>& vertices() const { return vertices_; }
    double length() const { return vertices_.back().way; }
    /// Places, in order, in [0, edges()), where the loop crosses a break or has an end of an edge
    /// on one.
    const std::vector<double>& on_breaks() const { return on_breaks_; }
    /// Whether the face is to the left of the loop in the parameters.
    bool face_is_left() const;

    double in_first_round(double place) const;
    ERPoint2D parameter(double place) const;
    ERPoint3D point(double place) const;
    /// The length of the sides between two places of one round, high after low by at most one.
    double length_between(double low, double high) const;
    /// The place that is this far along the sides after another one, or before it.
    double place_at_way(double place, double way) const;

    /// The nearest place between two, found among the sides and then polished on the surface:
    /// where the sides are no nearer to the loop than it is to itself, another one may be nearer.
    LoopFoot nearest(const ERPoint3D& p, double low, double high) const;

    /// How far the trim between two places is from its chord in the parameters, as the length at
    /// the greatest speed, at most.
    double trim_deviation(double low, double high) const;
    /// How far the loop is from its chord in space, at most; no break between.
    double deviation(double low, double high) const;

    /// Calls visit(place, vertex) for the vertices strictly between two places, in order.
    template <class Visit>
    void between(double low, double high, Visit visit) const {
        const double round = edges_;
        double shift = std::floor(low / round) * round;
        for (std::size_t i = first_after(low - shift); shift < high; shift += round, i = 1)
            for (; i < vertices_.size(); ++i) {
                if (vertices_[i].place + shift >= high) return;
                visit(vertices_[i].place + shift, vertices_[i]);
            }
    }

private:
    std::size_t first_after(double place) const;
    double way_at(double place) const;
    void add(double place);
    void add_edge(int edge, double error);
    void find_breaks(int edge, const std::vector<double>& lines, int axis);

    FaceMetric& metric_;
    int loop_;
    int edges_;
    double trim_error_; ///< a length
    std::vector<LoopVertex> vertices_;
    std::vector<double> on_breaks_;
};

} // namespace velm::detail
