// archive_forms.h: the forms in which a document of an inspection holds its values: `exchange`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "velm/inspection/applied_alignment.h"
#include "velm/inspection/section_result.h"
#include "velm/inspection/summary.h"
#include "velm/inspection/target_result.h"
#include "velm/measure/target_point.h"
#include "velm/planar/contour.h"
#include "velm/platform/archive.h"

namespace velm::inspect {

// `exchange` stores a value in an archive or loads it, as the archive goes: one form for both.
// Loading throws a CArchiveException* about what can't be right, as a number that isn't finite; the
// value is to be given up then.
void exchange(CArchive& archive, bool& value); ///< a byte, 0 or 1
void exchange(CArchive& archive, int& value);  ///< a DWORD up to 2^31 - 1
void exchange(CArchive& archive, std::uint64_t& value);
void exchange(CArchive& archive, double& value);
void exchange(CArchive& archive, std::string& text);
/// A count and the numbers, no more than the archive holds.
void exchange(CArchive& archive, std::vector<double>& numbers);
void exchange(CArchive& archive, ERPoint2D& point);
void exchange(CArchive& archive, ERPoint3D& point);
void exchange(CArchive& archive, ERVector2D& vector); ///< two doubles
void exchange(CArchive& archive, ERVector3D& vector);
void exchange(CArchive& archive, gmTargetPoint& target); ///< its archive form
void exchange(CArchive& archive, Tolerance& tolerance);
void exchange(CArchive& archive, AppliedAlignment& alignment);

/// A byte, whether there is a value, and the value.
template <class Value>
void exchange(CArchive& archive, std::optional<Value>& value) {
    bool is_there = value.has_value();
    exchange(archive, is_there);
    if (!is_there)
        value.reset();
    else
        exchange(archive, value ? *value : value.emplace());
}

/// One behind the other.
template <class First, class Second, class... More>
void exchange(CArchive& archive, First& first, Second& second, More&... more) {
    exchange(archive, first);
    exchange(archive, second, more...);
}

void exchange(CArchive& archive, SectionHead& head);
void exchange(CArchive& archive, TargetHead& head);

/// The outline with an identifier for each edge. `nominal` names its file. What is loaded is an
/// outline as a file of one gives it.
void exchange_outline(CArchive& archive, Outline& outline, SectionHead& head);

/// A point of a section with this head. The target holds what is told of it in space.
void exchange_row(CArchive& archive, SectionRow& row, gmTargetPoint& target,
                  const SectionHead& head);

void exchange_row(CArchive& archive, TargetRow& row, const TargetHead& head);

/// The figures over all points.
struct ArchivedFigures {
    std::uint64_t count = 0, in_tolerance = 0, out_of_tolerance = 0;
    double minimum = 0.0, maximum = 0.0, mean = 0.0, standard_deviation = 0.0, rms = 0.0;
    std::string worst_id;
    double worst_deviation = 0.0;

    ArchivedFigures() = default;
    explicit ArchivedFigures(const Summary& summary);
};
void exchange(CArchive& archive, ArchivedFigures& figures);

} // namespace velm::inspect
