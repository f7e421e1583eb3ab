#include "velm/surfaces/face_projector.h"

#include "velm/frame/point_functions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

namespace velm {
namespace detail {

struct FaceProjectorTables {
    PreparedFace face;
    SurfaceProjector surface;
};

} // namespace detail

using detail::FaceProjectorTables;

namespace {

// The distance along an edge, made least from the best of even places by golden sections.
void offer_edge(const PreparedFace& face, const ERPoint3D& p, int loop, int edge, FaceFoot& best) {
    constexpr int places = 64, sections = 60;
    const auto at = [&](double part) {
        const ERPoint2D c = face.parameter(loop, edge, part);
        return distance(p, face.surface()(c.x(), c.y()));
    };
    double value[places + 1];
    for (int i = 0; i <= places; ++i)
        value[i] = at(double(i) / places);
    constexpr double golden = 0.6180339887498949;
    double least = std::numeric_limits<double>::infinity(), part = 0.0;
    for (int i = 0; i <= places; ++i) {
        const int before = std::max(i - 1, 0), after = std::min(i + 1, places);
        if (value[i] > std::min(value[before], value[after])) continue;
        if (value[i] < least) least = value[i], part = double(i) / places;
        double low = double(before) / places, high = double(after) / places;
        for (int k = 0; k < sections; ++k) {
            const double a = high - golden * (high - low), b = low + golden * (high - low);
            const double in_a = at(a), in_b = at(b);
            if (in_a < least) least = in_a, part = a;
            if (in_b < least) least = in_b, part = b;
            (in_a < in_b ? high : low) = in_a < in_b ? b : a;
        }
    }
    if (!(least < best.distance)) return;
    const ERPoint2D c = face.parameter(loop, edge, part);
    best.loop = loop, best.edge = edge, best.part = part;
    best.u = c.x(), best.v = c.y();
    best.point = face.surface()(c.x(), c.y());
    best.normal = face.surface().normal(c.x(), c.y());
    best.distance = least;
    best.kind = part == 0.0 || part == 1.0 ? SurfaceFootKind::corner : SurfaceFootKind::edge;
}

} // namespace

std::optional<FaceProjector> FaceProjector::on(const PreparedFace& face) {
    const std::optional<SurfaceProjector> surface = SurfaceProjector::on(face.surface());
    if (!surface) return std::nullopt;
    return FaceProjector(
        std::make_shared<const FaceProjectorTables>(FaceProjectorTables{face, *surface}));
}

FaceProjector::FaceProjector(std::shared_ptr<const FaceProjectorTables> tables)
    : tables_(std::move(tables)) {}

const PreparedFace& FaceProjector::face() const { return tables_->face; }

FaceFoot FaceProjector::nearest(const ERPoint3D& p, int budget) const {
    FaceFoot foot;
    static_cast<SurfaceFoot&>(foot) = tables_->surface.nearest(p, budget);
    if (!(foot.distance >= 0.0)) return foot;
    if (face().place({foot.u, foot.v}) != FacePlace::outside) return foot;
    const double lower = foot.lower;
    foot.distance = std::numeric_limits<double>::infinity();
    std::vector<SurfaceFoot> minima;
    tables_->surface.all_minima(p, std::numeric_limits<double>::infinity(), minima);
    for (const SurfaceFoot& minimum : minima)
        if (minimum.distance < foot.distance &&
            face().place({minimum.u, minimum.v}) != FacePlace::outside)
            static_cast<SurfaceFoot&>(foot) = minimum;
    for (int loop = 0; loop < face().loops(); ++loop)
        for (int edge = 0; edge < face().edges(loop); ++edge)
            offer_edge(face(), p, loop, edge, foot);
    foot.certified = false;
    foot.lower = std::min(lower, foot.distance);
    return foot;
}

FaceFoot FaceProjector::nearest(const ERPoint3D& p, const ERPoint2D&, int budget) const {
    return nearest(p, budget);
}

void FaceProjector::nearest(std::span<const ERPoint3D> points, std::span<FaceFoot> feet,
                            int threads) const {
    const auto part = [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            feet[k] = nearest(points[k]);
    };
    const auto parts = static_cast<std::size_t>(std::max(threads, 1));
    std::vector<std::thread> others;
    for (std::size_t k = 1; k < parts; ++k)
        others.emplace_back(part, points.size() * k / parts, points.size() * (k + 1) / parts);
    part(0, points.size() / parts);
    for (std::thread& other : others)
        other.join();
}

} // namespace velm
