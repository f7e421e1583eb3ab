#include "inspect/input/outline_commands.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

namespace velm::inspect {
namespace {

struct Form {
    std::string_view letter;
    std::size_t numbers;
    bool has_sense; // ccw or cw follows the numbers
    const char* text;
    std::size_t fields() const { return 1 + numbers + (has_sense ? 1 : 0); }
};
constexpr std::size_t any_number = 0xFFFF;
constexpr std::array<Form, 6> forms{{{"M", 2, false, "M x y"},
                                     {"L", 2, false, "L x y"},
                                     {"A", 4, true, "A x y cx cy and ccw or cw"},
                                     {"N", any_number, false, "N degree knots... poles x y w ..."},
                                     {"Z", 0, false, "Z alone"},
                                     {"C", 3, false, "C cx cy r"}}};

// Of one letter; anything else is unchanged.
std::string upper_case(std::string_view text) {
    const bool is_lower = text.size() == 1 && text[0] >= 'a' && text[0] <= 'z';
    return is_lower ? std::string(1, static_cast<char>(text[0] - 'a' + 'A')) : std::string(text);
}

const Form* find_form(const OutlineLine& line) {
    const auto form = std::find_if(forms.begin(), forms.end(), [&](const Form& f) {
        return f.letter == upper_case(line.field[0]);
    });
    return form == forms.end() ? nullptr : &*form;
}

// N and a whole number first.
bool is_curve(const OutlineLine& line) {
    const ParsedNumber degree = parse_number(line.field[1]);
    return line.count > 2 && degree && degree.value == std::floor(degree.value);
}

bool is_sense(std::string_view text) { return text == "ccw" || text == "cw"; }

// The difference that the distances of an arc's ends from its centre may have.
double tolerated(const ERPoint2D& from, const ERPoint2D& to, const ERPoint2D& center,
                 double radius) {
    constexpr double six_digits = 1e6, part_of_radius = 1e3;
    double largest = radius;
    for (const ERPoint2D& p : {from, to, center})
        largest = std::max({largest, std::fabs(p.x()), std::fabs(p.y())});
    return std::min(largest / six_digits, radius / part_of_radius);
}

double distance_between(const ERPoint2D& a, const ERPoint2D& b) {
    return std::hypot(b.x() - a.x(), b.y() - a.y());
}

} // namespace

bool is_command(const OutlineLine& line) {
    const Form* const form = find_form(line);
    if (form == nullptr) return false;
    if (form->numbers == any_number) return is_curve(line);
    if (line.count != form->fields()) return false;
    for (std::size_t i = 1; i <= form->numbers; ++i)
        if (parse_number(line.field[i]).fault == NumberFault::not_a_number) return false;
    return !form->has_sense || is_sense(line.field[line.count - 1]);
}

// A small letter may begin a second line of title.
bool starts_like_command(const OutlineLine& line) {
    const Form* const form = find_form(line);
    return form != nullptr && (form->letter == line.field[0] || is_command(line));
}

void CommandReader::take(const OutlineLine& line) {
    const Form* const form = find_form(line);
    if (form == nullptr) source_.refuse("expected M, L, A, N, Z or C, found " + line.shown());
    if (form->numbers != any_number && line.count != form->fields())
        source_.refuse("expected " + std::string(form->text) + ", found " + line.shown());
    switch (form->letter[0]) {
    case 'M':
        return move(line);
    case 'L':
        return go_straight(line);
    case 'A':
        return go_round(line);
    case 'N':
        return follow_curve(line);
    case 'Z':
        return close(line);
    default:
        return add_circle(line);
    }
}

std::vector<LocatedContour> CommandReader::finish() {
    end_contour();
    return std::move(contours_);
}

double CommandReader::number(const OutlineLine& line, std::size_t field) const {
    const ParsedNumber number = parse_number(line.field[field]);
    if (!number) source_.refuse(number_complaint(line.field[field], number.fault));
    return number.value;
}

ERPoint2D CommandReader::point(const OutlineLine& line, std::size_t field) const {
    const double x = number(line, field);
    return ERPoint2D(x, number(line, field + 1));
}

void CommandReader::require_open(const OutlineLine& line) const {
    if (!open_)
        source_.refuse("no contour is open for " + std::string(line.field[0]) +
                       "; expected M or C");
}

void CommandReader::move(const OutlineLine& line) {
    end_contour();
    move_to(point(line, 1), line.number);
}

void CommandReader::move_to(const ERPoint2D& start, std::size_t line) {
    start_ = current_ = start;
    start_line_ = line;
    open_ = Contour();
}

void CommandReader::go_straight(const OutlineLine& line) {
    require_open(line);
    const ERPoint2D to = point(line, 1);
    if (to == current_) return;
    open_->append(current_);
    current_ = to;
}

void CommandReader::go_round(const OutlineLine& line) {
    require_open(line);
    const ERPoint2D to = point(line, 1), center = point(line, 3);
    if (!is_sense(line.field[5]))
        source_.refuse("expected ccw or cw, found '" + clipped(line.field[5], 40) + "'");
    const double first = distance_between(center, current_), last = distance_between(center, to);
    const double tolerance = tolerated(current_, to, center, std::max(first, last));
    if (first == 0.0 || last == 0.0) source_.refuse("the centre of the arc is one of its ends");
    if (!(std::fabs(first - last) <= tolerance))
        source_.refuse("the ends of the arc are not equally far from its centre: " +
                       shortest(first) + " and " + shortest(last) + " differ by more than " +
                       fixed(tolerance, decimals_for(tolerance, 2)));

    const double start = std::atan2(current_.y() - center.y(), current_.x() - center.x());
    double end = to == current_ ? start : std::atan2(to.y() - center.y(), to.x() - center.x());
    constexpr double turn = 2.0 * std::numbers::pi;
    if (line.field[5] == "ccw" && end <= start) end += turn;
    if (line.field[5] == "cw" && end >= start) end -= turn;
    open_->append(current_, ERArc2D(center, std::midpoint(first, last), start, end));
    current_ = to;
}

// With p the degree and n poles there are 1 + (n + p + 1) + 3 n numbers.
DrawnSpline CommandReader::spline(const OutlineLine& line) const {
    std::vector<double> numbers;
    for (const std::string_view field : line.all_fields()) {
        if (field == "N" || field == "n" || field == "knots" || field == "poles") continue;
        const ParsedNumber number = parse_number(field);
        if (!number) source_.refuse(number_complaint(field, number.fault));
        numbers.push_back(number.value);
    }
    DrawnSpline spline;
    if (!numbers.empty() && numbers[0] >= 1.0 && numbers[0] <= highest_spline_degree)
        spline.degree = static_cast<int>(numbers[0]);
    const std::size_t order = static_cast<std::size_t>(spline.degree) + 1;
    if (spline.degree == 0 || spline.degree != numbers[0])
        source_.refuse("expected a degree from 1 to " + std::to_string(highest_spline_degree) +
                       " after N, found '" + clipped(line.field[1], 40) + "'");
    const std::size_t poles = numbers.size() < 1 + order ? 0 : (numbers.size() - 1 - order) / 4;
    if (numbers.size() != 1 + order + 4 * poles)
        source_.refuse("expected poles + degree + 1 knots and three numbers per pole, found " +
                       std::to_string(numbers.size() - 1) + " numbers after the degree " +
                       std::to_string(spline.degree));
    const auto first_pole = numbers.begin() + static_cast<std::ptrdiff_t>(1 + poles + order);
    spline.knots.assign(numbers.begin() + 1, first_pole);
    for (auto at = first_pole; at != numbers.end(); at += 3) {
        spline.poles.emplace_back(at[0], at[1]);
        spline.weights.push_back(at[2]);
    }
    if (const char* const fault = fault_of(spline)) source_.refuse(fault);
    return spline;
}

void CommandReader::follow_curve(const OutlineLine& line) {
    std::vector<std::shared_ptr<const CurveEdge>> edges;
    for (const ERCpoleNURBS2D& part : CurveEdge::smooth_parts(spline_curve(spline(line))))
        edges.push_back(CurveEdge::make(part));
    if (edges.empty())
        source_.refuse("the curve can't be evaluated: a pole is beyond what a double can hold");
    const ERPoint2D from = edges.front()->start(), to = edges.back()->end();
    const double size = edges.front()->prepared().size();
    if (!open_) {
        move_to(from, line.number);
    } else if (!(distance_between(from, current_) <= tolerated(from, to, current_, size))) {
        source_.refuse("the curve starts at " + shortest(from.x()) + " " + shortest(from.y()) +
                       ", not at the contour's last point, " + shortest(current_.x()) + " " +
                       shortest(current_.y()));
    }
    for (std::size_t i = 0; i < edges.size(); ++i)
        open_->append(i == 0 ? current_ : edges[i]->start(), edges[i]);
    current_ = to;
    // A curve that returns within the rounding of its file is closed.
    if (distance_between(current_, start_) <= tolerated(current_, start_, start_, size))
        current_ = start_;
}

void CommandReader::close(const OutlineLine& line) {
    require_open(line);
    if (!(current_ == start_)) open_->append(current_);
    current_ = start_;
    require_area(source_, start_line_, *open_);
    contours_.push_back({std::move(*open_), start_line_});
    open_.reset();
}

void CommandReader::add_circle(const OutlineLine& line) {
    end_contour();
    const ERPoint2D center = point(line, 1);
    const double radius = number(line, 3);
    if (!(radius > 0.0))
        source_.refuse("expected a positive radius, found '" + clipped(line.field[3], 40) + "'");
    contours_.push_back({Contour::circle(center, radius), line.number});
    require_area(source_, line.number, contours_.back().contour);
}

// A contour that returned exactly to its start is closed without a Z too.
void CommandReader::end_contour() {
    if (!open_) return;
    if (open_->size() == 0 || !(current_ == start_))
        source_.refuse_at(start_line_, "the contour that starts here isn't closed; expected Z at "
                                       "its end");
    require_area(source_, start_line_, *open_);
    contours_.push_back({std::move(*open_), start_line_});
    open_.reset();
}

} // namespace velm::inspect
