#include "velm/curves/detail/spline_rows.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/curves/detail/pole_lanes.h"

#include <algorithm>
#include <cstddef>

namespace velm::detail {

namespace {

// Calls f with the width of poles: as a constant for those of the plane and of space, so that
// blends are laid out.
template <class F>
[[gnu::always_inline]] inline void with_width(int width, F f) {
    with_constant<3, 4>(width, f);
}

// The point at t of a segment from a at `low` to b at `high`.
template <class Width>
[[gnu::always_inline]] inline void blend(const double* a, const double* b, double low, double high,
                                         double t, Width width, double* to) {
    const double d = high - low;
    const DoublePair factor = DoublePair{high - t, t - low} / d;
    if constexpr (std::is_same_v<Width, int>) {
        for (int c = 0; c < width; ++c)
            to[c] = factor[0] * a[c] + factor[1] * b[c];
    } else {
        using Pole = PoleLanes<Width::value>;
        (Pole::load(a) * factor[0] + Pole::load(b) * factor[1]).store(to);
    }
}

// Room for packed poles.
constexpr std::size_t inline_doubles = 128;
using Work = WorkArray<double, inline_doubles>;

std::size_t doubles(int poles, int width) {
    return static_cast<std::size_t>(poles) * static_cast<std::size_t>(width);
}

} // namespace

void insert_in_window(const KnotView& knots, const InsertionPlace& place, double t, int r,
                      PoleRow window) {
    const int p = knots.degree, k = place.last;
    const bool at_end = !(knots[place.high.index] > t);
    // Pole `repeated` of the window is doubled by each copy; those from `fixed` + L to it move.
    const int repeated = at_end ? p : std::max(p - place.low.multiplicity, 0);
    const int fixed = at_end ? place.high.multiplicity : 0;
    for (int i = p; i > repeated; --i)
        std::copy_n(window[i], window.width, window[i + r]);
    with_width(window.width, [&](auto width) {
        for (int L = 1; L <= r; ++L) {
            std::copy_n(window[repeated], window.width, window[repeated + r - L + 1]);
            for (int m = repeated; m >= fixed + L; --m) {
                const int i = k - p + m;
                blend(window[m - 1], window[m], knots[i], knots[i + p - L + 1], t, width,
                      window[m]);
            }
        }
    });
}

bool is_removable(const KnotView& knots, int k) {
    int first = k;
    while (first > 0 && knots[first - 1] == knots[k])
        --first;
    const int s = k - first + 1;
    return first > 0 && k < knots.count - 1 && k - knots.degree - 1 >= 0 &&
           k - s + 1 < knots.poles();
}

void remove_from_row(const KnotView& knots, int k, PoleRow row) {
    const int p = knots.degree, width = row.width;
    const double t = knots[k];
    int s = 1;
    while (knots[k - s] == t)
        ++s;
    int dropped; // the pole whose place the later ones take
    if (s > p) {
        for (int c = 0; c < width; ++c)
            row[k - p - 1][c] = 0.5 * (row[k - p - 1][c] + row[k - p][c]);
        dropped = k - p;
    } else {
        // From both sides towards the middle; pole i - 1 is done when pole i is computed, and so
        // on.
        int i = k - p, j = k - s;
        for (; j - i > 0; ++i, --j) {
            const double left = (t - knots[i]) / (knots[i + p + 1] - knots[i]);
            const double right = (t - knots[j]) / (knots[j + p + 1] - knots[j]);
            for (int c = 0; c < width; ++c) {
                row[i][c] = (row[i][c] - (1.0 - left) * row[i - 1][c]) / left;
                row[j][c] = (row[j][c] - right * row[j + 1][c]) / (1.0 - right);
            }
        }
        dropped = i;
        if (i > j) { // both sides have an estimate of one pole
            for (int c = 0; c < width; ++c)
                row[j][c] = 0.5 * (row[j][c] + row[i][c]);
        }
    }
    for (int i = dropped; i + 1 < row.count; ++i)
        std::copy_n(row[i + 1], width, row[i]);
}

int elevated_knots(const KnotView& knots, double* out) {
    int count = 0;
    for (int i = 0, end; i < knots.count; i = end) {
        end = run_end(knots, i);
        if (out != nullptr) std::fill_n(out + count, end - i + 1, knots[i]);
        count += end - i + 1;
    }
    return count;
}

namespace {

// Elevation of the degree by one. Pole j belongs to a window of degree + 1 elevated knots: the old
// ones, each run with one copy more.
template <class Width>
class Elevation {
public:
    Elevation(const KnotView& knots, ConstPoleRow row, Width width)
        : knots_(knots), row_(row), width_(width), runs_array_(run_count(knots)),
          raised_array_(std::size_t(knots.degree) + 2), work_(doubles(knots.degree + 3, width)),
          runs_(runs_array_.data()), raised_(raised_array_.data()),
          kept_(work_.data() + doubles(knots.degree + 2, width)) {
        for (int i = 0, n = 0; i < knots.count; i += runs_[n++].multiplicity)
            runs_[n] = {i, run_end(knots, i) - i};
    }

