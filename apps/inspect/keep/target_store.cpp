#include "inspect/keep/target_store.h"

#include "inspect/keep/alignment_properties.h"
#include "inspect/keep/record_colour.h"
#include "inspect/keep/record_properties.h"
#include "velm/inspection/nominal_entities.h"
#include "velm/version.h"

namespace velm::inspect {

TargetStore::TargetStore(OutputSet& outputs, const std::string& path, const TargetHead& head,
                         bool sync)
    : file_(outputs, path, sync), head_(new_record(targets_kind)) {
    head_->name(head.table_name().c_str());
    put(*head_, RecordKey::program, std::string("velm-inspect " VELM_VERSION_STRING));
    put(*head_, RecordKey::table, head.table);
    put_tolerance(*head_, head.tolerance);
    put_alignment(*head_, head.alignment);
    if (head.skipped) put_count(*head_, RecordKey::skipped, *head.skipped);
    put_identifier(*head_, nominal_point(head, 0));
    file_.save(head_);
}

void TargetStore::add(const TargetRow& row) {
    const t_SmartPtr<ERDBObject> record = new_record(target_kind);
    record->object(t_SmartPtr<ERObject>(row.target.getCopy()));
    put_colour(*record, row.in_tolerance);
    put(*record, RecordKey::targets, head_->getObjectID());
    put(*record, RecordKey::point_id, row.id);
    put(*record, RecordKey::diameter, row.target.measured_point().probe_diameter());
    if (row.target.is_compensated() != 0) {
        put(*record, RecordKey::deviation, row.deviation);
        put(*record, RecordKey::distance_on_plane, row.target.distance_on_plane());
    }
    put(*record, RecordKey::distance, row.target.distance_to_point());
    put_deviation_before(*record, row);
    if (row.in_tolerance) put(*record, RecordKey::within, *row.in_tolerance ? 1 : 0);
    file_.save(record);
}

void TargetStore::finish(const Summary& summary) {
    put_summary(*head_, summary);
    put_count(*head_, RecordKey::records, summary.deviations.count());
    file_.save_again(*head_);
    file_.close();
}

} // namespace velm::inspect
