#include "inspect/command/options.h"

#include "inspect/base/failure.h"
#include "inspect/base/number_text.h"
#include "inspect/input/dxf_drawing.h"
#include "inspect/result/frame_complaint.h"

#include <charconv>
#include <vector>

namespace velm::inspect {
namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& why) {
    throw Failure(ExitCode::usage, name + ": " + why);
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
