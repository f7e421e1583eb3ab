#include "inspect/keep/archive_forms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "inspect/input/drawn_curves.h"
#include "inspect/input/outline_checks.h"
#include "inspect/result/nominal_entities.h"
#include "velm/frame/value_archive.h"
#include "velm/inspection/section_result.h"
#include "velm/planar/outline_nesting.h"
#include "velm/platform/text_archive.h"

namespace velm::inspect {
namespace {

template <class... Numbers>
bool are_finite(Numbers... numbers) {
    return (std::isfinite(static_cast<double>(numbers)) && ...);
}

void require(CArchive& archive, bool is_right) {
    if (!is_right) archive.raise(CArchiveException::badIndex);
}

// By the value's own operators.
template <class Value>
void pass(CArchive& archive, Value& value) {
    if (archive.IsStoring())
        archive << value;
    else
        archive >> value;
}

// An edge, which leaves its vertex straight, along an arc or along a curve.
struct ArchivedEdge {
    enum Kind : BYTE { straight = 0, arc = 1, curve = 2 }; // never to be renumbered

    ERPoint2D vertex;
    BYTE kind = straight;
    ERPoint2D center;
    double radius = 0.0, start = 0.0, end = 0.0;
    int degree = 0;
    std::vector<double> knots, poles; // x w, y w, w of each
};

ArchivedEdge edge_of(const Contour& contour, int edge) {
    ArchivedEdge archived;
    archived.vertex = contour[edge];
    if (const ERArc2D* const arc = contour.arc(edge)) {
        archived.kind = ArchivedEdge::arc;
        archived.center = arc->center();
        archived.radius = arc->radius();
        archived.start = arc->startAngle();
        archived.end = arc->endAngle();
    }
    if (const CurveEdge* const curve = contour.curve(edge)) {
        const ERKnotVector& knots = curve->nurbs().getKnots();
        archived.kind = ArchivedEdge::curve;
        archived.degree = curve->nurbs().degree();
        archived.knots.assign(knots.data(), knots.data() + knots.length());
        for (const ERPole2DH& pole : curve->nurbs().getPoles().view())
            archived.poles.insert(archived.poles.end(), {pole[0], pole[1], pole.weigth()});
    }
    return archived;
}

void exchange_edge(CArchive& archive, ArchivedEdge& edge) {
    exchange(archive, edge.vertex);
    pass(archive, edge.kind);
    require(archive, edge.kind <= ArchivedEdge::curve);
    if (edge.kind == ArchivedEdge::arc)
        exchange(archive, edge.center, edge.radius, edge.start, edge.end);
    if (edge.kind == ArchivedEdge::curve) exchange(archive, edge.degree, edge.knots, edge.poles);
}

// Null for knots and poles that are no curve.
std::shared_ptr<const CurveEdge> curve_of(const ArchivedEdge& edge) {
    DrawnSpline spline{edge.degree, edge.knots, {}, {}};
    ERVec<ERPole2DH> poles;
    for (std::size_t i = 0; i + 2 < edge.poles.size(); i += 3) {
        const double* const pole = edge.poles.data() + i;
        poles.push_back({pole[0], pole[1], pole[2]});
        spline.poles.emplace_back();
        spline.weights.push_back(pole[2]);
    }
    if (edge.poles.size() % 3 != 0 || fault_of(spline)) return nullptr;
    return CurveEdge::make(between_domain_knots(poles, edge.degree, edge.knots));
}

void append_edge(CArchive& archive, Contour& contour, const ArchivedEdge& edge) {
    if (edge.kind == ArchivedEdge::straight) return contour.append(edge.vertex);
    if (edge.kind == ArchivedEdge::curve) {
        std::shared_ptr<const CurveEdge> curve = curve_of(edge);
        require(archive, curve != nullptr);
        return contour.append(edge.vertex, std::move(curve));
    }
    const ERArc2D arc(edge.center, edge.radius, edge.start, edge.end);
    require(archive, is_arc_of_circle(arc));
    contour.append(edge.vertex, arc);
}

void store_outline(CArchive& archive, const Outline& outline, const SectionHead& head) {
    const NominalEntities entities(outline, head.title, head.nominal);
    int contours = static_cast<int>(outline.contours.size());
    exchange(archive, contours);
    for (int c = 0; c < contours; ++c) {
        const Contour& contour = outline.contours[static_cast<std::size_t>(c)];
        int edges = contour.size();
        exchange(archive, edges);
        for (int e = 0; e < edges; ++e) {
            entities.identifier(c, e).serialize(archive);
            ArchivedEdge edge = edge_of(contour, e);
            exchange_edge(archive, edge);
        }
    }
}

void load_outline(CArchive& archive, Outline& outline) {
    int contours = 0;
    exchange(archive, contours);
    require(archive, contours > 0);
    for (int c = 0; c < contours; ++c) {
        int edges = 0;
        exchange(archive, edges);
        Contour contour;
        for (int e = 0; e < edges; ++e) {
            CADObjectID identifier;
            identifier.serialize(archive);
            ArchivedEdge edge;
            exchange_edge(archive, edge);
            append_edge(archive, contour, edge);
        }
        require(archive, has_area(contour));
        outline.contours.push_back(std::move(contour));
    }
    require(archive, !settle_areas(outline));
}

// The nine numbers that a frame was made of.
void exchange_frame(CArchive& archive, std::optional<SectionFrame>& frame) {
    std::array<double, 9> numbers{};
    bool is_there = frame.has_value();
    exchange(archive, is_there);
    if (!is_there) return;
    if (frame) std::copy_n(frame->numbers().begin(), numbers.size(), numbers.begin());
    for (double& number : numbers)
        exchange(archive, number);
    if (archive.IsStoring()) return;
    require(archive, frame.emplace().set(numbers) == FrameFault::none);
}

// What an alignment has moved has this before.
void exchange_before(CArchive& archive, Judged& point,
                     const std::optional<AppliedAlignment>& alignment) {
    if (!alignment) return;
    if (!point.deviation_before) point.deviation_before.emplace();
    exchange(archive, *point.deviation_before);
}

} // namespace

void exchange(CArchive& archive, bool& value) {
    BYTE byte = value ? 1 : 0;
    pass(archive, byte);
    require(archive, byte <= 1);
    value = byte == 1;
}

void exchange(CArchive& archive, int& value) {
    auto number = static_cast<DWORD>(value);
    pass(archive, number);
    require(archive, number <= static_cast<DWORD>(std::numeric_limits<int>::max()));
    value = static_cast<int>(number);
}

void exchange(CArchive& archive, std::uint64_t& value) {
    ULONGLONG number = value;
    pass(archive, number);
    value = number;
}

void exchange(CArchive& archive, double& value) {
    pass(archive, value);
    require(archive, are_finite(value));
}

void exchange(CArchive& archive, std::vector<double>& numbers) {
    int count = static_cast<int>(numbers.size());
    exchange(archive, count);
    if (archive.IsLoading()) {
        require(archive, static_cast<ULONGLONG>(count) <= archive.bytes_left() / sizeof(double));
        numbers.resize(static_cast<std::size_t>(count));
    }
    for (double& number : numbers)
        exchange(archive, number);
}

void exchange(CArchive& archive, std::string& text) {
    if (archive.IsStoring()) {
        archive << text.c_str();
        return;
    }
    utString loaded;
    archive >> loaded;
    text = loaded.view();
}

void exchange(CArchive& archive, ERPoint2D& point) {
    pass(archive, point);
    require(archive, are_finite(point.x(), point.y()));
}

void exchange(CArchive& archive, ERPoint3D& point) {
    pass(archive, point);
    require(archive, are_finite(point.x(), point.y(), point.z()));
}

void exchange(CArchive& archive, ERVector2D& vector) {
    double i = vector.i(), j = vector.j();
    exchange(archive, i, j);
    vector = ERVector2D(i, j);
}

void exchange(CArchive& archive, ERVector3D& vector) {
    pass(archive, vector);
    require(archive, are_finite(vector.i(), vector.j(), vector.k()));
}

void exchange(CArchive& archive, gmTargetPoint& target) {
    pass(archive, target);
    const ERCMMPointWithDiameter& measured = target.measured_point();
    ERVector3D normal;
    target.get_surface_normal(normal);
    const ERPoint3D points[] = {target.target_point(), measured.point, measured.pretouch,
                                target.calculated_point()};
    for (const ERPoint3D& p : points)
        require(archive, are_finite(p.x(), p.y(), p.z()));
    require(archive, are_finite(normal.i(), normal.j(), normal.k(), measured.diameter));
    require(archive, target.acceptance_distance() < std::numeric_limits<double>::max());
}

void exchange(CArchive& archive, Tolerance& tolerance) {
    exchange(archive, tolerance.lower, tolerance.upper);
}

void exchange(CArchive& archive, AppliedAlignment& alignment) {
    exchange(archive, alignment.in_plane, alignment.rotation[0], alignment.rotation[1],
             alignment.rotation[2], alignment.translation, alignment.iterations,
             alignment.threshold, alignment.last_step);
    for (DeviationSpread* const spread : {&alignment.before, &alignment.after})
        exchange(archive, spread->rms, spread->minimum, spread->maximum);
    int freedoms = static_cast<int>(alignment.held.size());
    exchange(archive, freedoms);
    require(archive, freedoms <= 6);
    alignment.held.resize(static_cast<std::size_t>(freedoms));
    for (std::string& name : alignment.held)
        exchange(archive, name);
}

void exchange(CArchive& archive, SectionHead& head) {
    exchange(archive, head.nominal, head.measured, head.tolerance);
    exchange_frame(archive, head.frame);
    exchange(archive, head.max_height, head.alignment);
}

void exchange(CArchive& archive, TargetHead& head) {
    exchange(archive, head.table, head.tolerance, head.alignment, head.skipped);
}

void exchange_outline(CArchive& archive, Outline& outline, SectionHead& head) {
    std::string form(name_of_form(head.form));
    exchange(archive, head.title, form);
    require(archive, form_of_name(form).has_value());
    head.form = *form_of_name(form);
    if (archive.IsStoring())
        store_outline(archive, outline, head);
    else
        load_outline(archive, outline);
}

void exchange_row(CArchive& archive, SectionRow& row, gmTargetPoint& target,
                  const SectionHead& head) {
    OutlineComparison& found = row.comparison;
    exchange(archive, row.id, target, found.contour, found.edge, found.parameter, found.foot,
             found.outward, found.distance, row.deviation, row.measured);
    int place = static_cast<int>(found.place);
    exchange(archive, place);
    require(archive, place >= 0 && place < place_count);
    found.place = static_cast<OutlinePlace>(place);
    require(archive, found.parameter >= 0.0 && found.parameter <= 1.0 &&
                         std::fabs(row.deviation) <= largest_deviation);
    if (archive.IsLoading()) row.diameter = target.measured_point().diameter;
    if (head.frame) {
        if (!row.space) row.space.emplace();
        exchange(archive, row.space->measured, row.space->height);
    }
    if (head.alignment) {
        if (!row.aligned) row.aligned.emplace();
        exchange(archive, *row.aligned);
    }
    exchange_before(archive, row, head.alignment);
}

void exchange_row(CArchive& archive, TargetRow& row, const TargetHead& head) {
    exchange(archive, row.id, row.target);
    if (archive.IsLoading()) row.diameter = row.target.measured_point().diameter;
    exchange_before(archive, row, head.alignment);
}

ArchivedFigures::ArchivedFigures(const Summary& summary)
    : count(summary.deviations.count()), in_tolerance(summary.in_tolerance),
      out_of_tolerance(summary.out_of_tolerance), minimum(summary.deviations.minimum()),
      maximum(summary.deviations.maximum()), mean(summary.deviations.mean()),
      standard_deviation(summary.deviations.standard_deviation()),
      rms(summary.deviations.root_mean_square()), worst_id(summary.worst_id),
      worst_deviation(summary.worst_deviation) {}

void exchange(CArchive& archive, ArchivedFigures& figures) {
    exchange(archive, figures.count, figures.in_tolerance, figures.out_of_tolerance,
             figures.minimum, figures.maximum, figures.mean, figures.standard_deviation,
             figures.rms, figures.worst_id, figures.worst_deviation);
}

} // namespace velm::inspect
