#include "velm/surfaces/detail/pole_grid.h"

#include "velm/curves/detail/spline_rows.h"
#include "velm/curves/detail/spline_trim.h"

#include <cmath>

namespace velm::detail {

namespace {

// The rows or columns of a grid as SplineTrim sees them.
class GridPoles {
public:
    GridPoles(ERMatrix<ERPole3DH>& poles, Axis axis) : poles_(poles), axis_(axis) {}

    bool insert(ERKnotVector& knots, double t, int r) {
        return insert_knot(poles_, knots, axis_, t, r);
    }
    void keep(int first, int count) { poles_ = part_of(poles_, axis_, first, count); }
    template <class F>
    void for_windows(int first, int count, F f) {
        const PoleGrid grid = grid_of(poles_);
        for (int i = 0; i < grid.lines(axis_); ++i)
            f(grid.window(axis_, i, first, count));
    }

private:
    ERMatrix<ERPole3DH>& poles_;
    Axis axis_;
};

} // namespace

bool insert_knot(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis, double t, int r) {
    const KnotView k = view_of(knots);
    const ConstPoleGrid grid = grid_of(std::as_const(poles));
    const int count = grid.along(axis), p = k.degree;
    if (r < 1 || !k.has_span() || count != k.poles() || !k.covers(t)) return false;
    const InsertionPlace place = insertion_place(k, t);
    const int first = place.last - p, end = place.last + 1;
    if (first < 0 || place.last >= count) return false; // a domain without extent
    ERMatrix<ERPole3DH> wider = unfilled_like(poles, axis, count + r);
    for_lines(grid, grid_of(wider), axis, [&](ConstPoleRow from, PoleRow to) {
        copy_poles(from, 0, end, to, 0);
        copy_poles(from, end, count - end, to, end + r);
        insert_in_window(k, place, t, r, {to[first], p + 1, to.width});
    });
    poles.swap(wider);
    knots.insertAt(place.high.index, t, r);
    knots.AssertValid();
    return true;
}

void move_ends(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis, const ERLimites& natural,
               const ERLimites& trim) {
    SplineTrim(GridPoles(poles, axis), knots).move_ends(natural, trim);
}

void clamp_ends(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis) {
    SplineTrim(GridPoles(poles, axis), knots).clamp();
    const KnotView k = view_of(knots);
    // Surplus copies have poles without a part in the surface.
    const int low = run_end(k, 0) - k.degree - 1;
    const int high = k.count - run_at_or_below(k, k[k.count - 1]).index - k.degree - 1;
    if (low <= 0 && high <= 0) return;
    const int kept = k.poles() - low - high;
    poles = part_of(poles, axis, low, kept);
    knots = knots.subVector(low, kept + k.degree + 1);
}

void split_grid(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knots, Axis axis, double x,
                SplineGrid& before, SplineGrid& after) {
    const KnotView k = view_of(knots);
    const int p = k.degree, count = k.poles();
    const InsertionPlace place = insertion_place(k, x);
    const int copies = place.low.multiplicity, added = std::max(p - copies, 0);
    const int first = place.last - p, end = place.last + 1; // the window that the insertion changes
    // With the copies added the knots from `at` on are x.
    const int at = copies > 0 ? place.low.index : end;
    before.poles = unfilled_like(poles, axis, at);
    after.poles = unfilled_like(poles, axis, count - first);
    const ConstPoleGrid from = grid_of(poles);
    const PoleGrid to_before = grid_of(before.poles), to_after = grid_of(after.poles);
    ERVec<double> room((p + 1 + added) * from.line(axis, 0).width);
    for (int i = 0; i < from.lines(axis); ++i) {
        const ConstPoleRow line = from.line(axis, i);
        const PoleRow window(room.data(), p + 1, line.width);
        copy_poles(line, first, p + 1, window, 0);
        insert_in_window(k, place, x, added, window);
        const PoleRow low = to_before.line(axis, i), high = to_after.line(axis, i);
        copy_poles(line, 0, std::min(first, at), low, 0);
        copy_poles(window, 0, at - first, low, first);
        copy_poles(window, added, p + 1, high, 0);
        copy_poles(line, end, count - end, high, p + 1);
    }
    ERVec<double> low(std::span(k.knots, std::size_t(at))), high;
    low.append(x, p + 1);
    high.append(x, p + 1);
    high.insert(p + 1, std::span(k.knots + end, std::size_t(k.count - end)));
    before.knots = ERKnotVector(p, low);
    after.knots = ERKnotVector(p, high);
    before.knots.AssertValid();
    after.knots.AssertValid();
}

ERMatrix<ERPole3DH> bezier_pieces(const ERMatrix<ERPole3DH>& poles, const ERKnotVector& knots,
                                  Axis axis, ERVec<double>& ends) {
    const KnotView k = view_of(knots);
    const int p = k.degree;
    ERVec<int> spans;
    ends = ERVec<double>();
    for (int s = p; s < k.poles(); ++s) {
        if (!(k[s] < k[s + 1])) continue;
        spans.push_back(s);
        if (ends.empty()) ends.push_back(k[s]);
        ends.push_back(k[s + 1]);
    }
    ERMatrix<ERPole3DH> pieces = unfilled_like(poles, axis, spans.size() * (p + 1));
    for_lines(grid_of(poles), grid_of(pieces), axis, [&](ConstPoleRow from, PoleRow to) {
        int at = 0;
        for (const int s : spans.view()) {
            span_to_bezier(k.knots + s, {from[s - p], p + 1, from.width},
                           {to[at], p + 1, to.width});
            at += p + 1;
        }
    });
    return pieces;
}

void elevate_grid(ERMatrix<ERPole3DH>& poles, ERKnotVector& knots, Axis axis, int k) {
    if (k > 0) clamp_ends(poles, knots, axis);
    for (; k > 0; --k) {
        const KnotView old = view_of(knots);
        ERVec<double> raised(elevated_knots(old, nullptr));
        elevated_knots(old, raised.data());
        ERMatrix<ERPole3DH> elevated = unfilled_like(poles, axis, raised.size() - old.degree - 2);
        for_lines(grid_of(std::as_const(poles)), grid_of(elevated), axis,
                  [&](ConstPoleRow from, PoleRow to) { elevate_spline(old, from, to); });
        poles.swap(elevated);
        knots = ERKnotVector(old.degree + 1, raised);
    }
}

void restrict_grid(PoleGrid grid, Axis axis, double a, double b) {
    for (int i = 0; i < grid.lines(axis); ++i) {
        const PoleRow line = grid.line(axis, i);
        if (b != 0.0) {
            restrict_row(line, a, b);
            continue;
        }
        // Through b = 0 a lower end can't be cut as a / b: the same part of the line turned round.
        for (int low = 0, high = line.count - 1; low < high; ++low, --high)
            std::swap_ranges(line[low], line[low] + line.width, line[high]);
        restrict_row(line, 1.0 - a, 1.0);
    }
}

} // namespace velm::detail
