// velm::detail::PointPair: two points of space side by side, for loops over arrays.
#pragma once

#include "velm/frame/point.h"

#include <cstring>

namespace velm::detail {

/// The coordinates of two neighbouring points, one register per axis. Each lane goes through the
/// operations of a single point in their order: the results are the same to the last bit.
class PointPair {
public:
    using Lanes [[gnu::vector_size(16)]] = double;

    /// Loads and stores the points p[0] and p[1].
    static PointPair load(const ERPoint3D* p) {
        static_assert(sizeof(ERPoint3D) == 3 * sizeof(double));
        Lanes memory[3];
        std::memcpy(memory, p, sizeof memory);
        return {__builtin_shufflevector(memory[0], memory[1], 0, 3),
                __builtin_shufflevector(memory[0], memory[2], 1, 2),
                __builtin_shufflevector(memory[1], memory[2], 0, 3)};
    }
    void store(ERPoint3D* p) const {
        const Lanes memory[3] = {__builtin_shufflevector(axis_[0], axis_[1], 0, 2),
                                 __builtin_shufflevector(axis_[2], axis_[0], 0, 3),
                                 __builtin_shufflevector(axis_[1], axis_[2], 1, 3)};
        std::memcpy(p, memory, sizeof memory);
    }

    /// Makes each axis from its index.
    template <class Make>
    static PointPair each(Make make) {
        return {make(0), make(1), make(2)};
    }
    Lanes operator[](int axis) const { return axis_[axis]; }

    friend PointPair operator+(const PointPair& p, const ERPoint3D& t) {
        return each([&](int axis) { return p[axis] + t[axis]; });
    }
    friend PointPair operator*(const PointPair& p, double k) {
        return each([&](int axis) { return p[axis] * k; });
    }

private:
    PointPair(Lanes x, Lanes y, Lanes z) : axis_{x, y, z} {}
    Lanes axis_[3];
};

} // namespace velm::detail
