#include "inspect/picture/section_panel.h"

#include "inspect/base/number_text.h"
#include "inspect/base/text_escape.h"
#include "inspect/picture/palette.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {
namespace {

using Anchor = SvgCanvas::Anchor;

constexpr double small = palette::text_size;
constexpr double first_note = 87.0, note_step = 19.0; // below the top of the legend
const std::string soft = svg_fill(palette::soft);

std::string fill(int number) {
    return "fill=\"" + std::string(DeviationScale::color(number)) + "\"";
}

// The bars of a histogram: edges at whole multiples of the step.
struct Bars {
    double step = 1.0;
    double first = 0.0; // the lower end of the first bar
    std::vector<double> counts;
    bool cut_below = false, cut_above = false;
    double start(std::size_t bar) const { return first + step * static_cast<double>(bar); }
};

Bars make_bars(const std::vector<DeviationHistogram::Cell>& cells, const DeviationScale& scale,
               bool has_tolerance) {
    constexpr double most_bars = 42.0;
    double low = cells.front().value, high = cells.back().value;
    const double usual_low = DeviationHistogram::quantile(cells, 0.005);
    const double usual_high = DeviationHistogram::quantile(cells, 0.995);
    const double reach = 1.5 * (usual_high - usual_low);
    Bars bars;
    bars.cut_below = reach > 0.0 && low < usual_low - reach;
    bars.cut_above = reach > 0.0 && high > usual_high + reach;
    if (bars.cut_below) low = usual_low - 0.1 * reach;
    if (bars.cut_above) high = usual_high + 0.1 * reach;
    const double spread = std::max(high - low, 1e-12 * std::max(std::fabs(low), std::fabs(high)));
    if (has_tolerance && scale.upper() - scale.lower() < 4.0 * spread) {
        low = std::min(low, scale.lower());
        high = std::max(high, scale.upper());
    }
    if (!(high > low)) {
        const double half = std::max({std::fabs(low) * 1e-3, scale.upper() - scale.lower(), 1e-12});
        low -= half;
        high += half;
    }
    const double fine = round_step_below((high - low) / most_bars);
    bars.step = (high - low) / fine <= most_bars ? fine : round_step_below(fine * 2.5);
    bars.first = std::floor(low / bars.step) * bars.step;
    const auto count = static_cast<std::size_t>(std::floor((high - bars.first) / bars.step)) + 1;
    bars.counts.assign(std::min<std::size_t>(count, 200), 0.0);
    for (const DeviationHistogram::Cell& cell : cells) {
        // A value on an edge, except for rounding, belongs to the bar that starts there.
        const double at = std::floor((cell.value - bars.first) / bars.step + 1e-9);
        const double last = static_cast<double>(bars.counts.size() - 1);
        bars.counts[static_cast<std::size_t>(std::clamp(at, 0.0, last))] +=
            static_cast<double>(cell.count);
    }
    return bars;
}

void draw_axis(SvgCanvas& canvas, const CanvasBox& plot, const Bars& bars,
               const DeviationUnit& unit) {
    const double range = bars.step * static_cast<double>(bars.counts.size());
    double tick = round_step_below(range / 4.0);
    // Numbers that would touch each other are drawn at wider steps.
    const auto text_of = [&](double value) {
        return signed_text(unit.scaled(value), decimals_for(unit.scaled(tick), 1));
    };
    const auto widest = [&] {
        return std::max(SvgCanvas::text_width(text_of(bars.first), small),
                        SvgCanvas::text_width(text_of(bars.first + range), small));
    };
    for (int n = 0; n < 3 && tick / range * plot.width < widest() + 4.0; ++n)
        tick = round_step_above(tick * 1.5);
    canvas.line({plot.left, plot.bottom()}, {plot.right(), plot.bottom()},
                svg_stroke(palette::ink, 1.0));
    for (double n = std::ceil(bars.first / tick - 1e-9); n * tick <= bars.first + range * 1.0001;
         n += 1.0) {
        const double x = plot.left + (n * tick - bars.first) / range * plot.width;
        canvas.line({x, plot.bottom()}, {x, plot.bottom() + 4.0}, svg_stroke(palette::ink, 1.0));
        canvas.text({x, plot.bottom() + 16.0}, text_of(n * tick), small, Anchor::middle);
    }
}

// The end of a long text, which says more than its beginning.
std::string ending(const std::string& text, std::size_t longest) {
    const std::string shown = terminal_text(text);
    if (display_width(shown) <= longest) return shown;
    std::size_t cut = shown.size() - longest;
    while (cut < shown.size() && (static_cast<unsigned char>(shown[cut]) & 0xC0) == 0x80)
        ++cut;
    return "…" + shown.substr(cut);
}

// The lines of a head one after the other, as many beside each other as there is room for.
double draw_head_lines(SvgCanvas& canvas, const HeadLines& lines) {
    constexpr double step = 14.5, apart = 22.0, most_right = SvgCanvas::width - palette::border;
    constexpr std::size_t longest = 150;
    double x = palette::border, y = palette::subtitle_line + 17.0;
    for (const auto& [name, value] : lines) {
        const std::string term = terminal_text(name) + ": ";
        const std::string text = clipped(terminal_text(value), longest);
        const double term_width = SvgCanvas::text_width(term, small);
        const double width = term_width + SvgCanvas::text_width(text, small);
        if (x > palette::border && x + width > most_right) {
            x = palette::border;
            y += step;
        }
        canvas.text({x, y}, term, small, Anchor::start, soft);
        canvas.text({x + term_width, y}, text, small);
        x += width + apart;
    }
    return lines.empty() ? palette::below_header
                         : y + (palette::below_header - palette::subtitle_line) / 2.0;
}

} // namespace

