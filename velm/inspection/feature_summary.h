// FeatureSummary, PartSummary: the figures of the points that belong together.
//
//     velm::FeatureSummary features(velm::FeatureSummary::by_feature);
//     for (const velm::SectionRow& row : rows) features.add(row);
//     for (const velm::FeatureFigures& feature : features.figures())
//         velm::describe(feature).each(...);
#pragma once

#include "velm/inspection/summary.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velm {

/// One feature: a bore, an edge, or a point that several parts have.
struct FeatureFigures {
    std::string feature;
    std::uint64_t count = 0;
    std::optional<double> minimum, maximum, mean; ///< none where no point has a place
    std::optional<double> form;                   ///< greatest deviation less least
    std::optional<std::uint64_t> out_of_tolerance;
    std::optional<bool> in_tolerance; ///< whether all of its points are
    /// Of several parts with a tolerance: its width, or the distance of the mean from the nearer
    /// limit, by six or three standard deviations (over n - 1) of all points of the feature.
    std::optional<double> cp, cpk;
};
template <>
VELM_API std::span<const Field> fields_of<FeatureFigures>();

/// One part of several in a table.
struct PartFigures {
    std::string part;
    std::uint64_t count = 0;
    std::optional<std::uint64_t> out_of_tolerance;
    std::optional<bool> in_tolerance;
};
template <>
VELM_API std::span<const Field> fields_of<PartFigures>();

/// Gathers the points of groups, in the order of their first points. Points that name no group are
/// left out. Deviations with a sign count where a group has any, distances without one otherwise.
class VELM_API FeatureSummary {
public:
    /// by_name: by the feature that an id names, "bore" in "bore 7", see `named_feature`.
    enum Kind { by_feature, by_id, by_part, by_name };
    explicit FeatureSummary(Kind kind) : kind_(kind) {}

    void add(const Judged& point);
    std::size_t size() const { return groups_.size(); }
    /// `tolerance` is that of points without limits of their own; `has_parts`: with cp and cpk.
    std::vector<FeatureFigures> figures(const std::optional<Tolerance>& tolerance,
                                        bool has_parts) const;
    std::vector<PartFigures> parts() const;

private:
    struct Group {
        std::string name;
        RunningStatistics deviations, distances;
        std::uint64_t count = 0, judged = 0, out_of_tolerance = 0;
        std::optional<Tolerance> limits; // of its points, if they are the same
        bool has_other_limits = false;
    };
    Kind kind_;
    std::vector<Group> groups_;
    std::unordered_map<std::string, std::size_t> places_;
};

/// The name before the number of an id such as "bore 7"; empty for any other id.
VELM_API std::string_view named_feature(std::string_view id);

} // namespace velm
