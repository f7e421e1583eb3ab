#include "inspect/report/report_json.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

namespace velm::inspect {

void append_list(std::string& out, std::initializer_list<double> numbers) {
    char before = '[';
    for (const double number : numbers) {
        out += before;
        append_number(out, number);
        before = ',';
    }
    out += ']';
}

void append_tolerance(std::string& out, const std::optional<Tolerance>& tolerance) {
    out += ",\"tolerance\":";
    if (tolerance) {
        out += "{\"lower\":";
        append_number(out, tolerance->lower);
        out += ",\"upper\":";
        append_number(out, tolerance->upper);
        out += '}';
    } else {
        out += "null";
    }
}

void append_summary(std::string& out, const Summary& summary, bool ascii, const std::string& more) {
    const RunningStatistics& deviations = summary.deviations;
    const auto counted = [&](std::uint64_t count) {
        return summary.tolerance ? std::to_string(count) : std::string("null");
    };
    out += " \"summary\":{\"count\":" + std::to_string(deviations.count()) +
           ",\"in_tolerance\":" + counted(summary.in_tolerance) +
           ",\"out_of_tolerance\":" + counted(summary.out_of_tolerance) +
           ",\"minimum\":" + shortest(deviations.minimum()) +
           ",\"maximum\":" + shortest(deviations.maximum()) +
           ",\"mean\":" + shortest(deviations.mean()) +
           ",\n            \"standard_deviation\":" + shortest(deviations.standard_deviation()) +
           ",\"rms\":" + shortest(deviations.root_mean_square()) + more + ",\"worst\":{\"id\":";
    append_json_string(out, summary.worst_id, ascii);
    out += ",\"deviation\":" + shortest(summary.worst_deviation) + "}}";
}

void append_csv_numbers(std::string& out, std::initializer_list<double> numbers) {
    for (const double number : numbers) {
        out += ',';
        append_number(out, number);
    }
}

const char* truth_text(const std::optional<bool>& value, const char* unknown) {
    return !value ? unknown : *value ? "true" : "false";
}

} // namespace velm::inspect