    void run(PoleRow out) {
        for (int j = 0; j < out.count; ++j) {
            if (first_ == last_) {
                set_constant(out[j]);
            } else {
                set_average(out[j]);
            }
            step();
        }
    }

private:
    static std::size_t run_count(const KnotView& knots) {
        std::size_t count = 1;
        for (int i = 1; i < knots.count; ++i)
            count += knots[i] != knots[i - 1];
        return count;
    }

    // All knots of the window agree: the pole at them, on the side that the window is of.
    void set_constant(double* out) {
        const KnotRun& run = runs_[first_];
        const auto pole = [&](int skipped) {
            const int from = run.index + std::min(skipped, run.multiplicity - knots_.degree);
            return row_[std::clamp(from - 1, 0, row_.count - 1)];
        };
        std::copy_n(pole(skipped_), int(width_), out);
        std::copy_n(pole(skipped_ + 1), int(width_), kept_);
    }

    void set_average(double* out) {
        const int p = knots_.degree;
        // Old knots in a row, of which the window has each run once more, except for part of the
        // ends.
        const int from = runs_[first_].index + std::max(skipped_ - 1, 0);
        int raised = 0;
        if (skipped_ == 0) raised_[raised++] = value(first_);
        const int before = raised;
        for (int k = first_ + 1; k < last_; ++k)
            raised_[raised++] = value(k);
        if (copies_ > runs_[last_].multiplicity) raised_[raised++] = value(last_);

        // Without one of the last knots: the window before without one of the first.
        for (int c = 0; c < width_; ++c)
            out[c] = copies_ * kept_[c];
        for (int k = first_ + 1; k < last_; ++k)
            add(runs_[k].multiplicity + 1, blossom(from, before + k - first_ - 1, raised), out);
        const double* const value =
            skipped_ == 0 ? blossom(from, 0, raised) : blossom(from + 1, raised, raised);
        add(runs_[first_].multiplicity + 1 - skipped_, value, out);
        std::copy_n(value, int(width_), kept_);
        for (int c = 0; c < width_; ++c)
            out[c] /= p + 1;
    }

    double value(int run) const { return knots_[runs_[run].index]; }

    void add(double factor, const double* pole, double* out) const {
        for (int c = 0; c < width_; ++c)
            out[c] += factor * pole[c];
    }

    // The blossom's value at the old knots from `from` on and the first `raised` raised ones
    // except the one at `left_out`, p in all.
    const double* blossom(int from, int left_out, int raised) const {
        const int extra = left_out < raised ? raised - 1 : raised;
        const int first = from - 1 - extra;
        const auto pole = [&](int i) { return row_[std::clamp(first + i, 0, row_.count - 1)]; };
        if (extra == 0) return pole(0);
        double* const work = work_.data();
        for (int i = 0; i <= extra; ++i)
            std::copy_n(pole(i), int(width_), work + i * width_);
        for (int level = 1; level <= extra; ++level) {
            const double argument = raised_[level - 1 < left_out ? level - 1 : level];
            for (int i = extra; i >= level; --i) {
                double* const to = work + i * width_;
                blend(to - width_, to, knots_[first + i],
                      knots_[first + i + knots_.degree + 1 - level], argument, width_, to);
            }
        }
        return work + extra * width_;
    }

