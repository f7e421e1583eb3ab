#include "inspect/report/section_outputs.h"

#include "inspect/report/section_table.h"

namespace velm::inspect {

SectionOutputs::SectionOutputs(const SectionHead& head, const Outline& outline,
                               const OutputPaths& paths)
    : head_(head), quiet_(paths.quiet), picture_(head, outline) {
    summary_.tolerance = head.tolerance;
    Output* const json = outputs_.add_if_asked(paths.json);
    Output* const csv = outputs_.add_if_asked(paths.csv);
    svg_ = outputs_.add_if_asked(paths.svg);
    html_ = outputs_.add_if_asked(paths.html);
    if (json != nullptr) json_ = std::make_unique<SectionJson>(*json, head);
    if (csv != nullptr) csv_ = std::make_unique<SectionCsv>(*csv, head);
    if (html_ != nullptr) page_ = std::make_unique<SectionPage>(head, outline);
}

void SectionOutputs::add(const SectionRow& row) {
    summary_.add(row);
    ++places_[static_cast<std::size_t>(row.comparison.place)];
    rows_.add(row);
    if (json_) json_->add(row);
    if (csv_) csv_->add(row);
    if (page_) page_->add(row);
    if (svg_ != nullptr || page_) picture_.add(row);
}

void SectionOutputs::finish() {
    if (json_) json_->finish(summary_);
    if (svg_ != nullptr) svg_->write(picture_.svg(summary_, rows_.worst()));
    if (page_) html_->write(page_->html(summary_, picture_, rows_.worst()));
    if (Output* const table = outputs_.add_text(quiet_))
        table->write(section_table(rows_, summary_, places_, head_));
    outputs_.commit();
}

} // namespace velm::inspect
