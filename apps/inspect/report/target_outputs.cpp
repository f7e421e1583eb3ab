#include "inspect/report/target_outputs.h"

namespace velm::inspect {

TargetOutputs::TargetOutputs(const TargetHead& head, const OutputPaths& paths)
    : head_(head), quiet_(paths.quiet) {
    summary_.tolerance = head.tolerance;
    Output* const json = outputs_.add_if_asked(paths.json);
    Output* const csv = outputs_.add_if_asked(paths.csv);
    html_ = outputs_.add_if_asked(paths.html);
    if (json != nullptr) json_ = std::make_unique<TargetJson>(*json, head);
    if (csv != nullptr) csv_ = std::make_unique<TargetCsv>(*csv, head.alignment.has_value());
}

void TargetOutputs::add(const TargetRow& row) {
    summary_.add(row);
    kept_.add(row);
    if (json_) json_->add(row);
    if (csv_) csv_->add(row);
    if (html_ != nullptr) rows_.push_back(row);
}

void TargetOutputs::finish() {
    if (json_) json_->finish(summary_);
    if (html_ != nullptr) html_->write(target_page(rows_, summary_, head_));
    if (Output* const table = outputs_.add_text(quiet_))
        table->write(target_table(kept_, summary_, head_));
    outputs_.commit();
}

} // namespace velm::inspect
