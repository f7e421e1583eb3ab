#include "inspect/section_store.h"

#include <sys/stat.h>

#include <algorithm>

#include "inspect/record_keys.h"
#include "inspect/store_file.h"
#include "velm/version.h"
#include "velm/wireframe/segment.h"

namespace velm::inspect {
namespace {

// The colours of an edge: a palette number as CAD systems have it, and red, green, blue.
struct Colour {
    int number;
    unsigned long rgb;
};
constexpr Colour out_of_tolerance{1, 0x7F0012};
constexpr Colour in_tolerance{3, 0x2E7D32};
constexpr Colour not_judged{7, 0x22303C};

void put(ERDBObject& record, RecordKey key, double value) {
    record.property(static_cast<long>(key), value);
}
void put(ERDBObject& record, RecordKey key, const std::string& text) {
    record.property(static_cast<long>(key), text.c_str());
}
// A count beyond 32 bits stands as a double.
void put_count(ERDBObject& record, RecordKey key, std::uint64_t count) {
    if (count <= 0x7FFFFFFF)
        record.property(static_cast<long>(key), static_cast<long>(count));
    else
        put(record, key, static_cast<double>(count));
}

void put_tolerance(ERDBObject& record, const std::optional<Tolerance>& tolerance) {
    if (!tolerance) return;
    put(record, RecordKey::tolerance_lower, tolerance->lower);
    put(record, RecordKey::tolerance_upper, tolerance->upper);
}

void put_frame(ERDBObject& record, const SectionFrame& frame) {
    const ERPoint3D origin = frame.origin();
    put(record, RecordKey::frame_origin_x, origin.x());
    put(record, RecordKey::frame_origin_y, origin.y());
    put(record, RecordKey::frame_origin_z, origin.z());
    const ERVector3D normal = frame.normal();
    put(record, RecordKey::frame_normal_x, normal.i());
    put(record, RecordKey::frame_normal_y, normal.j());
    put(record, RecordKey::frame_normal_z, normal.k());
    const ERVector3D axis = frame.first_axis();
    put(record, RecordKey::frame_axis_x, axis.i());
    put(record, RecordKey::frame_axis_y, axis.j());
    put(record, RecordKey::frame_axis_z, axis.k());
}

void put_measured(ERDBObject& record, const SectionRow& row) {
    if (!row.space) {
        put(record, RecordKey::measured_x, row.measured.x());
        put(record, RecordKey::measured_y, row.measured.y());
        return;
    }
    put(record, RecordKey::measured_x, row.space->measured.x());
    put(record, RecordKey::measured_y, row.space->measured.y());
    put(record, RecordKey::measured_z, row.space->measured.z());
    put(record, RecordKey::height, row.space->height);
    put(record, RecordKey::section_x, row.measured.x());
    put(record, RecordKey::section_y, row.measured.y());
}

void put_summary(ERDBObject& record, const Summary& summary) {
    const RunningStatistics& deviations = summary.deviations;
    put_count(record, RecordKey::count, deviations.count());
    if (summary.tolerance) {
        put_count(record, RecordKey::in_tolerance, summary.in_tolerance);
        put_count(record, RecordKey::out_of_tolerance, summary.out_of_tolerance);
    }
    put(record, RecordKey::minimum, deviations.minimum());
    put(record, RecordKey::maximum, deviations.maximum());
    put(record, RecordKey::mean, deviations.mean());
    put(record, RecordKey::standard_deviation, deviations.standard_deviation());
    put(record, RecordKey::rms, deviations.root_mean_square());
    put(record, RecordKey::worst_id, summary.worst_id);
    put(record, RecordKey::worst_deviation, summary.worst_deviation);
}

/// Opens a file against all others; null when it isn't there. A file that another program has put
/// in the place meanwhile is opened anew.
std::unique_ptr<CFile> lock_existing(const std::string& path) {
    for (;;) {
        struct stat before {
        }, after{};
        if (::stat(path.c_str(), &before) != 0) return nullptr;
        auto file = std::make_unique<CFile>(path.c_str(),
                                            UINT(CFile::modeReadWrite) | CFile::shareExclusive);
        if (::stat(path.c_str(), &after) == 0 && before.st_ino == after.st_ino &&
            before.st_dev == after.st_dev)
            return file;
    }
}

void copy(CFile& from, const std::string& to) {
    CFile target(to.c_str(), UINT(CFile::modeCreate) | CFile::modeWrite | CFile::shareExclusive);
    std::vector<char> block(std::size_t{1} << 20);
    while (const UINT came = from.Read(block.data(), static_cast<UINT>(block.size())))
        target.Write(block.data(), came);
    target.Close();
}

t_SmartPtr<ERDBObject> new_record(const char* kind) {
    const t_SmartPtr<ERDBObject> record(new ERDBObject);
    put(*record, RecordKey::kind, std::string(kind));
    return record;
}

// What an edge is: a segment, an arc, or a circle where it is a contour of its own.
t_SmartPtr<ERObject> entity_of(const Contour& contour, int edge) {
    const ERArc2D* const arc = contour.arc(edge);
    if (arc == nullptr)
        return t_SmartPtr<ERObject>(new ERSegment2D(contour[edge], contour[edge + 1]));
    if (contour.size() == 1)
        return t_SmartPtr<ERObject>(new ERCircle2D(arc->center(), arc->radius()));
    return t_SmartPtr<ERObject>(new ERArc2D(*arc));
}

} // namespace

void SectionStore::EdgeFigures::add(const SectionRow& row) {
    minimum = count == 0 ? row.deviation : std::min(minimum, row.deviation);
    maximum = count == 0 ? row.deviation : std::max(maximum, row.deviation);
    ++count;
    if (row.in_tolerance == false) ++out_of_tolerance;
}

SectionStore::SectionStore(OutputSet& outputs, const std::string& path, const Outline& outline,
                           const std::string& nominal, const std::string& measured,
                           const std::optional<Tolerance>& tolerance,
                           const std::optional<SectionFrame>& frame,
                           std::optional<double> max_height)
    : path_(path), outline_(outline), tolerance_(tolerance) {
    open(outputs);
    for (const Contour& contour : outline.contours)
        figures_.emplace_back(static_cast<std::size_t>(contour.size()));
    section_ = new_record(section_kind);
    section_->name(outline.title.empty() ? nominal.c_str() : outline.title.c_str());
    put(*section_, RecordKey::program, std::string("velm-inspect " VELM_VERSION_STRING));
    put(*section_, RecordKey::nominal, nominal);
    put(*section_, RecordKey::measured, measured);
    put_tolerance(*section_, tolerance);
    if (frame) put_frame(*section_, *frame);
    if (max_height) put(*section_, RecordKey::max_height, *max_height);
    save(section_);
}

SectionStore::~SectionStore() = default;

void SectionStore::open(OutputSet& outputs) {
    const std::string working_copy = outputs.add_by_name(path_);
    with_store(
        path_,
        [&] {
            lock_ = lock_existing(path_);
            if (lock_) copy(*lock_, working_copy);
        },
        working_copy);
    if (lock_) {
        require_store(working_copy, path_);
        require_true_counters(working_copy, path_);
    }
    check(database_.Open(working_copy.c_str(), 0));
}

// The codes are the causes of file exceptions.
void SectionStore::check(gmErrorCode code) const {
    if (code == gmSuccess) return;
    with_store(path_, [&] {
        AfxThrowFileException(code == gmFileRefused ? gmInvalidFile : code, -1, path_.c_str());
    });
}

void SectionStore::save(const t_SmartPtr<ERDBObject>& record) {
    check(database_.save(t_SmartPtr<ERObject>(record.get())));
}

void SectionStore::add(const SectionRow& row) {
    const Comparison& found = row.comparison;
    figures_[static_cast<std::size_t>(found.contour)][static_cast<std::size_t>(found.edge)].add(
        row);
    const t_SmartPtr<ERDBObject> point = new_record(point_kind);
    point->property(static_cast<long>(RecordKey::section), section_->getObjectID());
    put(*point, RecordKey::point_id, row.id);
    put_measured(*point, row);
    put(*point, RecordKey::foot_x, found.foot.x());
    put(*point, RecordKey::foot_y, found.foot.y());
    point->property(static_cast<long>(RecordKey::contour), found.contour);
    point->property(static_cast<long>(RecordKey::edge), found.edge);
    put(*point, RecordKey::distance, found.distance);
    put(*point, RecordKey::deviation, row.deviation);
    if (row.in_tolerance)
        point->property(static_cast<long>(RecordKey::within), *row.in_tolerance ? 1 : 0);
    save(point);
}

void SectionStore::save_edge(int contour, int edge, const EdgeFigures& figures) {
    const t_SmartPtr<ERDBObject> record = new_record(edge_kind);
    record->object(entity_of(outline_.contours[static_cast<std::size_t>(contour)], edge));
    record->name(("contour " + std::to_string(contour) + " edge " + std::to_string(edge)).c_str());
    record->level(contour);
    record->level_name(contour == 0 ? "outer" : "hole");
    const Colour colour = !tolerance_ || figures.count == 0 ? not_judged
                          : figures.out_of_tolerance > 0    ? out_of_tolerance
                                                            : in_tolerance;
    record->color(colour.number);
    record->color_rgb(colour.rgb);
    record->property(static_cast<long>(RecordKey::section), section_->getObjectID());
    record->property(static_cast<long>(RecordKey::contour), contour);
    record->property(static_cast<long>(RecordKey::edge), edge);
    put_tolerance(*record, tolerance_);
    put_count(*record, RecordKey::count, figures.count);
    if (tolerance_) {
        put_count(*record, RecordKey::in_tolerance, figures.count - figures.out_of_tolerance);
        put_count(*record, RecordKey::out_of_tolerance, figures.out_of_tolerance);
    }
    if (figures.count > 0) {
        put(*record, RecordKey::minimum, figures.minimum);
        put(*record, RecordKey::maximum, figures.maximum);
    }
    save(record);
}

void SectionStore::finish(const Summary& summary) {
    for (std::size_t contour = 0; contour < figures_.size(); ++contour)
        for (std::size_t edge = 0; edge < figures_[contour].size(); ++edge)
            save_edge(static_cast<int>(contour), static_cast<int>(edge), figures_[contour][edge]);
    put_summary(*section_, summary);
    if (!section_->Save(nullptr)) throw Failure(ExitCode::file, path_ + ": can't be written");
    check(database_.Close());
}

} // namespace velm::inspect
