// velm::detail::StationaryFeet: all places of a surface where the distance of a point is stationary
// or has a minimum, into a caller's list.
#pragma once

#include "velm/surfaces/detail/leaf_feet.h"
#include "velm/surfaces/detail/projector_tables.h"
#include "velm/surfaces/detail/sharp_lines.h"
#include "velm/surfaces/detail/sided_jet.h"

#include <vector>

namespace velm::detail {

class StationaryFeet {
public:
    StationaryFeet(const ProjectorTables& tables, const ERPoint3D& p,
                   std::vector<SurfaceFoot>& feet);

    /// Everywhere where the offset is along the normal.
    void perpendicular();
    /// The minima no further than a distance: interior, on sharp lines and where they end or meet.
    void minima(double distance);

private:
    void feet_on(int number);
    void on_analytic(bool limits);
    bool is_minimum_on_limit(const AnalyticPlace& place) const;
    void on_line(const SharpLine& line);
    void at_meeting(const SharpLine& u_line, const SharpLine& v_line);
    void at_point(const SharpLine& line);
    /// Whether the distance rises from a place, or is level and doesn't bend down: across on the
    /// sides of one line, along u or v, along a tangent.
    bool rises(const SharpLine& line, double t) const;
    bool rises(const Jet& jet, bool along_u, double sign) const;
    bool rises(const ERVector3D& from, const ERVector3D& tangent, const ERVector3D& bend) const;
    bool is_minimum(const SurfaceFoot& foot) const;
    bool is_perpendicular(const SurfaceFoot& foot) const;
    void add(double u, double v, const ERPoint3D& point, const SurfaceSide& side,
             SurfaceFootKind kind);
    void keep(const SurfaceFoot& foot, bool at_side);

    const ProjectorTables& tables_;
    const SurfaceTables& surface_;
    const ERPoint3D p_;
    std::vector<SurfaceFoot>& feet_;
    double q_[3];
    bool minima_only_ = false;
    double distance_;
    LeafFeet leaf_feet_;
};

} // namespace velm::detail
