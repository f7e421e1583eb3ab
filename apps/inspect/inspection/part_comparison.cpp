#include "inspect/inspection/part_comparison.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>
#include <numbers>
#include <thread>
#include <vector>

namespace velm::inspect {
namespace {

SurfacePlace place_of(const PartFoot& foot) {
    if (foot.kind == SurfaceFootKind::corner) return SurfacePlace::corner;
    return foot.loop >= 0 || foot.kind == SurfaceFootKind::edge ? SurfacePlace::edge
                                                                : SurfacePlace::interior;
}

// A direction the other way round leads to a place that isn't there, or to the far wall: what makes
// a place `nearer` is far beyond any deviation that is still measured against the right wall of a
// thin part.
constexpr double nearer = 10.0;

} // namespace

void share_work(std::size_t count, std::size_t block, int threads,
                const std::function<void(std::size_t from, std::size_t to)>& work) {
    std::atomic<std::size_t> next{0};
    std::exception_ptr failure;
    std::mutex guard;
    const auto run = [&] {
        try {
            for (;;) {
                const std::size_t from = next.fetch_add(block);
                if (from >= count) return;
                work(from, std::min(from + block, count));
            }
        } catch (...) {
            const std::lock_guard lock(guard);
            failure = std::current_exception();
        }
    };
    std::vector<std::thread> others;
    const std::size_t blocks = (count + block - 1) / block;
    for (std::size_t n = 1; n < std::min(static_cast<std::size_t>(threads), blocks); ++n)
        others.emplace_back(run);
    run();
    for (std::thread& other : others)
        other.join();
    if (failure) std::rethrow_exception(failure);
}

PartSearch PartComparison::search(double radius) const {
    PartSearch search;
    search.max_angle = options_.max_angle * std::numbers::pi / 180.0;
    if (options_.max_distance) search.max_distance = *options_.max_distance + radius;
    return search;
}

PartFoot PartComparison::foot_of(const ERPoint3D& p, double radius,
                                 const std::optional<ERVector3D>& direction,
                                 const std::optional<PartFoot>& hint) const {
    PartSearch search = this->search(radius);
    search.direction = direction;
    search.hint = hint;
    PartFoot foot = part_.nearest(p, search);
    // The place may be on the other side of the ball's centre.
    if (options_.max_distance && std::fabs(foot.signed_distance - radius) > *options_.max_distance)
        foot.face = -1;
    return foot;
}

// Whether the point belongs only to a place that faces the other way.
bool PartComparison::is_reversed(const SurfaceRow& row) const {
    PartSearch search = this->search(row.diameter / 2.0);
    search.direction = -*row.direction;
    if (row.found) {
        const double distance = std::fabs(row.found->distance);
        if (distance <= row.diameter) return false;
        search.max_distance = distance / nearer - row.diameter / 2.0;
        if (!(search.max_distance > 0.0)) return false;
    }
    return part_.nearest(row.measured, search).face >= 0;
}

void PartComparison::compare_block(std::span<SurfaceRow> rows) {
    std::optional<PartFoot> hint;
    for (SurfaceRow& row : rows) {
        row.found.reset();
        row.deviation = 0.0;
        const PartFoot foot = foot_of(row.measured, row.diameter / 2.0, row.direction, hint);
        if (foot.face >= 0) {
            row.found = SurfaceFind{foot.point, foot.outward, foot.face, place_of(foot),
                                    foot.signed_distance};
            row.deviation = foot.signed_distance - row.diameter / 2.0;
            if (!foot.certified) ++uncertain_;
            hint = foot;
        } else {
            ++unassigned_;
        }
        row.is_assigned = row.found.has_value();
        if (!row.direction) continue;
        ++directed_;
        if (is_reversed(row)) ++reversed_;
    }
}

void PartComparison::compare(std::span<SurfaceRow> rows) {
    share_work(rows.size(), block, options_.threads, [&](std::size_t from, std::size_t to) {
        compare_block(rows.subspan(from, to - from));
    });
}

ComparisonCounts PartComparison::counts() const {
    return {directed_, unassigned_, reversed_, uncertain_};
}

} // namespace velm::inspect
