// held_points.h: `HeldPoints`, all measured points of an inspection that moves them.
#pragma once

#include "velm/inspection/surface_result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velm::inspect {

/// Rows as they were read, in 64 bytes each, and their texts where they say more than the number of
/// the row, and their limits where any has some.
class HeldPoints {
public:
    void add(const SurfaceRow& row);

    std::size_t size() const { return points_.size(); }
    const ERPoint3D& measured(std::size_t n) const { return points_[n].measured; }
    std::optional<ERVector3D> direction(std::size_t n) const;
    double diameter(std::size_t n) const { return points_[n].diameter; }
    std::string id(std::size_t n) const;
    /// The row with this number as it was added.
    SurfaceRow row(std::size_t n) const;

    /// A number that belongs to a point; NaN for none.
    double& note(std::size_t n) { return points_[n].note; }

private:
    struct Point {
        ERPoint3D measured;
        ERVector3D direction; ///< zero without one
        double diameter;
        double note;
    };
    static_assert(sizeof(Point) == 64);
    std::string_view text(std::size_t n, int which) const;

    std::vector<Point> points_;
    std::vector<std::uint64_t> texts_at_; // where each row's begin; empty if no row has some
    std::string texts_;                   // id, feature and part, each ended by a zero
    std::vector<std::optional<Tolerance>> limits_; // empty if no row has some
};

} // namespace velm::inspect
