#include "velm/surfaces/prepared_part.h"

#include <algorithm>
#include <thread>

namespace velm {
namespace detail {

struct PartTables {
    std::vector<PartFace> faces;
    std::vector<FaceProjector> projectors;
    std::vector<ERMinimax3D> boxes;
    ERMinimax3D box;
    double tolerance = 0.0;
};

} // namespace detail

using detail::PartTables;

namespace {

PartFoot foot_of(const PartTables& part, int face, const FaceFoot& on) {
    PartFoot foot;
    static_cast<FaceFoot&>(foot) = on;
    foot.face = face;
    foot.outward = on.normal * part.faces[std::size_t(face)].outward;
    foot.side = on.loop < 0 ? PartSide::certain : PartSide::open_edge;
    return foot;
}

bool counts(const PartFoot& foot, const PartSearch& search) {
    if (!(foot.distance <= search.max_distance)) return false;
    return !search.direction || foot.outward * *search.direction >=
                                    std::cos(search.max_angle) * search.direction->norme();
}

} // namespace

std::optional<PreparedPart> PreparedPart::of(std::vector<PartFace> faces, double tolerance,
                                             int threads) {
    (void)threads;
    auto tables = std::make_shared<PartTables>();
    tables->faces = std::move(faces);
    tables->tolerance = tolerance;
    for (PartFace& face : tables->faces) {
        face.outward = face.outward < 0 ? -1 : 1;
        const std::optional<FaceProjector> projector = FaceProjector::on(face.face);
        if (!projector) return std::nullopt;
        tables->projectors.push_back(*projector);
        tables->boxes.push_back(face.face.surface().box());
        tables->box.Update(tables->boxes.back());
    }
    if (tables->faces.empty()) return std::nullopt;
    return PreparedPart(std::move(tables));
}

PreparedPart::PreparedPart(std::shared_ptr<const PartTables> tables) : tables_(std::move(tables)) {}

int PreparedPart::faces() const { return static_cast<int>(tables_->faces.size()); }
const PreparedFace& PreparedPart::face(int i) const { return tables_->faces[std::size_t(i)].face; }
int PreparedPart::outward(int i) const { return tables_->faces[std::size_t(i)].outward; }
double PreparedPart::tolerance() const { return tables_->tolerance; }
ERMinimax3D PreparedPart::box() const { return tables_->box; }
double PreparedPart::size() const { return tables_->box.diagonal(); }

PartFoot PreparedPart::nearest(const ERPoint3D& p) const { return nearest(p, PartSearch()); }

PartFoot PreparedPart::nearest(const ERPoint3D& p, const PartSearch& search) const {
    PartFoot best;
    best.distance = HUGE_VAL;
    for (int i = 0; i < faces(); ++i) {
        if (best.face >= 0 &&
            squared_distance(tables_->boxes[std::size_t(i)], p) >= best.distance * best.distance)
            continue;
        const PartFoot foot = foot_of(*tables_, i, tables_->projectors[std::size_t(i)].nearest(p));
        if (foot.distance < best.distance && counts(foot, search)) best = foot;
    }
    if (best.face < 0) return {};
    best.signed_distance =
        ERVector3D(best.point, p) * best.outward < 0.0 ? -best.distance : best.distance;
    return best;
}

void PreparedPart::nearest(std::span<const ERPoint3D> points, std::span<PartFoot> feet,
                           int threads) const {
    const PartSearch free;
    nearest(points, {&free, 1}, feet, threads);
}

void PreparedPart::nearest(std::span<const ERPoint3D> points, std::span<const PartSearch> searches,
                           std::span<PartFoot> feet, int threads) const {
    const auto part = [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k)
            feet[k] = nearest(points[k], searches[searches.size() == 1 ? 0 : k]);
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
