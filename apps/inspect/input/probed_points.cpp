#include "inspect/input/probed_points.h"

#include "inspect/base/failure.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velm::inspect {
namespace {

constexpr std::size_t bytes_of_magic = 4;

// Coordinates whose squares, and sums of these, are doubles.
constexpr double largest_coordinate = 1e150;

bool is_comparable(const ERPoint3D& p) {
    return std::fabs(p.x()) <= largest_coordinate && std::fabs(p.y()) <= largest_coordinate &&
           std::fabs(p.z()) <= largest_coordinate;
}

constexpr const char* too_far = "the point is too far from the origin to be compared";

} // namespace

ProbedPoints::ProbedPoints(const std::string& path, const ProbedOptions& options)
    : options_(options), path_(path) {
    OpenedInput input = open_input(path);
    name_ = input.name;
    size_ = input.size;
    if (PlyReader::begins(first_bytes(input, bytes_of_magic))) {
        scan_.emplace(std::move(input));
        return;
    }
    source_.emplace(std::move(input));
    table_.emplace(*source_, options.table, true);
    if (!table_->has(Column::z))
        source_->refuse("expected a header with the columns id, x, y and z; missing: z");
}

bool ProbedPoints::has_directions() const {
    return scan_ ? scan_->has_normals()
                 : table_->has(Column::i) || table_->has(Column::j) || table_->has(Column::k);
}

void ProbedPoints::describe(SurfaceHead& head) const {
    if (table_)
        describe_columns(table_->records(), head);
    else if (options_.table.millimetres)
        head.unit = "mm";
}

std::vector<std::string> ProbedPoints::notes() const {
    std::vector<std::string> notes;
    if (table_) notes = table_notes(table_->records(), name_);
    if (const std::string repeated = repeated_.sentence(name_); !repeated.empty())
        notes.push_back(repeated);
    return notes;
}

void ProbedPoints::show(Progress& progress) const {
    progress.update(count_, scan_ ? scan_->bytes_read() : source_->bytes_read(), size_);
}

std::uint64_t ProbedPoints::announced() const {
    if (scan_) return scan_->count();
    if (size_ == 0 || path_ == "-" || table_->has(Column::axis)) return 0; // a point has many lines
    const OpenedInput again = open_input(path_);
    std::vector<char> block(std::size_t{1} << 20);
    std::uint64_t lines = 0;
    while (const std::size_t got = again.read(block.data(), block.size()))
        lines += static_cast<std::uint64_t>(
            std::count(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(got), '\n'));
    return lines;
}

bool ProbedPoints::next(SurfaceRow& row) {
    row = SurfaceRow();
    row.index = count_;
    row.diameter = options_.diameter;
    const bool is_there = scan_ ? next_of_scan(row) : next_of_table(row);
    if (!is_there && count_ == 0)
        throw Failure(FailureKind::input,
                      name_ + ": holds no points; expected at least one measured point");
    if (is_there) ++count_;
    return is_there;
}

bool ProbedPoints::next_of_table(SurfaceRow& row) {
    if (!table_->next(point_)) return false;
    const auto refuse = [&](const char* why) { source_->refuse_at(point_.line, why); };
    row.id = point_.id;
    row.feature = point_.feature;
    row.part = point_.part;
    if (point_.diameter) row.diameter = *point_.diameter;
    if (!point_.z) refuse("column z: expected a number, found nothing");
    row.measured = ERPoint3D(point_.x, point_.y, *point_.z);
    if (!is_comparable(row.measured)) refuse(too_far);
    try {
        row.limits = row_limits(point_.lower, point_.upper, options_.tolerance);
    } catch (const RowFault& fault) {
        refuse(fault.what());
    }
    const auto& [i, j, k] = point_.approach;
    set_direction(row, ERVector3D(i.value_or(0.0), j.value_or(0.0), k.value_or(0.0)));
    if (table_->has(Column::id)) repeated_.add(point_.part, point_.id, point_.line);
    return true;
}

bool ProbedPoints::next_of_scan(SurfaceRow& row) {
    ScanPoint point;
    if (!scan_->next(point)) return false;
    row.id = std::to_string(count_ + 1);
    row.measured = point.place * options_.table.millimetres.value_or(1.0);
    if (!is_comparable(row.measured)) scan_->refuse(too_far);
    if (point.normal) set_direction(row, *point.normal);
    return true;
}

// None where the row has no direction, or one without length.
void ProbedPoints::set_direction(SurfaceRow& row, const ERVector3D& direction) const {
    const double length = std::hypot(direction.i(), direction.j(), direction.k());
    if (!(length > 0.0) || !std::isfinite(length)) return;
    row.direction = direction * ((options_.turns_directions ? -1.0 : 1.0) / length);
}

} // namespace velm::inspect
