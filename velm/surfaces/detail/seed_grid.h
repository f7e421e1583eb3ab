// velm::detail::SeedGrid: points of a surface at even steps, for the start of a projection.
#pragma once

#include "velm/frame/point.h"
#include "velm/numerics/matrix.h"
#include "velm/surfaces/any_bounded_surface.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace velm::detail {

/// The points of getMatricePoint(n, m) without the grid that the surface keeps for it. REQUIRES n
/// and m of at least 2.
VELM_API ERMatrix<ERPoint3D> points_at_even_steps(const ERAnyBoundedSurface& surface, int n, int m);

/// The number of grid points along a direction: four per degree and span, but 10 to 80.
VELM_API int seed_count(int degree, int poles);
inline constexpr int most_seeds = 80;

/// The inner points of such a grid in blocks of 8 x 8 with boxes. nearest() gives what comparing
/// all points one by one gives, bit for bit: a coordinate's distance from a box never exceeds that
/// from a point in it, in exact arithmetic nor rounded, since rounding is monotone.
class VELM_API SeedGrid {
public:
    /// REQUIRES 3 to most_seeds points in each direction.
    SeedGrid(const ERAnyBoundedSurface& surface, int nu, int nv);

    struct Node {
        int i, j;       ///< along U and V
        double squared; ///< its squared distance
    };
    /// The first in the order i, j among the nearest inner points; none if no distance is a number
    /// below the largest double.
    std::optional<Node> nearest(const ERPoint3D& p) const;

    /// The start that a node gives: its parameter, or that of a place around it that is nearer to
    /// the last inner point than the node is to p. REQUIRES the surface of the constructor.
    ERPoint2D start(const ERAnyBoundedSurface& surface, const Node& node);

private:
    static constexpr int side = 8, block_size = side * side;
    static constexpr int around = 10; ///< places before a node, and as many from it on, a direction

    /// The first of the places around a node that is nearest to the last inner point.
    struct Nearest {
        double squared = std::numeric_limits<double>::infinity();
        int position = -1; ///< -1: not looked for yet
    };

    void fill_blocks(const ERMatrix<ERPoint3D>& grid);
    void scan(std::size_t block, const ERPoint3D& p, Node& best) const;
    ERPoint2D parameter(double s, double t) const;
    ERPoint2D place(const Node& node, int position) const;
    const Nearest& nearest_around(const ERAnyBoundedSurface& surface, const Node& node);

    void bound_from_spans(const ERAnyBoundedSurface& surface);
    double least_around(const Node& node) const;

    int nu_, nv_;
    ERLimites limits_u_, limits_v_;
    int blocks_v_; ///< the number of blocks along V
    ERPoint3D last_;
    std::vector<double> x_, y_, z_;        ///< block by block, i outer, NaN where the grid ends
    std::vector<double> low_[3], high_[3]; ///< of the blocks
    std::vector<Nearest> around_;          ///< of the nodes, once one is asked for

    // Lower bounds of the squared distance of the last inner point from the spans of a NURBS
    // surface, and the spans that the places around a node reach; empty if there is no bound.
    struct Reach {
        int first, last;
    };
    std::vector<double> span_bounds_;
    std::vector<Reach> reach_u_, reach_v_;
    int spans_v_ = 0;
};

} // namespace velm::detail
