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
    ReportPage::Points table{heading, {}, {}, std::string(left_out.front())};
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
    : tolerance_(head.tolerance), has_parts_(head.has_parts), has_features_(head.has_features),
      features_(head.has_features ? FeatureSummary::by_feature : FeatureSummary::by_id),
      parts_(FeatureSummary::by_part), names_(FeatureSummary::by_name) {}

void PointGroups::add(const Judged& point) {
    if (has_parts_) parts_.add(point);
    if (!is_by_ids()) return features_.add(point);
    constexpr std::size_t most_repeated = 1000; // ids that would be features themselves
    if (named_feature(point.id).empty()) return;
    ++named_;
    names_.add(point);
    has_too_many_ = has_too_many_ || features_.size() > most_repeated;
    if (!has_too_many_) features_.add(point);
}

const FeatureSummary* PointGroups::shown_features() const {
    if (!is_by_ids()) return &features_;
    if (!has_too_many_ && 2 * features_.size() <= named_ && features_.size() > 1) return &features_;
    // A single name, as in "point 1", "point 2", or a name for each point groups nothing.
    return names_.size() > 1 && 2 * names_.size() <= named_ ? &names_ : nullptr;
}

std::vector<FeatureFigures> PointGroups::features() const {
    const FeatureSummary* const shown = shown_features();
    return shown != nullptr ? shown->figures(tolerance_, has_parts_)
                            : std::vector<FeatureFigures>();
}

std::string PointGroups::text(int decimals) const {
    if (!has_any()) return {};
    const std::string text = has_parts_ ? text_of(parts(), decimals) : "";
    return text + text_of(features(), decimals);
}

std::vector<ReportPage::Points> PointGroups::tables(int decimals) const {
    std::vector<ReportPage::Points> tables;
    if (!has_any()) return tables;
    if (has_parts_)
        tables.push_back(table_of("Parts", parts(), decimals, &PartFigures::part, false,
                                  [](const PartFigures& part) { return part.in_tolerance; }));
    tables.push_back(table_of("Features", features(), decimals, &FeatureFigures::feature,
                              has_parts_,
                              [](const FeatureFigures& one) { return one.in_tolerance; }));
    return tables;
}

} // namespace velm::inspect
