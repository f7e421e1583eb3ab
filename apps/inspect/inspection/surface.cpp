#include "inspect/inspection/surface.h"

#include "inspect/input/file_date.h"
#include "inspect/inspection/held_points.h"
#include "inspect/inspection/part_comparison.h"
#include "inspect/inspection/surface_alignment.h"
#include "inspect/keep/archive_file.h"
#include "inspect/keep/store_file.h"
#include "inspect/keep/store_writer.h"
#include "inspect/report/surface_outputs.h"

#include <cmath>
#include <functional>
#include <future>
#include <limits>
#include <utility>

namespace velm::inspect {
namespace {

constexpr std::size_t rows_at_once = 8192;

SurfaceHead head_of(const SurfaceOptions& options, const NominalSurfaces& nominal,
                    const ProbedPoints& points) {
    SurfaceHead head;
    head.nominal = options.nominal.path;
    head.measured = options.measured;
    head.tolerance = options.probed.tolerance;
    points.describe(head);
    nominal.describe(head);
    if (points.has_directions()) head.max_angle = options.max_angle;
    head.max_distance = options.max_distance;
    head.info = options.info;
    fill_in_date(head.info, options.measured);
    head.decimals = options.decimals;
    return head;
}

// Refuses points that the object file can't take, before anything is written.
class StoreRoom {
public:
    explicit StoreRoom(const OutputPaths& paths) {
        // A point's record, target and entries in two trees, as they are measured, at the least.
        constexpr std::uint64_t bytes_of_point = 440;
        if (paths.store) most_ = room_in_store(*paths.store) / bytes_of_point;
    }
    void require(std::uint64_t count, const ProbedPoints& points, bool is_all = true) const {
        if (count > most_)
            throw SurfaceRefusal{SurfaceFault::too_many_to_store, points.name(), is_all ? count : 0,
                                 most_};
    }

private:
    std::uint64_t most_ = std::numeric_limits<std::uint64_t>::max();
};

// Gives rows one by one; false after the last.
using NextRow = std::function<bool(SurfaceRow&)>;

// Passes all rows on, compared: while one batch is taken, the next one is compared by other
// threads.
template <class Take>
void each_compared(const NextRow& next_row, PartComparison& comparison, Take take) {
    bool is_over = false;
    const auto read = [&] {
        std::vector<SurfaceRow> rows;
        SurfaceRow row;
        while (rows.size() < rows_at_once && !is_over) {
            is_over = !next_row(row);
            if (!is_over) rows.push_back(std::move(row));
        }
        return rows;
    };
    std::vector<SurfaceRow> now = read(), next;
    comparison.compare(now);
    while (!now.empty()) {
        next = read();
        std::future<void> other;
        if (comparison.threads() > 1)
            other = std::async(std::launch::async, [&] { comparison.compare(next); });
        for (SurfaceRow& row : now)
            take(row);
        if (other.valid())
            other.get();
        else
            comparison.compare(next);
        now.swap(next);
    }
}

// The points where an alignment moves them, each with its deviation before.
class MovedPoints {
public:
    MovedPoints(ProbedPoints& points, const NominalSurfaces& nominal, const SurfaceOptions& options,
                Progress& progress)
        : nominal_(nominal), options_(options), progress_(progress) {
        for (SurfaceRow row; points.next(row); points.show(progress))
            held_.add(row);
        progress.clear();
    }

    // The motion, with the deviations before and after.
    AppliedAlignment align(const SurfaceHead& head, const std::string& name) {
        PartComparison without_limit(nominal_.part(),
                                     {options_.max_angle, std::nullopt, options_.threads});
        motion_ =
            options_.moving.references
                ? fit_to_references(held_, without_limit, head, *options_.moving.references, name)
                : fit_to_surfaces(held_, without_limit,
                                  {options_.moving.held, options_.max_distance, name});
        RunningStatistics before, after;
        PartComparison there(nominal_.part(), {options_.max_angle, std::nullopt, options_.threads});
        each_compared(as_measured(), there, [&](const SurfaceRow& row) {
            if (!row.found) return;
            before.add(row.deviation);
            held_.note(row.index) = row.deviation;
        });
        PartComparison here(nominal_.part(),
                            {options_.max_angle, options_.max_distance, options_.threads});
        each_compared(moved(), here, [&](const SurfaceRow& row) {
            if (row.found) after.add(row.deviation);
        });
        if (before.count() > 0) motion_.before = spread_of(before);
        if (after.count() > 0) motion_.after = spread_of(after);
        return motion_;
    }

