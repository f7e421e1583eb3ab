#include "inspect/section_reports.h"

#include <initializer_list>
#include <utility>

#include "inspect/number_text.h"
#include "inspect/text_escape.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

void append_list(std::string& out, std::initializer_list<double> numbers) {
    char before = '[';
    for (const double number : numbers) {
        out += before;
        append_number(out, number);
        before = ',';
    }
    out += ']';
}

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

const char* truth(const std::optional<bool>& value, const char* unknown) {
    return !value ? unknown : *value ? "true" : "false";
}

} // namespace

SectionJson::SectionJson(Output& output, const std::string& nominal, const std::string& measured,
                         const std::optional<Tolerance>& tolerance,
                         const std::optional<SectionFrame>& frame)
    : output_(output), ascii_(output.is_terminal()) {
    text_ = "{\"velm\":\"" VELM_VERSION_STRING "\",\"command\":\"section\",\"nominal\":";
    append_json_string(text_, nominal, ascii_);
    text_ += ",\"measured\":";
    append_json_string(text_, measured, ascii_);
    text_ += ",\"tolerance\":";
    if (tolerance) {
        text_ += "{\"lower\":";
        append_number(text_, tolerance->lower);
        text_ += ",\"upper\":";
        append_number(text_, tolerance->upper);
        text_ += '}';
    } else {
        text_ += "null";
    }
    if (frame) append_frame(text_, *frame);
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
    text_ += ",\"foot\":";
    append_list(text_, {row.comparison.foot.x(), row.comparison.foot.y()});
    text_ += ",\"contour\":" + std::to_string(row.comparison.contour) + ",\"distance\":";
    append_number(text_, row.comparison.distance);
    text_ += ",\"deviation\":";
    append_number(text_, row.deviation);
    text_ += ",\"in_tolerance\":";
    text_ += truth(row.in_tolerance, "null");
    text_ += '}';
    output_.write(text_);
}

void SectionJson::finish(const SectionSummary& summary) {
    const RunningStatistics& deviations = summary.deviations;
    const auto counted = [&](std::uint64_t count) {
        return summary.tolerance ? std::to_string(count) : std::string("null");
    };
    text_ = "],\n \"summary\":{\"count\":" + std::to_string(deviations.count()) +
            ",\"in_tolerance\":" + counted(summary.in_tolerance) +
            ",\"out_of_tolerance\":" + counted(summary.out_of_tolerance) +
            ",\"minimum\":" + shortest(deviations.minimum()) +
            ",\"maximum\":" + shortest(deviations.maximum()) +
            ",\"mean\":" + shortest(deviations.mean()) +
            ",\n            \"standard_deviation\":" + shortest(deviations.standard_deviation()) +
            ",\"rms\":" + shortest(deviations.root_mean_square()) + ",\"worst\":{\"id\":";
    append_json_string(text_, summary.worst_id, ascii_);
    text_ += ",\"deviation\":" + shortest(summary.worst_deviation) + "}}}\n";
    output_.write(text_);
}

SectionCsv::SectionCsv(Output& output, bool has_frame)
    : output_(output), on_terminal_(output.is_terminal()) {
    output_.write(std::string("id,measured_x,measured_y,") +
                  (has_frame ? "measured_z,height," : "") +
                  "foot_x,foot_y,contour,distance,deviation,in_tolerance\n");
}

void SectionCsv::add(const SectionRow& row) {
    text_.clear();
    append_csv_field(text_, on_terminal_ ? terminal_text(row.id) : row.id);
    const auto append = [&](std::initializer_list<double> values) {
        for (const double value : values) {
            text_ += ',';
            append_number(text_, value);
        }
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
    text_ += truth(row.in_tolerance, "");
    text_ += '\n';
    output_.write(text_);
}

} // namespace velm::inspect
