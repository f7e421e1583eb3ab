#include "inspect/report/point_groups.h"

#include "inspect/report/field_columns.h"

#include <string_view>

namespace velm::inspect {
namespace {

template <class Subject>
std::string text_of(const std::vector<Subject>& subjects, int decimals) {
    std::vector<Described> rows;
    for (const Subject& subject : subjects)
        rows.push_back(describe(subject));
    return rows_text(rows, decimals) + "\n";
}

// The first field of a subject is its name.
template <class Subject, class IsIn>
ReportPage::Points table_of(const char* heading, const std::vector<Subject>& subjects, int decimals,
                            std::string Subject::*name, bool has_capability, IsIn is_in) {
    std::vector<std::string_view> left_out{fields_of<Subject>().front().name};
    if (!has_capability) left_out.insert(left_out.end(), {"cp", "cpk"});
    ReportPage::Points table{heading, {}, {}};
    for (const Subject& subject : subjects) {
        const PageColumns columns(describe(subject), "out_of_tolerance", left_out);
        if (table.columns.empty()) table.columns = columns.headings();
        std::vector<std::string> cells = columns.cells(describe(subject), decimals);
        cells.resize(table.columns.size());
        table.rows.push_back({subject.*name, std::move(cells), is_in(subject)});
    }
    return table;
}

} // namespace

PointGroups::PointGroups(const InspectionHead& head)
    : has_parts_(head.has_parts),
      features_(head.has_features ? FeatureSummary::by_feature : FeatureSummary::by_id),
      parts_(FeatureSummary::by_part) {}

void PointGroups::add(const Judged& point) {
    features_.add(point);
    if (has_parts_) parts_.add(point);
}

std::vector<FeatureFigures> PointGroups::features(const std::optional<Tolerance>& tolerance) const {
    return features_.figures(tolerance, has_parts_);
}

std::string PointGroups::text(const std::optional<Tolerance>& tolerance, int decimals) const {
    std::string text = has_parts_ ? text_of(parts(), decimals) : "";
    return text + text_of(features(tolerance), decimals);
}

std::vector<ReportPage::Points> PointGroups::tables(const std::optional<Tolerance>& tolerance,
                                                    int decimals) const {
    std::vector<ReportPage::Points> tables;
    if (has_parts_)
        tables.push_back(table_of("Parts", parts(), decimals, &PartFigures::part, false,
                                  [](const PartFigures& part) { return part.in_tolerance; }));
    tables.push_back(table_of("Features", features(tolerance), decimals, &FeatureFigures::feature,
                              has_parts_, [](const FeatureFigures& feature) -> std::optional<bool> {
                                  if (!feature.out_of_tolerance) return std::nullopt;
                                  return *feature.out_of_tolerance == 0;
                              }));
    return tables;
}

} // namespace velm::inspect
