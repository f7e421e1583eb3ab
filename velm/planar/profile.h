// Profile: an outline prepared for measured points; OutlinePlace, OutlineComparison.
//
//     const velm::Profile profile(outline); // whose areas are settled (outline_nesting.h)
//     if (!profile.is_comparable(p)) return;
//     const velm::OutlineComparison found = profile.compare(p);
//     // found.distance: positive outside the material; found.foot, found.contour, found.edge
//
// A profile is immutable: any number of threads may ask it at the same time. A question takes about
// the time of the nearest edge and of one look into the region's raster.
#pragma once

#include "velm/export.h"
#include "velm/planar/contour.h"
#include "velm/planar/edge_tree.h"
#include "velm/planar/region.h"

#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace velm {

/// Where a point lies: inside the material, outside of it, or on the outline. The numbers are
/// part of object files and archives: they never change.
enum class OutlinePlace {
    inside = 0,
    outside = 1,
    on_edge = 2,
    on_vertex = 3,
    unassigned = 4, ///< nowhere: no place of the outline belongs to the point
};
inline constexpr int place_count = 5;

/// "inside", "outside", "on_edge", "on_vertex" and "unassigned", by number.
VELM_API std::span<const std::string_view> choice_names(OutlinePlace);
inline std::string_view name_of_place(OutlinePlace place) {
    return choice_names(place)[static_cast<std::size_t>(place)];
}

/// A measured point against the profile, in model units.
struct OutlineComparison {
    ERPoint2D foot;         ///< the point of the nearest edge at its clamped parameter
    int contour = 0;        ///< the one that holds the foot
    int edge = 0;           ///< from its vertex `edge` to the next
    double parameter = 0.0; ///< of the foot on the edge, from 0 to 1; in equal lengths, but on a
                            ///< curve of its parameter
    double distance = 0.0;  ///< from the foot to the point, positive outside the material
    ERVector2D outward;     ///< unit vector away from the material at the foot, through the point;
                            ///< the edge's where the point lies within roundings of it
    OutlinePlace place =
        OutlinePlace::outside; ///< never against the sign of the distance, see `Profile`
};

/// The material of an outline, whose contours may be turned either way.
///
/// The sign of a distance is by the regions of the areas' straight contours, whose raster answers
/// for most places and `Inside` for the others, and by the crossings of a ray with the lines,
/// arcs and curves themselves for a contour with arcs or curves. Where a region says edge or
/// vertex, or p is nearer to an edge than the rounding of a crossing, it is by the side of the
/// nearest edge, at a corner of its two edges: inside a convex corner is what lies inside of both,
/// inside a concave one what lies inside of either.
///
/// The place follows from the distance: within 1e-15 times the largest coordinate of the contour,
/// which are some ten roundings, the point is on the outline, on a vertex where one is as near;
/// everywhere else it is inside where the distance is negative, outside where it is positive. The
/// tolerance of a region's edges, which grows as they get short, plays no part in it. A circle has
/// no vertex.
///
/// Coordinates beyond about 1e11, or all below 1e-100, are scaled by a power of two, which is
/// exact, so that neither `Inside` nor a square leaves its range.
class VELM_API Profile {
public:
    /// Of an outline whose areas are settled.
    explicit Profile(const Outline& outline);

    /// Whether the distance of `p` can be computed; false some 1e150 times the size away.
    bool is_comparable(const ERPoint2D& p) const;
    OutlineComparison compare(const ERPoint2D& p) const;
    /// The same with the nearest place whose outward normal has at least this cosine with a
    /// direction, given as its part in the plane; none where no normal has. Inside and outside, and
    /// so the sign, are those of the wall at that place alone: what is beyond the other wall of a
    /// thin sheet is still inside of this one.
    std::optional<OutlineComparison> compare(const ERPoint2D& p, const ERVector2D& direction,
                                             double least_cosine) const;

private:
    enum class Side { material, outside, border };
    struct Part {
        EdgeTree edges;        // scaled
        bool material_on_left; // along the contour
        double rounding;       // so near p lies on the outline
        double border;         // so near p says neither side nor direction by itself
    };
    struct Material {
        ERRegion2D straight;     // of the straight contours, scaled
        std::vector<int> curved; // the contours with arcs or curves
        int outer;
    };
    Side locate(const ERPoint2D& p, const NearestEdge& nearest) const;
    Side locate(const ERPoint2D& p, const NearestEdge& nearest, const Material& area) const;
    OutlinePlace place_of(const ERPoint2D& p, const NearestEdge& nearest, double distance,
                          bool outside) const;
    bool lies_outside_of_edge(const ERPoint2D& p, const NearestEdge& nearest) const;
    OutlineComparison comparison(const ERPoint2D& p, const NearestEdge& nearest,
                                 bool outside) const;
    ERVector2D edge_outward(const NearestEdge& nearest) const;
    const Part& part(int contour) const { return parts_[static_cast<std::size_t>(contour)]; }

    std::vector<Part> parts_; // one a contour
    std::deque<Material> areas_;
    double scale_ = 1.0; // a power of two
};

} // namespace velm
