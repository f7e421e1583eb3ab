#include "inspect/picture/surface_data.h"

#include "inspect/picture/surface_raster.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace velm::inspect {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Place = std::array<double, 3>;

class CubeFinder {
public:
    void add(const Place& p) {
        for (std::size_t i = 0; i < 3; ++i) {
            low_[i] = std::min(low_[i], p[i]);
            high_[i] = std::max(high_[i], p[i]);
        }
    }
    PackedCube cube() const {
        PackedCube result;
        if (!(low_[0] <= high_[0])) return result;
        result.low = low_;
        for (std::size_t i = 0; i < 3; ++i)
            result.side = std::max(result.side, high_[i] - low_[i]);
        return result;
    }

private:
    Place low_{HUGE_VAL, HUGE_VAL, HUGE_VAL}, high_{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
};

void append_16(Bytes& out, std::uint32_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

// To the nearest half, ties away from zero; what is too small becomes 0.
std::uint32_t half_of(double value) {
    const std::uint32_t sign = std::signbit(value) ? 0x8000U : 0U;
    const double size = std::min(std::fabs(value), 65504.0);
    if (!(size >= 0x1p-14)) // one of the even steps of 2^-24
        return sign | std::uint32_t(std::lround(std::isnan(size) ? 0.0 : size * 0x1p24));
    const int exponent = std::ilogb(size);
    const auto digits = std::uint32_t(std::lround(std::ldexp(size, 10 - exponent))) - 1024U;
    return sign | ((std::uint32_t(exponent + 15) << 10) + digits); // a carry goes up
}

std::uint8_t signed_byte(double part) { // of [-1, 1]
    return static_cast<std::uint8_t>(static_cast<std::int8_t>(std::lround(127.0 * part)));
}

void append_normal(Bytes& out, const std::array<float, 3>& n) {
    const double sum = std::fabs(n[0]) + std::fabs(n[1]) + std::fabs(n[2]);
    double x = sum > 0.0 ? double(n[0]) / sum : 0.0, y = sum > 0.0 ? double(n[1]) / sum : 0.0;
    if (n[2] < 0.0F) {
        const double folded = (1.0 - std::fabs(y)) * (x < 0.0 ? -1.0 : 1.0);
        y = (1.0 - std::fabs(x)) * (y < 0.0 ? -1.0 : 1.0);
        x = folded;
    }
    out.push_back(signed_byte(x));
    out.push_back(signed_byte(y));
}

void append_record(Bytes& out, const PackedCube& cube, const Place& place,
                   const std::array<float, 3>& normal, double deviation, std::uint8_t first,
                   std::uint8_t second) {
    for (std::size_t i = 0; i < 3; ++i) {
        const double part = cube.side > 0.0 ? (place[i] - cube.low[i]) / cube.side : 0.0;
        append_16(out, std::uint32_t(std::lround(65535.0 * std::clamp(part, 0.0, 1.0))));
    }
    append_normal(out, normal);
    append_16(out, half_of(deviation));
    out.push_back(first);
    out.push_back(second);
}

class NumberPacker {
public:
    explicit NumberPacker(Bytes& out) : out_(out) {}
    void add(std::uint32_t number) {
        const std::int64_t step = std::int64_t(number) - last_;
        last_ = number;
        auto folded = std::uint64_t(step < 0 ? -2 * step - 1 : 2 * step);
        for (; folded >= 128; folded >>= 7)
            out_.push_back(static_cast<std::uint8_t>(folded | 128U));
        out_.push_back(static_cast<std::uint8_t>(folded));
    }

private:
    Bytes& out_;
    std::int64_t last_ = 0;
};

Place place_of(const std::array<float, 3>& p) { return {p[0], p[1], p[2]}; }

} // namespace

double half_unit(std::span<const ViewPoint> points) {
    float largest = 0.0F;
    for (const ViewPoint& point : points)
        largest = std::max(largest, std::fabs(point.deviation));
    constexpr int most = 14; // 2^15 is still a half
    return largest > 0.0F ? std::ldexp(1.0, std::ilogb(largest) - most) : 1.0;
}

PackedPlaces pack_mesh(const ColoredMesh& mesh, double unit) {
    PackedPlaces packed;
    CubeFinder finder;
    for (const ColoredMesh::Vertex& vertex : mesh.vertices)
        finder.add(place_of(vertex.position));
    packed.cube = finder.cube();
    for (const ColoredMesh::Vertex& vertex : mesh.vertices)
        append_record(packed.bytes, packed.cube, place_of(vertex.position), vertex.normal,
                      vertex.deviation / unit,
                      static_cast<std::uint8_t>(std::lround(255.0F * vertex.cover)),
                      static_cast<std::uint8_t>(std::lround(128.0F + 127.0F * vertex.out)));
    NumberPacker corners(packed.bytes);
    for (const auto& triangle : mesh.triangles)
        for (const std::uint32_t corner : triangle)
            corners.add(corner);
    NumberPacker ends(packed.bytes);
    for (const auto& edge : mesh.edges)
        for (const std::uint32_t end : edge)
            ends.add(end);
    return packed;
}

PackedPlaces pack_points(const ColoredMesh& mesh, std::span<const ViewPoint> points,
                         PointGroup group, double unit, const DeviationScale& colors) {
    PackedPlaces packed;
    CubeFinder finder;
    const auto place = [&](const ViewPoint& point) -> Place {
        return {point.foot.x() - mesh.origin.x(), point.foot.y() - mesh.origin.y(),
                point.foot.z() - mesh.origin.z()};
    };
    const auto belongs = [&](const ViewPoint& point) {
        if (point.face < 0) return group == PointGroup::unassigned;
        return group == (point.state >= PointState::above ? PointGroup::out : PointGroup::within);
    };
    // The places of the records: face after face, the last for points without one.
    std::vector<std::size_t> starts(mesh.faces.size() + 2, 0);
    const auto run_of = [&](const ViewPoint& point) {
        return point.face < 0 ? mesh.faces.size() : std::size_t(point.face);
    };
    for (const ViewPoint& point : points)
        if (belongs(point)) ++starts[run_of(point) + 1];
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    std::vector<std::uint32_t> order(starts.back());
    for (std::uint32_t i = 0; i < points.size(); ++i) {
        if (!belongs(points[i])) continue;
        finder.add(place(points[i]));
        order[starts[run_of(points[i])]++] = i;
    }
    packed.cube = finder.cube();
    packed.bytes.reserve(12 * order.size());
    for (const std::uint32_t i : order)
        append_record(packed.bytes, packed.cube, place(points[i]), points[i].outward,
                      double(points[i].deviation) / unit,
                      static_cast<std::uint8_t>(color_of(points[i], colors)),
                      static_cast<std::uint8_t>(points[i].state));
    return packed;
}

} // namespace velm::inspect