    void step() {
        if (++skipped_ > runs_[first_].multiplicity) ++first_, skipped_ = 0;
        if (++copies_ > runs_[last_].multiplicity + 1) ++last_, copies_ = 1;
    }

    KnotView knots_;
    ConstPoleRow row_;
    Width width_;
    WorkArray<KnotRun, 64> runs_array_;
    WorkArray<double, 32> raised_array_;
    mutable Work work_;
    KnotRun* runs_;
    double* raised_;
    double* kept_;

    // The window: from copy `skipped_` of run `first_` to the first `copies_` of run `last_`.
    int first_ = 0;
    int skipped_ = 1;
    int last_ = 0;
    int copies_ = knots_.degree + 2;
};

} // namespace

void elevate_spline(const KnotView& knots, ConstPoleRow row, PoleRow out) {
    with_width(row.width, [&](auto width) { Elevation(knots, row, width).run(out); });
}

namespace {

template <class Degree, class Width>
[[gnu::always_inline]] inline void bezier_of_span(const double* knots, ConstPoleRow row, Degree p,
                                                  Width width, double* work, PoleRow out) {
    const double a = knots[0], b = knots[1];
    int low_copies = 1, high_copies = 1;
    while (low_copies <= p && knots[-low_copies] == a)
        ++low_copies;
    while (high_copies <= p && knots[1 + high_copies] == b)
        ++high_copies;
    // Level L of the lower end: the pole at `top` then is pole top - L of the part above a.
    const int top = p - low_copies;
    for (int i = 0; i <= p; ++i)
        std::copy_n(row[i], int(width), i < top ? work + i * width : out[i]);
    if (top >= 0) std::copy_n(row[top], int(width), work + top * width);
    for (int L = 1; L <= top; ++L) {
        for (int m = top; m >= L; --m) {
            double* const to = work + m * width;
            blend(to - width, to, knots[m - p], knots[m - L + 1], a, width, to);
        }
        std::copy_n(work + top * width, int(width), out[top - L]);
    }
    // The upper end; all knots below the span are copies of a now.
    for (int L = 1; L <= p - high_copies; ++L) {
        for (int m = p; m >= high_copies + L; --m) {
            blend(out[m - 1], out[m], a, knots[m - L + 1], b, width, out[m]);
        }
    }
}

} // namespace

void span_to_bezier(const double* knots, ConstPoleRow row, PoleRow out) {
    Work work(doubles(row.count, row.width));
    with_degree(row.count - 1, [&](auto p) {
        with_width(row.width,
                   [&](auto width) { bezier_of_span(knots, row, p, width, work.data(), out); });
    });
}

void continue_start(double* knots, double a, PoleRow row) {
    const int p = row.count - 1;
    for (int level = 1; level <= p; ++level) {
        for (int i = 0; i <= p - level; ++i) {
            blend(row[i], row[i + 1], knots[i + level], knots[i + p + 1], a, row.width, row[i]);
        }
    }
    std::fill_n(knots, p + 1, a);
}

void continue_end(double* knots, double b, PoleRow row) {
    const int p = row.count - 1;
    // Row i is pole n - 1 - p + i; its first knot is knot n - 1 - p + i, which is knots[i - p - 1].
    for (int level = 1; level <= p; ++level) {
        for (int i = p; i >= level; --i) {
            blend(row[i - 1], row[i], knots[i - p - 1], knots[i - level], b, row.width, row[i]);
        }
    }
    std::fill_n(knots, p + 1, b);
}

} // namespace velm::detail
