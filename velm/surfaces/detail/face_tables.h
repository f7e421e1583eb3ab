// velm::detail::FaceTables: what a prepared face consists of.
#pragma once

#include "velm/planar/edge_tree.h"
#include "velm/surfaces/prepared_face.h"

#include <vector>

namespace velm::detail {

/// A loop, with ordinates scaled. Its edges are lines and curves.
struct FaceLoop {
    EdgeTree tree;
    ERMinimax2D box;
    bool hole = false;
    bool limits = false;
    std::vector<double> bridges; ///< by edge the length of a bridge, below 0 for another edge
    double longest_bridge = 0.0;
};

struct FaceTables {
    explicit FaceTables(PreparedSurface prepared) : surface(std::move(prepared)) {}

    PreparedSurface surface;
    std::vector<FaceLoop> loops;
    std::vector<TrimGap> gaps;
    double v_scale = 1.0;
    double tolerance = 0.0;
    double overlap = 0.0;

    static PreparedFace face(std::shared_ptr<const FaceTables> tables) {
        return PreparedFace(std::move(tables));
    }
    static const FaceTables& of(const PreparedFace& face) { return *face.tables_; }
    ERPoint2D scaled(const ERPoint2D& p) const { return {p.x(), p.y() * v_scale}; }
    ERPoint2D unscaled(const ERPoint2D& p) const { return {p.x(), p.y() / v_scale}; }
};

/// Whether a piece of the curve has a box that meets the given one.
bool comes_near(const PreparedCurve<2>& curve, const ERMinimax2D& box);

} // namespace velm::detail
