#include "velm/surfaces/line_crossings.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/numerics/detail/triples.h"
#include "velm/surfaces/detail/analytic_feet.h"
#include "velm/surfaces/detail/pair_zeros.h"
#include "velm/surfaces/detail/projector_tables.h"

#include <algorithm>
#include <cmath>

namespace velm {
namespace {

using namespace velm::detail;

// Rounding of a distance from a plane, of the size.
constexpr double plane_rounding = 0x1p-49;
// Ends of the range, of the size.
constexpr double range_slack = 0x1p-45;
// Crossings on sides of leaves that are this near to each other, of the size, are one.
constexpr double same_place = 1e-9;
// The sine of the angle between line and surface where zeros are not simple because they touch.
constexpr double touching = 1e-4;
// A place this near to the side of a leaf may be found on its neighbour too.
constexpr double beside_side = 1e-7;

class LineSearch {
public:
    LineSearch(const ProjectorTables& tables, const ERPoint3D& p, const ERVector3D& direction,
               const ERLimites& range, std::vector<SurfaceCrossing>& crossings)
        : tables_(tables), leaves_(tables.leaves), p_(p), direction_(direction), range_(range),
          crossings_(crossings) {
        length_ = std::hypot(direction.i(), direction.j(), direction.k());
        for (int c = 0; c < 3; ++c)
            d_[c] = direction[c] / length_;
        leaves_.frame.to_local(p, q_);
        // From the foot of the origin on: nearer coordinates have fewer roundings.
        start_ = -dot3(q_, d_);
        for (int c = 0; c < 3; ++c)
            q_[c] += start_ * d_[c];
        int least = 0;
        for (int c = 1; c < 3; ++c)
            if (std::fabs(d_[c]) < std::fabs(d_[least])) least = c;
        double other[3] = {};
        other[least] = 1.0;
        for (int c = 0; c < 3; ++c)
            across_[0][c] =
                d_[(c + 1) % 3] * other[(c + 2) % 3] - d_[(c + 2) % 3] * other[(c + 1) % 3];
        const double unit = 1.0 / std::sqrt(dot3(across_[0], across_[0]));
        for (double& c : across_[0])
            c *= unit;
        for (int c = 0; c < 3; ++c)
            across_[1][c] = d_[(c + 1) % 3] * across_[0][(c + 2) % 3] -
                            d_[(c + 2) % 3] * across_[0][(c + 1) % 3];
    }

    void run() {
        const double slack = range_slack * leaves_.size;
        const double scale = length_ * leaves_.frame.scale;
        low_ = std::max(range_.start() * scale - start_ - slack, -4.0);
        high_ = std::min(range_.end() * scale - start_ + slack, 4.0);
        if (!(low_ <= high_)) return;
        const auto grid = static_cast<std::size_t>(4 * leaves_.coefs_of_leaf());
        constexpr std::size_t usual = 4 * 100;
        WorkArray<double, 2 * usual> room(2 * grid);
        tables_.tree.along_line(q_, d_, low_, high_, [&](int leaf) {
            look_at(leaves_[leaf], leaf, room.data(), room.data() + grid);
        });
        std::sort(crossings_.begin(), crossings_.end(),
                  [](const SurfaceCrossing& a, const SurfaceCrossing& b) {
                      return a.k < b.k || (a.k == b.k && (a.u < b.u || (a.u == b.u && a.v < b.v)));
                  });
    }

private:
    void look_at(const SurfaceLeaf& leaf, int number, double* planes, double* part) {
        const double* const r = leaves_.poles(leaf);
        double e[3];
        for (int c = 0; c < 3; ++c)
            e[c] = q_[c] - leaf.centre[c];
        const double ea = dot3(e, across_[0]), eb = dot3(e, across_[1]);
        for (int n = 0; n < leaves_.coefs_of_leaf(); ++n) {
            planes[4 * n] = dot3(r + 4 * n, across_[0]) - r[4 * n + 3] * ea;
            planes[4 * n + 1] = dot3(r + 4 * n, across_[1]) - r[4 * n + 3] * eb;
            planes[4 * n + 2] = planes[4 * n + 3] = 0.0;
        }
        zeros_.find(planes, leaves_.degree_u, leaves_.degree_v, plane_rounding * leaves_.size,
                    part);
        for (int i = 0; i < zeros_.count(); ++i)
            add(leaf, number, zeros_[i]);
    }

    SurfaceFoot at(const LeafPlace& place) const {
        if (!tables_.analytic) return foot_at(tables_.surface, leaves_, place, q_);
        const double local[3] = {q_[0] + place.from_query[0], q_[1] + place.from_query[1],
                                 q_[2] + place.from_query[2]};
        const AnalyticFeet feet(SurfaceTables::of(tables_.surface), leaves_.frame.to_model(local));
        return foot_at(tables_.surface, feet.nearest());
    }

    void add(const SurfaceLeaf& leaf, int number, const PairZero& zero) {
        LeafJet jet;
        power_jet_at(leaves_.poles(leaf), leaves_.degree_u, leaves_.degree_v, zero.x[0], zero.x[1],
                     jet);
        LeafPlace place;
        place.leaf = number, place.s = zero.x[0], place.t = zero.x[1];
        for (int c = 0; c < 3; ++c)
            place.from_query[c] = jet.x[0][c] / jet.x[0][3] + leaf.centre[c] - q_[c];
        place.squared = dot3(place.from_query, place.from_query);
        const double along = dot3(place.from_query, d_);
        if (along < low_ || along > high_) return;
        const SurfaceFoot foot = at(place);
        SurfaceCrossing found;
        found.k = (start_ + along) / (length_ * leaves_.frame.scale);
        found.u = foot.u, found.v = foot.v;
        found.point = foot.point, found.normal = foot.normal;
        // At the pole of a sphere the parameter isn't unique, but the line may well cross.
        found.tangent = !zero.simple && std::fabs(foot.normal * direction_) <= touching * length_;
        bool at_side = false;
        for (int k = 0; k < 2; ++k)
            at_side = at_side || std::fabs(zero.x[k]) + zero.reach[k] >= 1.0 - beside_side;
        if (!at_side) return crossings_.push_back(found);
        const double near = same_place * leaves_.size / leaves_.frame.scale;
        for (SurfaceCrossing& other : crossings_)
            if (ERVector3D(other.point - found.point).norme() <=
                near * (zero.simple && !other.tangent ? 1.0 : 1e3)) {
                if (other.tangent && !found.tangent) found.tangent = true, other = found;
                return;
            }
        crossings_.push_back(found);
    }

    const ProjectorTables& tables_;
    const SurfaceLeaves& leaves_;
    const ERPoint3D p_;
    const ERVector3D direction_;
    const ERLimites range_;
    std::vector<SurfaceCrossing>& crossings_;
    double q_[3], d_[3], across_[2][3];
    double start_ = 0.0, length_ = 0.0, low_ = 0.0, high_ = 0.0;
    PairZeros zeros_;
};

} // namespace

void line_crossings(const SurfaceProjector& surface, const ERPoint3D& p,
                    const ERVector3D& direction, std::vector<SurfaceCrossing>& crossings,
                    const ERLimites& range) {
    crossings.clear();
    const double length = std::hypot(direction.i(), direction.j(), direction.k());
    if (!(length > 0.0) || !std::isfinite(length + p.x() + p.y() + p.z())) return;
    LineSearch(surface.tables(), p, direction, range, crossings).run();
}

} // namespace velm