void draw_heading(SvgCanvas& canvas, const CanvasBox& area, const std::string& content) {
    canvas.text({area.left, area.top + 12.0}, content, palette::heading_size, Anchor::start,
                palette::bold);
    canvas.line({area.left, area.top + 20.0}, {area.right(), area.top + 20.0},
                svg_stroke(palette::rule, 1.0));
}

double draw_header(SvgCanvas& canvas, const ReportHead& head) {
    using palette::border;
    canvas.text({border, palette::title_line}, clipped(terminal_text(head.title), 64),
                palette::title_size, Anchor::start, palette::bold);
    canvas.text({border, palette::subtitle_line}, ending(head.subtitle, 120),
                palette::subtitle_size, Anchor::start, soft);
    const std::string verdict = clipped(terminal_text(head.verdict.sentence), 100);
    const double wide = SvgCanvas::text_width(verdict, palette::verdict_size) + 36.0;
    const CanvasBox box{SvgCanvas::width - border - wide, 28.0, wide, 28.0};
    const bool filled = head.verdict.kind == Verdict::bad;
    canvas.box(box, filled ? "rx=\"4\" " + svg_fill(palette::alarm)
                           : "rx=\"4\" " + svg_fill(palette::paper) + " " +
                                 svg_stroke(palette::ink, 1.2));
    canvas.text({box.left + wide / 2.0, 46.5}, verdict, palette::verdict_size, Anchor::middle,
                std::string(palette::bold) + (filled ? " " + svg_fill(palette::paper) : ""));
    return draw_head_lines(canvas, head.lines);
}

void draw_figures(SvgCanvas& canvas, const CanvasBox& area,
                  const std::vector<FigureLine>& figures) {
    draw_heading(canvas, area, "Figures");
    constexpr double first = 38.0;
    const double step =
        std::min(palette::row_step, (area.height - first) / static_cast<double>(figures.size()));
    double y = area.top + first;
    for (const FigureLine& line : figures) {
        const bool is_out = line.name == "out of tolerance";
        const bool is_id = line.note.starts_with("id ");
        canvas.text({area.left, y}, capitalised(line.name), small, Anchor::start, soft);
        canvas.text({area.left + 190.0, y}, line.value, small, Anchor::end,
                    is_out ? palette::bold : std::string_view());
        if (!line.note.empty())
            canvas.text({area.left + 200.0, y},
                        is_id ? clipped(terminal_text(line.note.substr(3)), 14) : line.note, small,
                        Anchor::start, soft);
        y += step;
    }
}

