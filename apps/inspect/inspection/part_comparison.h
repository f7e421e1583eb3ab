// part_comparison.h: measured points compared with the faces of a part: `PartComparison`.
#pragma once

#include "velm/inspection/surface_result.h"
#include "velm/surfaces/prepared_part.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace velm::inspect {

/// What was met among the points.
struct ComparisonCounts {
    std::uint64_t directed = 0;   ///< with a direction
    std::uint64_t unassigned = 0; ///< to which no place belongs
    std::uint64_t reversed = 0;   ///< that belong to a place only with the other sign
    std::uint64_t uncertain = 0;  ///< whose place was not proved to be the nearest
};

/// Finds the place of each point: the nearest one, or of a point with a direction the nearest one
/// whose outward normal is within an angle of it. What is found for a point depends on the points
/// before it in the same block of `block` rows, as a start alone, and not on the number of threads.
class PartComparison {
public:
    struct Options {
        double max_angle = 60.0;            ///< degrees
        std::optional<double> max_distance; ///< of a place from the ball: of its deviation
        int threads = 1;
    };
    /// Rows are shared among threads by as many.
    static constexpr std::size_t block = 64;

    /// The part must outlive this.
    PartComparison(const PreparedPart& part, const Options& options)
        : part_(part), options_(options) {}

    /// Sets place and deviation of rows that are not judged yet; thread-safe.
    void compare(std::span<SurfaceRow> rows);
    ComparisonCounts counts() const;
    /// The place of the centre of a ball, near to that of another if one is given.
    PartFoot foot_of(const ERPoint3D& p, double radius, const std::optional<ERVector3D>& direction,
                     const std::optional<PartFoot>& hint) const;
    const PreparedPart& part() const { return part_; }
    int threads() const { return options_.threads; }

private:
    void compare_block(std::span<SurfaceRow> rows);
    bool is_reversed(const SurfaceRow& row) const;
    PartSearch search(double radius) const;

    const PreparedPart& part_;
    Options options_;
    std::atomic<std::uint64_t> directed_{0}, unassigned_{0}, reversed_{0}, uncertain_{0};
};

/// Calls work(from, to) for all parts of `block` items of `count`, from this thread and `threads` -
/// 1 others. An exception of one of them is thrown on.
void share_work(std::size_t count, std::size_t block, int threads,
                const std::function<void(std::size_t from, std::size_t to)>& work);

} // namespace velm::inspect
