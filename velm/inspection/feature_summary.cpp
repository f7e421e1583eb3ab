#include "velm/inspection/feature_summary.h"

#include "velm/inspection/detail/field_list.h"

#include <algorithm>

namespace velm {

template <>
std::span<const Field> fields_of<FeatureFigures>() {
    using All = FeatureFigures;
    using F = detail::FieldList<All>;
    constexpr FieldTraits shown{.shown = Shown::in_tables};
    constexpr FieldTraits length{.unit = FieldUnit::length, .shown = Shown::in_tables};
    constexpr FieldTraits capability{.shown = Shown::in_tables};
    static constexpr Field fields[] = {
        F::field<&All::feature>("feature", shown),
        F::field<&All::count>("count", shown),
        F::field<&All::minimum>("minimum", length),
        F::field<&All::maximum>("maximum", length),
        F::field<&All::mean>("mean", length),
        F::field<&All::form>("form", length),
        F::field<&All::out_of_tolerance>("out_of_tolerance", shown),
        F::field<&All::in_tolerance>("in_tolerance",
                                     {.shown = Shown::in_tables, .heading = "tolerance"}),
        F::field<&All::cp>("cp", capability),
        F::field<&All::cpk>("cpk", capability),
    };
    return fields;
}

template <>
std::span<const Field> fields_of<PartFigures>() {
    using All = PartFigures;
    using F = detail::FieldList<All>;
    constexpr FieldTraits shown{.shown = Shown::in_tables};
    static constexpr Field fields[] = {
        F::field<&All::part>("part", shown),
        F::field<&All::count>("count", shown),
        F::field<&All::out_of_tolerance>("out_of_tolerance", shown),
        F::field<&All::in_tolerance>("in_tolerance",
                                     {.shown = Shown::in_tables, .heading = "tolerance"}),
    };
    return fields;
}

std::string_view named_feature(std::string_view id) {
    const std::size_t last = id.find_last_not_of("0123456789");
    if (last == std::string_view::npos || last + 1 == id.size() || id[last] != ' ') return {};
    const std::string_view name = id.substr(0, id.find_last_not_of(' ', last) + 1);
    return name.find_first_not_of("0123456789 ") == std::string_view::npos ? std::string_view()
                                                                           : name;
}

void FeatureSummary::add(const Judged& point) {
    const std::string name = kind_ == by_feature ? point.feature
                             : kind_ == by_id    ? point.id
                             : kind_ == by_part  ? point.part
                                                 : std::string(named_feature(point.id));
    if (name.empty()) return;
    const auto [at, is_new] = places_.try_emplace(name, groups_.size());
    if (is_new) groups_.push_back({name, {}, {}, 0, 0, 0, point.limits, false});
    Group& group = groups_[at->second];
    ++group.count;
    if (!point.is_assigned) return;
    (point.is_distance ? group.distances : group.deviations).add(point.deviation);
    if (point.in_tolerance) ++group.judged;
    if (point.in_tolerance == false) ++group.out_of_tolerance;
    const auto same = [](const std::optional<Tolerance>& a, const std::optional<Tolerance>& b) {
        return a.has_value() == b.has_value() &&
               (!a || (a->lower == b->lower && a->upper == b->upper));
    };
    if (!same(group.limits, point.limits)) group.has_other_limits = true;
}

std::vector<FeatureFigures> FeatureSummary::figures(const std::optional<Tolerance>& tolerance,
                                                    bool has_parts) const {
    std::vector<FeatureFigures> figures;
    for (const Group& group : groups_) {
        FeatureFigures& one = figures.emplace_back();
        one.feature = group.name;
        one.count = group.count;
        if (group.judged > 0) {
            one.out_of_tolerance = group.out_of_tolerance;
            one.in_tolerance = group.out_of_tolerance == 0;
        }
        const RunningStatistics& found =
            group.deviations.count() > 0 ? group.deviations : group.distances;
        if (found.count() == 0) continue;
        one.minimum = found.minimum();
        one.maximum = found.maximum();
        one.mean = found.mean();
        one.form = found.maximum() - found.minimum();
        const std::optional<Tolerance>& limits = group.limits ? group.limits : tolerance;
        const double deviation = found.standard_deviation();
        if (!has_parts || !limits || group.has_other_limits || !(deviation > 0.0)) continue;
        one.cp = (limits->upper - limits->lower) / (6.0 * deviation);
        one.cpk = std::min(limits->upper - found.mean(), found.mean() - limits->lower) /
                  (3.0 * deviation);
    }
    return figures;
}

std::vector<PartFigures> FeatureSummary::parts() const {
    std::vector<PartFigures> parts;
    for (const Group& group : groups_) {
        PartFigures& one = parts.emplace_back(PartFigures{group.name, group.count, {}, {}});
        if (group.judged == 0) continue;
        one.out_of_tolerance = group.out_of_tolerance;
        one.in_tolerance = group.out_of_tolerance == 0;
    }
    return parts;
}

} // namespace velm
