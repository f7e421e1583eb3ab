// inspection_outputs.h: `InspectionOutputs`, the common part of the outputs of all kinds of
// inspections.
#pragma once

#include "inspect/base/number_text.h"
#include "inspect/base/output_paths.h"
#include "inspect/base/output_set.h"
#include "inspect/base/shown_rows.h"
#include "inspect/report/csv_report.h"
#include "inspect/report/field_columns.h"
#include "inspect/report/json_report.h"
#include "inspect/report/point_groups.h"
#include "inspect/report/summary_table.h"
#include "velm/inspection/summary.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velm::inspect {

/// Takes the judged rows of an inspection one by one, in their order, and writes the table, the
/// summary and the reports. They depend only on the head, the rows and the kind's additions, so
/// that an inspection read back from a file gives the same bytes. Throws `Failure`.
///
/// A kind derives from it and gives its head for people and its pictures.
template <class Row>
class InspectionOutputs {
public:
    using Head = typename Row::Head;

    InspectionOutputs(std::string_view command, const Head& head, const OutputPaths& paths)
        : head_(head), quiet_(paths.quiet), groups_(head_) {
        summary_.tolerance = head_.tolerance;
        summary_.has_row_limits = head_.has_row_limits;
        const Row any;
        if (Output* const json = outputs_.add_if_asked(paths.json))
            json_.emplace(*json, command, describe(head_));
        if (Output* const csv = outputs_.add_if_asked(paths.csv))
            csv_.emplace(*csv, describe(any, head_), head_.info);
        svg_ = outputs_.add_if_asked(paths.svg);
        html_ = outputs_.add_if_asked(paths.html);
    }
    InspectionOutputs(const InspectionOutputs&) = delete;
    InspectionOutputs& operator=(const InspectionOutputs&) = delete;
    virtual ~InspectionOutputs() = default;

    void add(const Row& row) {
        summary_.add(row);
        groups_.add(row);
        rows_.add(row);
        if (json_) json_->add(describe(row, head_));
        if (csv_) csv_->add(describe(row, head_));
        take(row);
    }
    /// Writes the ends of the reports and commits all outputs.
    void finish() {
        const Figures figures = this->figures();
        if (json_) {
            if (groups_.has_any()) json_->add_list("features", groups_.features());
            if (groups_.has_parts()) json_->add_list("parts", groups_.parts());
            add_lists(*json_);
            json_->finish(describe(figures));
        }
        if (svg_ != nullptr) svg_->write(svg());
        if (html_ != nullptr) html_->write(page());
        finish_files();
        if (Output* const table = outputs_.add_text(quiet_)) {
            const std::size_t worst = rows_.shows_worst() ? rows_.worst().size() : 0;
            const std::string judged = rows_table(false), distances = rows_table(true);
            table->write(group_text() + groups_.text(decimals()) + judged +
                         (judged.empty() || distances.empty() ? "" : "\nwithout a normal:\n") +
                         distances +
                         summary_text(report_head(), figure_lines(), worst, summary_.count()));
        }
        outputs_.commit();
    }

    const Summary& summary() const { return summary_; }
    virtual bool is_in_tolerance() const { return summary_.out_of_tolerance == 0; }
    /// For other outputs that appear together with the reports.
    OutputSet& set() { return outputs_; }

protected:
    Summary& gathered() { return summary_; }
    /// Gathers data of the rows for a kind's pictures and texts.
    virtual void take(const Row&) {}
    virtual Figures figures() const { return summary_.figures(); }
    virtual ReportHead report_head() const = 0;
    virtual std::vector<FigureLine> figure_lines() const {
        return inspect::figure_lines(summary_, decimals());
    }
    /// Ends files that only this kind has.
    virtual void finish_files() {}
    /// Tables of a kind's own above that of the points, and its lists in JSON.
    virtual std::string group_text() const { return {}; }
    virtual void add_lists(JsonReport&) const {}
    virtual std::string svg() const { return {}; }
    virtual std::string page() const { return {}; }
    int decimals() const { return shown_decimals(head_, summary_); }

    const Head& head() const { return head_; }
    const KeptRows<Row>& rows() const { return rows_; }
    /// The worst points, if there are many, then parts and features: for a page's beginning.
    std::vector<ReportPage::Points> group_tables(const char* value_name = "deviation") const {
        constexpr std::size_t most = 5, few = 10;
        std::vector<ReportPage::Points> tables = groups_.tables(decimals());
        if (summary_.count() <= few) return tables;
        ReportPage::Points worst{"Worst points", {value_name}, {}};
        if (groups_.has_parts()) worst.columns.emplace_back("part");
        for (const Row& row : rows_.worst()) {
            if (!row.is_assigned || worst.rows.size() == most) continue;
            worst.rows.push_back({row.id, {fixed(row.deviation, decimals())}, row.in_tolerance});
            if (groups_.has_parts()) worst.rows.back().cells.push_back(row.part);
        }
        tables.insert(tables.begin(), std::move(worst));
        return tables;
    }
    bool has_page() const { return html_ != nullptr; }
    bool has_picture() const { return svg_ != nullptr || has_page(); }

private:
    // The rows shown, of one kind of deviation.
    std::string rows_table(bool is_distance) const {
        std::vector<Described> shown;
        for (const Row& row : rows_.shown())
            if (row.is_distance == is_distance) shown.push_back(describe(row, head_));
        return rows_text(shown, decimals());
    }

    Head head_;
    OutputSet outputs_;
    bool quiet_;
    std::optional<JsonReport> json_;
    std::optional<CsvReport> csv_;
    Output* svg_ = nullptr;
    Output* html_ = nullptr;
    KeptRows<Row> rows_;
    Summary summary_;
    PointGroups groups_;
};

} // namespace velm::inspect
