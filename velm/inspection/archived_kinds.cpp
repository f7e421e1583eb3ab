// The documents of each kind: what they hold beside the described fields.
#include "velm/inspection/detail/archive_fields.h"
#include "velm/inspection/detail/mesh_of_face.h"
#include "velm/inspection/inspection_archive.h"
#include "velm/inspection/nominal_entities.h"
#include "velm/inspection/section_target.h"
#include "velm/inspection/surface_target.h"
#include "velm/planar/outline_checks.h"
#include "velm/planar/outline_nesting.h"

#include <cmath>

namespace velm {
namespace {

using detail::load_count;
using detail::load_number;
using detail::require;

bool is_finite(const ERPoint3D& p) {
    return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
}

void load_target(CArchive& archive, gmTargetPoint& target) {
    archive >> target;
    const ERCMMPointWithDiameter& measured = target.measured_point();
    ERVector3D normal;
    target.get_surface_normal(normal);
    require(archive, is_finite(target.target_point()) && is_finite(measured.point) &&
                         is_finite(measured.pretouch) && is_finite(target.calculated_point()));
    require(archive, std::isfinite(normal.i()) && std::isfinite(normal.j()) &&
                         std::isfinite(normal.k()) && std::isfinite(measured.diameter));
    require(archive, target.acceptance_distance() < std::numeric_limits<double>::max());
}

// The form of a row: the target is stored between the fields before its place and those after it.
template <class Row>
class ArchivedRow {
public:
    // Of a version, by default the one that is written.
    static const ArchivedRow& form(int version = detail::newest_archive) {
        static const auto forms =
            detail::forms_of_versions([](int each) { return ArchivedRow(each); });
        return forms[static_cast<std::size_t>(version - 1)];
    }

    void store(CArchive& archive, const Row& row, const typename Row::Head& head,
               const gmTargetPoint& target) const {
        const Described described = describe(row, head);
        before_target_.store(archive, described);
        archive << target;
        after_target_.store(archive, described);
    }

    // An empty row, as the archive has it; not judged yet.
    void load(CArchive& archive, Row& row, const typename Row::Head& head,
              gmTargetPoint& target) const {
        before_target_.load(archive, &row, &head);
        load_target(archive, target);
        after_target_.load(archive, &row, &head);
    }

private:
    explicit ArchivedRow(int version)
        : before_target_(fields_of<Row>(), version, 1, place_of_target - 1),
          after_target_(fields_of<Row>(), version, place_of_target + 1) {}