    std::uint64_t count() const { return held_.size(); }

    NextRow moved() {
        return [this, n = std::size_t{0}](SurfaceRow& row) mutable {
            if (n == held_.size()) return false;
            row = held_.row(n);
            if (const double before = held_.note(n); std::isfinite(before))
                row.deviation_before = before;
            row.as_measured = row.measured;
            row.measured = motion_.moved(row.measured);
            if (row.direction) row.direction = motion_.turned(*row.direction);
            ++n;
            progress_.update(n, n, held_.size());
            return true;
        };
    }

private:
    NextRow as_measured() {
        return [this, n = std::size_t{0}](SurfaceRow& row) mutable {
            if (n == held_.size()) return false;
            row = held_.row(n++);
            return true;
        };
    }

    const NominalSurfaces& nominal_;
    const SurfaceOptions& options_;
    Progress& progress_;
    HeldPoints held_;
    AppliedAlignment motion_;
};

// Notes about points that were compared; refuses them if nothing can have come of it.
void note_counts(const PartComparison& comparison, const SurfaceOptions& options,
                 const ProbedPoints& points, std::uint64_t count, InspectionEnd& end) {
    const ComparisonCounts counts = comparison.counts();
    if (2 * counts.reversed > count)
        throw SurfaceRefusal{SurfaceFault::reversed_directions, points.name(), 0, 0,
                             options.probed.turns_directions};
    if (counts.unassigned == count)
        throw SurfaceRefusal{SurfaceFault::none_assigned, points.name()};
    if (counts.unassigned > 0) {
        UnassignedPoints& note = std::get<UnassignedPoints>(end.notes.emplace_back(
            UnassignedPoints{points.name(), counts.unassigned, "part", options.max_distance, {}}));
        if (counts.directed > 0) note.max_angle = options.max_angle;
    }
    if (counts.uncertain > 0)
        end.notes.emplace_back(UncertainPlaces{points.name(), counts.uncertain});
    for (std::string& note : points.notes())
        end.notes.emplace_back(std::move(note));
}

} // namespace

InspectionEnd inspect_surface(const SurfaceOptions& options, Progress& progress) {
    const NominalSurfaces nominal(options.nominal);
    ProbedPoints points(options.measured, options.probed);
    PartComparison comparison(nominal.part(),
                              {options.max_angle, options.max_distance, options.threads});
    SurfaceHead head = head_of(options, nominal, points);
    const StoreRoom room(options.paths);
    room.require(points.announced(), points);
    std::optional<MovedPoints> moving;
    if (options.moving.best_fit || options.moving.references) {
        moving.emplace(points, nominal, options, progress);
        room.require(moving->count(), points);
        head.alignment = moving->align(head, points.name());
    }
    const OutputPaths& paths = options.paths;
    const bool draws = SurfaceOutputs::need_mesh(paths) || paths.store || paths.archive;
    const NominalMesh mesh = draws ? nominal.mesh() : NominalMesh();

    SurfaceOutputs outputs(head, mesh, paths);
    nominal.keep(outputs.set());
    std::optional<RecordFileWriter<SurfaceRecordWriter>> store;
    if (paths.store) store.emplace(outputs.set(), *paths.store, paths.sync, head, mesh);
    std::optional<ArchiveFileWriter<SurfaceArchiveWriter>> archive;
    if (paths.archive) archive.emplace(outputs.set(), *paths.archive, head, mesh);
    const NextRow next_row = moving ? moving->moved() : [&](SurfaceRow& row) {
        points.show(progress);
        return points.next(row);
    };
    each_compared(next_row, comparison, [&](SurfaceRow& row) {
        room.require(row.index + 1, points, false); // of a stream, which announces nothing
        judge(row, head);
        outputs.add(row);
        if (store) store->add(row);
        if (archive) archive->add(row);
    });
    progress.clear();
    InspectionEnd end;
    end.notes.assign(nominal.notes().begin(), nominal.notes().end());
    note_counts(comparison, options, points, outputs.summary().count(), end);
    if (store) store->finish(outputs.summary());
    if (archive) archive->finish(outputs.summary());
    outputs.finish();
    end.is_in_tolerance = outputs.summary().out_of_tolerance == 0;
    return end;
}

} // namespace velm::inspect
