#include "inspect/report/section_reports.h"

#include <initializer_list>
#include <utility>

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/report/alignment_report.h"
#include "inspect/report/report_json.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

void append_frame(std::string& out, const SectionFrame& frame) {
    const ERPoint3D origin = frame.origin();
    out += ",\n \"frame\":{\"origin\":";
    append_list(out, {origin.x(), origin.y(), origin.z()});
    const std::pair<const char*, ERVector3D> directions[] = {{"normal", frame.normal()},
                                                             {"first_axis", frame.first_axis()}};
    for (const auto& [name, v] : directions) {
        out += std::string(",\"") + name + "\":";
        append_list(out, {v.i(), v.j(), v.k()});
    }
    out += '}';
}

} // namespace

SectionJson::SectionJson(Output& output, const SectionHead& head)
    : output_(output), ascii_(output.is_terminal()) {
    text_ = "{\"velm\":\"" VELM_VERSION_STRING "\",\"command\":\"section\",\"nominal\":";
    append_json_string(text_, head.nominal, ascii_);
    text_ += ",\"measured\":";
    append_json_string(text_, head.measured, ascii_);
    append_tolerance(text_, head.tolerance);
    if (head.frame) append_frame(text_, *head.frame);
    if (head.alignment) append_alignment(text_, *head.alignment);
    text_ += ",\n \"points\":[";
    output_.write(text_);
}

void SectionJson::add(const SectionRow& row) {
    text_ = first_ ? "\n  {\"id\":" : ",\n  {\"id\":";
    first_ = false;
    append_json_string(text_, row.id, ascii_);
    text_ += ",\"measured\":";
    if (row.space) {
        const ERPoint3D& p = row.space->measured;
        append_list(text_, {p.x(), p.y(), p.z()});
        text_ += ",\"height\":";
        append_number(text_, row.space->height);
    } else {
        append_list(text_, {row.measured.x(), row.measured.y()});
    }
    const auto append_pair = [&](const char* name, const ERPoint2D& p) {
        text_ += name;
        append_list(text_, {p.x(), p.y()});
    };
    if (row.aligned) append_pair(",\"aligned\":", *row.aligned);
    append_pair(",\"foot\":", row.comparison.foot);
    text_ += ",\"contour\":" + std::to_string(row.comparison.contour) + ",\"distance\":";
    append_number(text_, row.comparison.distance);
    text_ += ",\"deviation\":";
    append_number(text_, row.deviation);
    if (row.deviation_before) {
        text_ += ",\"deviation_before\":";
        append_number(text_, *row.deviation_before);
    }
    text_ += ",\"in_tolerance\":";
    text_ += truth_text(row.in_tolerance, "null");
    text_ += ",\"place\":\"" + std::string(name_of_place(row.comparison.place)) + "\"}";
    output_.write(text_);
}

void SectionJson::finish(const Summary& summary) {
    text_ = "],\n";
    append_summary(text_, summary, ascii_);
    text_ += "}\n";
    output_.write(text_);
}

SectionCsv::SectionCsv(Output& output, const SectionHead& head)
    : output_(output), on_terminal_(output.is_terminal()) {
    output_.write(std::string("id,measured_x,measured_y,") +
                  (head.frame ? "measured_z,height," : "") +
                  "foot_x,foot_y,contour,distance,deviation,in_tolerance" +
                  (head.alignment ? ",aligned_x,aligned_y,deviation_before,place\n" : ",place\n"));
}

void SectionCsv::add(const SectionRow& row) {
    text_.clear();
    append_csv_field(text_, on_terminal_ ? terminal_text(row.id) : row.id);
    const auto append = [&](std::initializer_list<double> values) {
        append_csv_numbers(text_, values);
    };
    if (row.space) {
        const ERPoint3D& p = row.space->measured;
        append({p.x(), p.y(), p.z(), row.space->height});
    } else {
        append({row.measured.x(), row.measured.y()});
    }
    append({row.comparison.foot.x(), row.comparison.foot.y()});
    text_ += ',' + std::to_string(row.comparison.contour) + ',';
    append_number(text_, row.comparison.distance);
    text_ += ',';
    append_number(text_, row.deviation);
    text_ += ',';
    text_ += truth_text(row.in_tolerance, "");
    if (row.aligned && row.deviation_before)
        append({row.aligned->x(), row.aligned->y(), *row.deviation_before});
    text_ += ',' + std::string(name_of_place(row.comparison.place)) + '\n';
    output_.write(text_);
}

} // namespace velm::inspect
