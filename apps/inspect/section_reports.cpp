#include "inspect/section_reports.h"

#include <initializer_list>

#include "inspect/number_text.h"
#include "inspect/text_escape.h"
#include "velm/version.h"

namespace velm::inspect {
namespace {

void append_pair(std::string& out, const ERPoint2D& p) {
    out += '[';
    append_number(out, p.x());
    out += ',';
    append_number(out, p.y());
    out += ']';
}

const char* truth(const std::optional<bool>& value, const char* unknown) {
    return !value ? unknown : *value ? "true" : "false";
}

} // namespace

SectionJson::SectionJson(Output& output, const std::string& nominal, const std::string& measured,
                         const std::optional<Tolerance>& tolerance)
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
    text_ += ",\n \"points\":[";
    output_.write(text_);
}

void SectionJson::add(const SectionRow& row) {
    text_ = first_ ? "\n  {\"id\":" : ",\n  {\"id\":";
    first_ = false;
    append_json_string(text_, row.id, ascii_);
    text_ += ",\"measured\":";
    append_pair(text_, row.measured);
    text_ += ",\"foot\":";
    append_pair(text_, row.comparison.foot);
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

SectionCsv::SectionCsv(Output& output) : output_(output), on_terminal_(output.is_terminal()) {
    output_.write("id,measured_x,measured_y,foot_x,foot_y,contour,distance,deviation,"
                  "in_tolerance\n");
}

void SectionCsv::add(const SectionRow& row) {
    text_.clear();
    append_csv_field(text_, on_terminal_ ? terminal_text(row.id) : row.id);
    const ERPoint2D& foot = row.comparison.foot;
    for (const double value : {row.measured.x(), row.measured.y(), foot.x(), foot.y()}) {
        text_ += ',';
        append_number(text_, value);
    }
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
