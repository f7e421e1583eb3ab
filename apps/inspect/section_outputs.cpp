#include "inspect/section_outputs.h"

#include "inspect/section_table.h"

namespace velm::inspect {

SectionOutputs::SectionOutputs(const SectionHead& head, const Outline& outline,
                               const SectionPaths& paths)
    : head_(head), shows_table_(!paths.quiet), picture_(outline, head.tolerance) {
    summary_.tolerance = head.tolerance;
    Output* const json = prepare(paths.json);
    Output* const csv = prepare(paths.csv);
    svg_ = prepare(paths.svg);
    html_ = prepare(paths.html);
    if (json != nullptr) json_ = std::make_unique<SectionJson>(*json, head);
    if (csv != nullptr) csv_ = std::make_unique<SectionCsv>(*csv, head);
    if (html_ != nullptr) page_ = std::make_unique<SectionPage>(head, outline);
}

// An output on standard output takes the place of the table.
Output* SectionOutputs::prepare(const std::optional<std::string>& path) {
    if (path == "-") shows_table_ = false;
    return path ? &outputs_.add(*path) : nullptr;
}

void SectionOutputs::add(const SectionRow& row) {
    summary_.add(row);
    rows_.add(row);
    if (json_) json_->add(row);
    if (csv_) csv_->add(row);
    if (page_) page_->add(row);
    if (svg_ != nullptr || page_) picture_.add(row);
}

void SectionOutputs::finish() {
    if (json_) json_->finish(summary_);
    if (svg_ != nullptr)
        svg_->write(picture_.svg(summary_, rows_.worst(), head_.nominal, head_.measured));
    if (page_) html_->write(page_->html(summary_, picture_, rows_.worst()));
    if (shows_table_) outputs_.add("-").write(section_table(rows_, summary_, head_));
    outputs_.commit();
}

} // namespace velm::inspect