    detail::ArchiveForm before_target_, after_target_;
};

void store_point(CArchive& archive, const ERPoint2D& p) {
    detail::store_number(archive, p.x());
    detail::store_number(archive, p.y());
}

ERPoint2D load_point(CArchive& archive) {
    const double x = load_number(archive);
    return {x, load_number(archive)};
}

// How an edge leaves its vertex. Part of files.
enum class ArchivedEdge : BYTE { straight = 0, arc = 1, curve = 2 };

void store_arc(CArchive& archive, const ERArc2D& arc) {
    archive << static_cast<BYTE>(ArchivedEdge::arc);
    store_point(archive, arc.center());
    const double numbers[] = {arc.radius(), arc.startAngle(), arc.endAngle()};
    detail::store_numbers(archive, numbers);
}

ERArc2D load_arc(CArchive& archive) {
    const ERPoint2D centre = load_point(archive);
    const double radius = load_number(archive), start = load_number(archive),
                 end = load_number(archive);
    const ERArc2D arc(centre, radius, start, end);
    require(archive, is_arc_of_circle(arc));
    return arc;
}

void store_curve(CArchive& archive, const ERCpoleNURBS2D& nurbs) {
    const ERKnotVector& knots = nurbs.getKnots();
    const auto poles = nurbs.getPoles().view();
    archive << static_cast<BYTE>(ArchivedEdge::curve);
    detail::store_count(archive, static_cast<std::size_t>(nurbs.degree()));
    detail::store_count(archive, static_cast<std::size_t>(knots.length()));
    detail::store_numbers(archive, {knots.data(), static_cast<std::size_t>(knots.length())});
    detail::store_count(archive, 3 * poles.size());
    for (const ERPole2DH& pole : poles) {
        const double numbers[] = {pole[0], pole[1], pole.weigth()};
        detail::store_numbers(archive, numbers);
    }
}

std::shared_ptr<const CurveEdge> load_curve(CArchive& archive) {
    const int degree = load_count(archive);
    const std::vector<double> knots = detail::load_counted_numbers(archive);
    const std::vector<double> numbers = detail::load_counted_numbers(archive);
    require(archive, numbers.size() % 3 == 0);
    QuickAlgebra::ERVec<ERPole2DH> poles;
    std::vector<double> weights;
    for (std::size_t i = 0; i < numbers.size(); i += 3) {
        poles.push_back({numbers[i], numbers[i + 1], numbers[i + 2]});
        weights.push_back(numbers[i + 2]);
    }
    require(archive, nurbs_fault(degree, knots, weights) == NurbsFault::none);
    std::shared_ptr<const CurveEdge> curve =
        CurveEdge::make(between_domain_knots(poles, degree, knots));
    require(archive, curve != nullptr);
    return curve;
}

void store_edge(CArchive& archive, const Contour& contour, int edge) {
    store_point(archive, contour[edge]);
    if (const ERArc2D* const arc = contour.arc(edge))
        store_arc(archive, *arc);
    else if (const CurveEdge* const curve = contour.curve(edge))
        store_curve(archive, curve->nurbs());
    else
        archive << static_cast<BYTE>(ArchivedEdge::straight);
}

void load_edge(CArchive& archive, Contour& contour) {
    const ERPoint2D vertex = load_point(archive);
    BYTE kind = 0;
    archive >> kind;
    switch (static_cast<ArchivedEdge>(kind)) {
    case ArchivedEdge::straight:
        return contour.append(vertex);
    case ArchivedEdge::arc:
        return contour.append(vertex, load_arc(archive));
    case ArchivedEdge::curve:
        return contour.append(vertex, load_curve(archive));
    }
    require(archive, false);
}

void store_outline(CArchive& archive, const Outline& outline, const SectionHead& head) {
    const NominalEntities entities(outline, head.title, head.nominal);
    for (int c = 0; c < head.contours; ++c) {
        const Contour& contour = outline.contours[static_cast<std::size_t>(c)];
        detail::store_count(archive, static_cast<std::size_t>(contour.size()));
        for (int e = 0; e < contour.size(); ++e) {
            entities.identifier(c, e).serialize(archive);
            store_edge(archive, contour, e);
        }
    }
}

// As a nominal file gives one. The number of contours is a field of the head.
void load_outline(CArchive& archive, Outline& outline, SectionHead& head) {
    require(archive, head.contours > 0);
    for (int c = 0; c < head.contours; ++c) {
        Contour contour;
        for (int left = load_count(archive); left > 0; --left) {
            CADObjectID identifier;
            identifier.serialize(archive);
            load_edge(archive, contour);
        }
        require(archive, has_area(contour));
        outline.contours.push_back(std::move(contour));
    }
    require(archive, !settle_areas(outline));
    head.edges = outline.edge_count();
}

// What no field says alone.
void require_sound(CArchive& archive, const SectionRow& row, const Outline& outline) {
    const OutlineComparison& found = row.comparison;
    const auto contour = static_cast<std::size_t>(found.contour);
    require(archive, contour < outline.contours.size() &&
                         found.edge < outline.contours[contour].size() && found.parameter >= 0.0 &&
                         found.parameter <= 1.0 && std::fabs(row.deviation) <= largest_deviation);
}

} // namespace

SectionArchiveWriter::SectionArchiveWriter(const std::string& path, std::string_view program,
                                           const SectionHead& head, const Outline& outline)
    : InspectionArchiveWriter(path, program, ArchivedKind::section), head_(head) {
    head_.contours = static_cast<int>(outline.contours.size());
    detail::store_subject(archive(), head_);
    store_outline(archive(), outline, head_);
}

void SectionArchiveWriter::add(const SectionRow& row) {
    announce(row);
    ArchivedRow<SectionRow>::form().store(archive(), row, head_, section_target(row, head_.frame));
}

SectionArchiveReader::SectionArchiveReader(InspectionArchiveReader& document)
    : document_(document) {
    document_.load_head(head_);
    load_outline(document_.archive_, outline_, head_);
}

bool SectionArchiveReader::next(SectionRow& row) {
    if (!document_.next()) return false;
    row = SectionRow();
    row.index = count_++;
    gmTargetPoint target;
    ArchivedRow<SectionRow>::form(document_.version_).load(document_.archive_, row, head_, target);
    row.diameter = target.measured_point().diameter;
    require_sound(document_.archive_, row, outline_);
    judge(row, head_);
    document_.take(row);
    return true;
}

TargetArchiveWriter::TargetArchiveWriter(const std::string& path, std::string_view program,
                                         const TargetHead& head)
    : InspectionArchiveWriter(path, program, ArchivedKind::targets), head_(head) {
    detail::store_subject(archive(), head_);
}

void TargetArchiveWriter::add(const TargetRow& row) {
    announce(row);
    ArchivedRow<TargetRow>::form().store(archive(), row, head_, row.target);
}

TargetArchiveReader::TargetArchiveReader(InspectionArchiveReader& document) : document_(document) {
    document_.load_head(head_);
}

bool TargetArchiveReader::next(TargetRow& row) {
    if (!document_.next()) return false;
    row = TargetRow();
    ArchivedRow<TargetRow>::form(document_.version_)
        .load(document_.archive_, row, head_, row.target);
    judge(row, head_);
    document_.take(row);
    return true;
}

namespace {

template <class Tuple>
void store_tuples(CArchive& archive, const std::vector<Tuple>& tuples) {
    for (const Tuple& tuple : tuples)
        for (int i = 0; i < 3; ++i)
            detail::store_number(archive, tuple[i]);
}

template <class Tuple>
void load_tuples(CArchive& archive, std::vector<Tuple>& tuples) {
    for (Tuple& tuple : tuples)
        for (int i = 0; i < 3; ++i)
            tuple[i] = load_number(archive);
}

void store_mesh(CArchive& archive, const detail::FaceMesh& mesh) {
    detail::store_count(archive, mesh.positions.size());
    store_tuples(archive, mesh.positions);
    store_tuples(archive, mesh.normals);
    detail::store_count(archive, mesh.corners.size() / 3);
    for (const int corner : mesh.corners)
        detail::store_count(archive, static_cast<std::size_t>(corner));
}

detail::FaceMesh load_mesh(CArchive& archive) {
    detail::FaceMesh mesh;
    const auto corners = static_cast<std::size_t>(load_count(archive));
    require(archive, corners <= archive.bytes_left() / (6 * sizeof(double)));
    mesh.positions.resize(corners);
    mesh.normals.resize(corners);
    load_tuples(archive, mesh.positions);
    load_tuples(archive, mesh.normals);
    const auto triangles = static_cast<std::size_t>(load_count(archive));
    require(archive, triangles <= archive.bytes_left() / (3 * sizeof(DWORD)));
    mesh.corners.resize(3 * triangles);
    for (int& corner : mesh.corners)
        corner = load_count(archive);
    require(archive, mesh.is_sound());
    return mesh;
}

void require_ascending(CArchive& archive, const std::optional<Tolerance>& limits) {
    require(archive, !limits || limits->lower <= limits->upper);
}

} // namespace

SurfaceArchiveWriter::SurfaceArchiveWriter(const std::string& path, std::string_view program,
                                           const SurfaceHead& head, const NominalMesh& mesh)
    : InspectionArchiveWriter(path, program, ArchivedKind::surface), head_(head) {
    head_.face_count = static_cast<int>(head.faces.size());
    detail::store_subject(archive(), head_);
    const std::vector<detail::FaceMesh> meshes = detail::face_meshes(mesh, head_.faces.size());
    for (std::size_t f = 0; f < meshes.size(); ++f) {
        detail::store_subject(archive(), head_.faces[f]);
        store_mesh(archive(), meshes[f]);
    }
}

void SurfaceArchiveWriter::add(const SurfaceRow& row) {
    announce(row);
    ArchivedRow<SurfaceRow>::form().store(archive(), row, head_, surface_target(row));
}

SurfaceArchiveReader::SurfaceArchiveReader(InspectionArchiveReader& document)
    : document_(document) {
    CArchive& archive = document_.archive_;
    document_.load_head(head_);
    require_ascending(archive, head_.tolerance);
    for (int f = 0; f < head_.face_count; ++f) {
        InspectedFace& face = head_.faces.emplace_back();
        detail::load_subject(archive, face, document_.version_);
        require_ascending(archive, face.tolerance);
        detail::append(mesh_, load_mesh(archive), f);
    }
}

bool SurfaceArchiveReader::next(SurfaceRow& row) {
    if (!document_.next()) return false;
    CArchive& archive = document_.archive_;
    row = SurfaceRow();
    row.index = count_++;
    gmTargetPoint target;
    ArchivedRow<SurfaceRow>::form(document_.version_).load(archive, row, head_, target);
    row.diameter = target.measured_point().diameter;
    require(archive,
            !row.found || (static_cast<std::size_t>(row.found->face) < head_.faces.size() &&
                           row.deviation == row.found->distance - row.diameter / 2.0 &&
                           std::fabs(row.deviation) <= largest_deviation));
    if (row.limits) require_ascending(archive, row.limits);
    judge(row, head_);
    document_.take(row);
    return true;
}

} // namespace velm