double legend_height(const LegendNotes& notes) {
    const int count = (notes.has_tolerance ? 2 : 0) + (notes.shows_band ? 1 : 0) +
                      (notes.shows_envelope ? 1 : 0) + (notes.outwards.empty() ? 0 : 1) +
                      (notes.cut_whiskers > 0 ? 1 : 0);
    return first_note + note_step * count - 10.0;
}

void draw_legend(SvgCanvas& canvas, const CanvasBox& area, const DeviationScale& scale,
                 const LegendNotes& notes, const DeviationUnit& unit) {
    draw_heading(canvas, area, unit.heading("Deviation"));
    constexpr int inner = DeviationScale::classes - 2;
    constexpr double cap = 22.0, high = 15.0;
    const double top = area.top + 32.0;
    const double step = (area.width - 2.0 * cap) / inner;
    const auto at = [&](int number) { return area.left + cap + step * (number - 1); };
    canvas.path("M" + svg_point({area.left, top + high / 2.0}) + "l" +
                    svg_point({cap, -high / 2.0}) + "v" + svg_number(high) + "z",
                fill(DeviationScale::below));
    for (int number = 1; number <= inner; ++number)
        canvas.box({at(number), top, step, high}, fill(number));
    canvas.path("M" + svg_point({area.right(), top + high / 2.0}) + "l" +
                    svg_point({-cap, -high / 2.0}) + "v" + svg_number(high) + "z",
                fill(DeviationScale::above));
    for (const int number : {1, inner + 1})
        canvas.path("M" + svg_point({at(number), top - 3.0}) + "v" + svg_number(high + 6.0),
                    svg_stroke(palette::ink, 1.6));
    const double middle = scale.lower() + (scale.upper() - scale.lower()) / 2.0;
    canvas.text({at(1), top + high + 16.0}, unit.text(scale.lower()), small, Anchor::middle);
    canvas.text({at(1) + step * inner / 2.0, top + high + 16.0}, unit.text(middle), small,
                Anchor::middle);
    canvas.text({at(inner + 1), top + high + 16.0}, unit.text(scale.upper()), small,
                Anchor::middle);

    double y = area.top + first_note;
    const double sign = area.left + 14.0, words = area.left + 36.0;
    const auto note = [&](const std::string& content) {
        canvas.text({words, y}, content, small);
        y += note_step;
    };
    if (notes.has_tolerance) {
        canvas.path("M" + svg_point({sign, y - 9.5}) + "l5 8.6h-10z", fill(DeviationScale::above));
        note("above the upper limit: " + grouped(notes.above, ","));
        canvas.path("M" + svg_point({sign, y + 0.5}) + "l5 -8.6h-10z", fill(DeviationScale::below));
        note("below the lower limit: " + grouped(notes.below, ","));
    }
    if (notes.shows_band) {
        canvas.box({area.left + 2.0, y - 9.0, 24.0, 10.0},
                   svg_fill(palette::band) + " " + svg_stroke(palette::limit, 0.9));
        note("tolerance band, magnified alike");
    }
    if (notes.shows_envelope) {
        canvas.box({area.left + 2.0, y - 9.0, 24.0, 10.0},
                   fill(DeviationScale::classes / 2) + " " +
                       svg_stroke(palette::envelope_edge, 0.7));
        note("envelope, coloured by its mean");
    }
    if (!notes.outwards.empty()) {
        canvas.path("M" + svg_point({area.left + 2.0, y - 1.0}) + "h24M" +
                        svg_point({sign, y - 1.0}) + "v-10",
                    svg_pen(palette::ink, 1.2));
        note(notes.outwards);
    }
    if (notes.cut_whiskers > 0) {
        canvas.path("M" + svg_point({area.left + 2.0, y - 4.0}) + "h24m-7 -4v8m-4 0v-8",
                    svg_pen(palette::ink, 1.0));
        note("longer than drawn: " + grouped(static_cast<std::uint64_t>(notes.cut_whiskers), ","));
    }
}

