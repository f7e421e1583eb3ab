#include "velm/surfaces/face_projector.h"

#include "velm/surfaces/detail/face_set.h"
#include "velm/surfaces/detail/in_parts.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace velm {

using detail::FaceSet;

namespace {

FaceFoot nearest_of(const FaceSet& set, const ERPoint3D& p, const ERPoint2D* hint, int budget) {
    FaceFoot foot;
    foot.distance = std::numeric_limits<double>::quiet_NaN();
    if (!std::isfinite(p.x()) || !std::isfinite(p.y()) || !std::isfinite(p.z())) return foot;
    double q[3];
    set.frame().to_local(p, q);
    detail::LeafSearch search(q, set.local_size(), std::max(budget, 0));
    if (hint != nullptr) set.search_at(0, *hint, search);
    set.search(search);
    int face = 0;
    set.foot(search, foot, face);
    return foot;
}

} // namespace

std::optional<FaceProjector> FaceProjector::on(const PreparedFace& face) {
    std::shared_ptr<const FaceSet> set = FaceSet::of({face}, 1);
    if (!set) return std::nullopt;
    return FaceProjector(std::move(set));
}

FaceProjector::FaceProjector(std::shared_ptr<const FaceSet> set) : set_(std::move(set)) {}

const PreparedFace& FaceProjector::face() const { return (*set_)[0].face; }

FaceFoot FaceProjector::nearest(const ERPoint3D& p, int budget) const {
    return nearest_of(*set_, p, nullptr, budget);
}

FaceFoot FaceProjector::nearest(const ERPoint3D& p, const ERPoint2D& hint, int budget) const {
    return nearest_of(*set_, p, &hint, budget);
}

void FaceProjector::nearest(std::span<const ERPoint3D> points, std::span<FaceFoot> feet,
                            int threads) const {
    assert(feet.size() == points.size());
    detail::in_parts(points.size(), threads, [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            feet[k] = nearest(points[k]);
    });
}

} // namespace velm
