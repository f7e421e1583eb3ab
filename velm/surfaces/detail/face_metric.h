// velm::detail::FaceMetric: what the meshes of a face need to know about its surface: how fast it
// is, how much it bends over a rectangle, and where it breaks.
#pragma once

#include "velm/surfaces/detail/surface_flatness.h"
#include "velm/surfaces/prepared_face.h"

#include <vector>

namespace velm::detail {

/// Keeps the face's tables. Bends are computed when asked for and kept: one thread at a time.
class FaceMetric {
public:
    explicit FaceMetric(const PreparedFace& face);

    const PreparedFace& face() const { return face_; }
    const PreparedSurface& surface() const { return face_.surface(); }
    /// The surface's, without the slivers that rounding has put beside breaks.
    const ERLimites& domain_u() const { return u_; }
    const ERLimites& domain_v() const { return v_; }
    /// See velm::breaks_u and breaks_v.
    const std::vector<double>& lines_u() const { return breaks_u_; }
    const std::vector<double>& lines_v() const { return breaks_v_; }
    /// The limits and the breaks, in order.
    static std::vector<double> ends_of(const ERLimites& domain, const std::vector<double>& breaks);

    /// The plane of the triangulation, in which both directions bend about alike.
    ERPoint2D plane(const ERPoint2D& at) const { return {at.x() * scale_u_, at.y() * scale_v_}; }
    ERPoint2D parameter(const ERPoint2D& p) const { return {p.x() / scale_u_, p.y() / scale_v_}; }

    /// No way in the parameters, ordinates times v_scale, becomes longer by more than this factor.
    double speed() const { return speed_u_ + speed_v_ / face_.v_scale(); }

    /// The bends over a rectangle, cut to the domain; no break is strictly inside of it.
    Flatness bends_over(const ERMinimax2D& box);
    /// How far the surface over a side may be from its chord: where that needs no more than a few
    /// cells of a grid, by theirs, which are kept.
    double deviation(const ERPoint2D& a, const ERPoint2D& b);
    SurfaceFlatness& flatness() { return flatness_; }

    /// The parameter, put on a limit or break where it is off by rounding: else a trim along that
    /// line would cross it, and itself, again and again.
    ERPoint2D on_lines(const ERPoint2D& at) const {
        return {on_line(at.x(), u_, breaks_u_), on_line(at.y(), v_, breaks_v_)};
    }

    /// Of parameters, as a part of the domain: files have ten digits.
    static constexpr double rounding = 1e-9;

private:
    /// A part between breaks, and the bends over cells of it.
    struct Region {
        ERLimites u, v;
        std::vector<Flatness> cells; ///< below 0 where they weren't asked for yet
    };
    Region& region_of(const ERPoint2D& middle);
    static double on_line(double t, const ERLimites& domain, const std::vector<double>& breaks);
    void measure();

    PreparedFace face_;
    SurfaceFlatness flatness_;
    ERLimites u_, v_;
    std::vector<double> breaks_u_, breaks_v_;
    double speed_u_ = 0.0, speed_v_ = 0.0;
    double scale_u_ = 1.0, scale_v_ = 1.0;
    std::vector<double> ends_u_, ends_v_;
    std::vector<Region> regions_;
};

} // namespace velm::detail