void draw_histogram(SvgCanvas& canvas, const CanvasBox& area,
                    const std::vector<DeviationHistogram::Cell>& cells, const DeviationScale& scale,
                    bool has_tolerance, const DeviationUnit& unit) {
    draw_heading(canvas, area, unit.heading("Distribution"));
    const Bars bars = make_bars(cells, scale, has_tolerance);
    if (bars.cut_below || bars.cut_above)
        canvas.text({area.right(), area.top + 12.0}, "end bars: all that lies beyond", small,
                    Anchor::end, soft);
    const CanvasBox plot{area.left, area.top + 46.0, area.width, area.height - 70.0};
    const auto tallest = std::max_element(bars.counts.begin(), bars.counts.end());
    const double highest = *tallest / 0.88; // leaves room for the count above the tallest bar
    const double wide = plot.width / static_cast<double>(bars.counts.size());
    for (std::size_t bar = 0; bar < bars.counts.size(); ++bar) {
        const double tall = plot.height * bars.counts[bar] / highest;
        if (tall == 0.0) continue;
        const double shown = std::max(tall, 0.8);
        canvas.box(
            {plot.left + wide * static_cast<double>(bar), plot.bottom() - shown, wide, shown},
            fill(scale.class_of(bars.start(bar) + bars.step / 2.0)) + " " +
                svg_stroke(palette::paper, 0.5));
    }
    canvas.text({plot.left + wide * (static_cast<double>(tallest - bars.counts.begin()) + 0.5),
                 plot.top + 0.12 * plot.height - 4.0},
                grouped(static_cast<std::uint64_t>(*tallest), ","), small, Anchor::middle, soft);
    draw_axis(canvas, plot, bars, unit);
    const double range = bars.step * static_cast<double>(bars.counts.size());
    const auto x_of = [&](double limit) {
        return plot.left + (limit - bars.first) / range * plot.width;
    };
    const auto draw_limit = [&](double limit, const std::string& content, Anchor anchor,
                                double aside) {
        const double x = x_of(limit);
        if (x < plot.left - 0.5 || x > plot.right() + 0.5) return;
        canvas.line({x, plot.top - 16.0}, {x, plot.bottom()},
                    svg_stroke(palette::ink, 1.2) + " stroke-dasharray=\"4 3\"");
        if (content.empty()) return;
        const double needed = SvgCanvas::text_width(content, small);
        const bool turned =
            anchor == Anchor::start ? x + needed > plot.right() : x - needed < plot.left;
        const Anchor other = anchor == Anchor::start ? Anchor::end : Anchor::start;
        canvas.text({turned ? x - aside : x + aside, plot.top - 8.0}, content, small,
                    turned ? other : anchor);
    };
    if (!has_tolerance) return;
    const std::string lower = unit.text(scale.lower()), upper = unit.text(scale.upper());
    // Limits that are close to each other at the side of the plot share one text.
    const double needed = SvgCanvas::text_width(lower, small) + 8.0;
    const bool shares =
        x_of(scale.upper()) - x_of(scale.lower()) < 2.0 * needed &&
        (x_of(scale.lower()) - needed < plot.left || x_of(scale.upper()) + needed > plot.right());
    draw_limit(scale.lower(), shares ? "" : lower, Anchor::end, -4.0);
    draw_limit(scale.upper(), shares ? lower + " to " + upper : upper, Anchor::start, 4.0);
}

} // namespace velm::inspect
