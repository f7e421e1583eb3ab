// velm::detail::SurfaceFlatness: velm::flatness of many rectangles of one surface.
#pragma once

#include "velm/surfaces/detail/bernstein_net.h"
#include "velm/surfaces/detail/surface_tables.h"
#include "velm/surfaces/flatness.h"

#include <optional>
#include <vector>

namespace velm::detail {

class SurfaceFlatness {
public:
    explicit SurfaceFlatness(const SurfaceTables& surface) : tables_(surface) {}

    /// Keeps what it computes of a patch. REQUIRES a rectangle in the domain.
    Flatness operator()(const ERLimites& u, const ERLimites& v);

private:
    /// What the second derivatives of a patch are quotients of, by the parameters of [0, 1].
    struct Bends {
        BernsteinNet uu, uv, vv; ///< times the cube of the weight
        BernsteinNet weight;     ///< empty without weights
        Flatness whole;
    };

    Flatness of_patches(const ERLimites& u, const ERLimites& v);
    const Bends& bends(int i, int j);
    Flatness bounds(const Bends& bends, int i, int j, const ERLimites& u, const ERLimites& v) const;

    const SurfaceTables& tables_;
    std::vector<std::optional<Bends>> kept_;
};

/// See velm::breaks_u and breaks_v.
std::vector<double> breaks(const SurfaceTables& tables, bool along_u);

} // namespace velm::detail
