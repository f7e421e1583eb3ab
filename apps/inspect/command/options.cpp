#include "inspect/command/options.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/input/dxf_drawing.h"
#include "inspect/result/frame_complaint.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace velm::inspect {
namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& why) {
    throw Failure(FailureKind::usage, name + ": " + why);
}

std::vector<double> numbers_of(const std::string& name, const std::string& text) {
    std::vector<double> numbers;
    const std::string complaint = parse_numbers(text, numbers);
    if (!complaint.empty()) refuse(name, complaint);
    return numbers;
}

} // namespace

Tolerance parse_tolerance(const std::string& name, const std::string& text) {
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() > 2) refuse(name, "expected one or two numbers");
    const Tolerance tolerance =
        values.size() == 1 ? Tolerance{-values[0], values[0]} : Tolerance{values[0], values[1]};
    if (tolerance.lower > tolerance.upper)
        refuse(name, "the lower limit " + shortest(tolerance.lower) + " is above the upper limit " +
                         shortest(tolerance.upper));
    return tolerance;
}

double parse_form_tolerance(const std::string& name, const std::string& text) {
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() != 1 || values[0] < 0.0)
        refuse(name, "expected one number, not negative, which bounds the form; limits of the "
                     "residuals are given by --band LOWER UPPER");
    return values[0];
}

NominalSize parse_size(const std::string& name, const std::string& text) {
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() != 3) refuse(name, "expected three numbers, a diameter and its limits");
    if (!(values[0] > 0.0)) refuse(name, "expected a diameter above 0");
    if (values[1] > values[2])
        refuse(name, "the lower limit " + shortest(values[1]) + " is above the upper limit " +
                         shortest(values[2]));
    return {values[0], {values[1], values[2]}};
}

NominalPlace parse_place(const std::string& name, const std::string& text) {
    std::string blanks = text;
    std::replace(blanks.begin(), blanks.end(), ',', ' ');
    const std::vector<double> values = numbers_of(name, blanks);
    if (values.size() != 2 && values.size() != 3)
        refuse(name, "expected two or three numbers, X,Y or X,Y,Z");
    return {{values[0], values[1], values.size() == 3 ? values[2] : 0.0}, values.size() == 3};
}

namespace {

// "part = blade 7" as a name and a text, without blanks around them.
NamedText named_text(const std::string& option, std::string_view text) {
    const auto trimmed = [](std::string_view part) {
        const std::size_t first = part.find_first_not_of(" \t");
        if (first == std::string_view::npos) return std::string();
        return std::string(part.substr(first, part.find_last_not_of(" \t") + 1 - first));
    };
    const std::size_t equals = text.find('=');
    NamedText said;
    if (equals != std::string_view::npos)
        said = {trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1))};
    if (said.name.empty()) refuse(option, "expected NAME=TEXT, found '" + clipped(text, 40) + "'");
    return said;
}

} // namespace

std::vector<NamedText> parse_info(const std::string& name, const std::string& text) {
    std::vector<NamedText> info;
    if (text.find('=') == std::string::npos) {
        TextSource source(text);
        for (std::string_view line; source.next_line(line);)
            if (line.find_first_not_of(" \t") != std::string_view::npos && line.front() != '#')
                info.push_back(named_text(name + " " + text, line));
        return info;
    }
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        info.push_back(named_text(name, std::string_view(text).substr(at, end - at)));
        at = end + 1;
    }
    return info;
}

std::vector<ColumnChoice> parse_columns(const std::string& name, const std::string& text) {
    std::vector<ColumnChoice> columns;
    for (const NamedText& chosen : parse_info(name, text.find('=') == text.npos ? "=" : text)) {
        const std::optional<Column> meaning = column_of_name(chosen.name);
        if (!meaning) refuse(name, "there is no column '" + clipped(chosen.name, 40) + "'");
        columns.push_back(
            {*meaning, static_cast<std::size_t>(parse_number_from_1(name, chosen.text))});
    }
    return columns;
}

int parse_decimals(const std::string& name, const std::string& text) {
    constexpr long most = 12;
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() != 1 || !(values[0] >= 0.0 && values[0] <= most) ||
        values[0] != std::floor(values[0]))
        refuse(name, "expected a number from 0 to " + std::to_string(most));
    return static_cast<int>(values[0]);
}

double parse_angle(const std::string& name, const std::string& text) {
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() != 1 || !(values[0] > 0.0 && values[0] <= 90.0))
        refuse(name, "expected an angle above 0 and up to 90 degrees");
    return values[0];
}

double parse_length(const std::string& name, const std::string& text) {
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() != 1 || values[0] < 0.0) refuse(name, "expected one number, not negative");
    return values[0];
}

double parse_positive(const std::string& name, const std::string& text) {
    constexpr double least = 1e-100; // whose square is a double
    const std::vector<double> values = numbers_of(name, text);
    if (values.size() != 1 || !(values[0] >= least)) refuse(name, "expected one number above 0");
    return values[0];
}

SectionFrame parse_frame(const std::string& name, const std::string& text) {
    const std::vector<double> numbers = numbers_of(name, text);
    SectionFrame frame;
    const FrameFault fault = frame.set(numbers);
    if (fault == FrameFault::not_nine)
        refuse(name, frame_complaint(fault) + (", found " + std::to_string(numbers.size())));
    if (fault != FrameFault::none) refuse(name, frame_complaint(fault));
    return frame;
}

long parse_number_from_1(const std::string& name, const std::string& text) {
    long number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last || number < 1) refuse(name, "expected a number from 1");
    return number;
}

std::array<bool, 6> parse_freedoms(const std::string& name, const std::string& text) {
    constexpr std::string_view freedoms[] = {"TX", "TY", "TZ", "RX", "RY", "RZ"};
    std::array<bool, 6> held{};
    for (const std::string& word : parse_names(name, text)) {
        const auto* const found = std::find(std::begin(freedoms), std::end(freedoms), word);
        if (found == std::end(freedoms))
            refuse(name, "expected TX, TY, TZ, RX, RY, RZ separated by commas, found '" +
                             clipped(word, 40) + "'");
        held[static_cast<std::size_t>(found - std::begin(freedoms))] = true;
    }
    return held;
}

int parse_threads(const std::string& name, const std::string& text) {
    constexpr long most = 256;
    const long number = parse_number_from_1(name, text);
    if (number > most) refuse(name, "expected a number from 1 to 256");
    return static_cast<int>(number);
}

std::vector<std::string> parse_names(const std::string& name, const std::string& text) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(',', at), text.size());
        if (end == at) refuse(name, "expected names separated by commas");
        names.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

double parse_unit(const std::string& name, const std::string& text) {
    const std::optional<double> millimetres = millimetres_of_unit(text);
    if (!millimetres) refuse(name, "expected mm, um, cm, m or inch, found '" + text + "'");
    return *millimetres;
}

} // namespace velm::inspect
