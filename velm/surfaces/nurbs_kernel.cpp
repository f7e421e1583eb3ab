#include "velm/platform/nurbs_kernel.h"

#include "velm/curves/detail/basis_functions.h"
#include "velm/curves/detail/knot_search.h"
#include "velm/surfaces/detail/quotient_rule.h"
#include "velm/surfaces/detail/tensor_jet.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace {

using velm::detail::BasisShares;
using velm::detail::DirectionBasis;
using velm::detail::HomogeneousPole;

constexpr int count_of_order(int order) { return order == 0 ? 3 : order == 1 ? 9 : 18; }

velm::detail::KnotView view_of(const tqkKnotVec& knots) {
    return {knots.data(), knots.count(), knots.degree()};
}

// Cox and de Boor by the reciprocals; memory as basis_memory says.
template <class Degree, class Order>
[[gnu::always_inline]] inline DirectionBasis basis_at(const tqkKnotVec& knots, int span, Degree p,
                                                      double t, Order order, double* memory) {
    const double* const at = knots.data() + span;
    // Where the degree is a constant the table is there.
    const double* const table = knots.table();
    const int count = knots.count();
    const auto reciprocal = [&](int j, int i) __attribute__((always_inline)) {
        if constexpr (std::is_same_v<Degree, int>) {
            return knots.reciprocal(j, i);
        } else {
            return table[(j - 1) * count + i];
        }
    };
    const auto shares = [&](int j, int r, double value) __attribute__((always_inline)) {
        const double part = value * reciprocal(j, span + 1 - j + r);
        return BasisShares{(at[r + 1] - t) * part, (t - at[1 - j + r]) * part};
    };
    const auto factor = [&](int j, int r) __attribute__((always_inline)) {
        return j * reciprocal(j, span + 1 - j + r);
    };
    return velm::detail::basis_from(p, order, memory, shares, factor);
}

} // namespace

void tqkKnotVec::become(int count, const double* knots) {
    knots_.assign(knots, knots + std::max(count, 0));
    reciprocals_.clear();
    usable_ = false;
}

bool tqkKnotVec::update() {
    reciprocals_.clear();
    const int n = count();
    const velm::detail::KnotView k = view_of(*this);
    usable_ = k.has_span() && k.low() < k.high();
    if (!usable_ || degree_ > highest_tabulated) return usable_;
    reciprocals_.assign(std::size_t(degree_) * knots_.size(), 0.0);
    double* row = reciprocals_.data();
    for (int j = 1; j <= degree_; ++j, row += n)
        for (int i = 0; i + j < n; ++i) {
            const double d = knots_[std::size_t(i + j)] - knots_[std::size_t(i)];
            if (d > 0.0) row[i] = 1.0 / d;
        }
    return true;
}

int tqkKnotVec::span(double t, tqkSide side) const {
    int s = velm::detail::find_span(view_of(*this), t);
    const double* const k = knots_.data();
    if (side == tqk_below && k[s] == t) {
        int below = s;
        while (below > degree_ && k[below] == t)
            --below;
        if (k[below] < t) s = below;
    }
    return s;
}

void tqkNurbSurf::become(int poles_u, int poles_v, int order_u, int order_v) {
    poles_u_ = poles_u;
    poles_v_ = poles_v;
    knots_u_ = {};
    knots_v_ = {};
    knots_u_.degree_ = order_u - 1;
    knots_v_.degree_ = order_v - 1;
    poles_.clear();
}

void tqkNurbSurf::set_h_points(const double* poles) {
    const auto count = std::size_t(std::max(poles_u_, 0)) * std::size_t(std::max(poles_v_, 0));
    poles_.assign(poles, poles + 4 * count);
}

bool tqkNurbSurf::is_complete() const {
    const auto fits = [](const tqkKnotVec& knots, int poles) {
        return knots.usable_ && view_of(knots).poles() == poles;
    };
    return !poles_.empty() && fits(knots_u_, poles_u_) && fits(knots_v_, poles_v_);
}

void tqkNurbSurf::evaluate(const tqkUV& uv, int order, double* out) const {
    using namespace velm::detail;
    if (!is_complete()) {
        std::fill_n(out, count_of_order(order), std::numeric_limits<double>::quiet_NaN());
        return;
    }
    const int span_u = knots_u_.span(uv.u, uv.side_u), span_v = knots_v_.span(uv.v, uv.side_v);
    const int degree_u = knots_u_.degree(), degree_v = knots_v_.degree();
    const std::ptrdiff_t row_step = std::ptrdiff_t(4) * poles_u_;
    const double* const own =
        poles_.data() + (span_v - degree_v) * row_step + 4 * (span_u - degree_u);
    double jet[6][4];
    const auto run = [&](auto pu, auto pv, auto wanted) __attribute__((always_inline)) {
        DegreeWork<decltype(pu), basis_memory(5), basis_memory(19)> work_u(basis_memory(pu));
        DegreeWork<decltype(pv), basis_memory(5), basis_memory(19)> work_v(basis_memory(pv));
        DegreeWork<decltype(pu), 12 * 6, 12 * 20> columns(12 * (std::size_t(pu) + 1));
        const DirectionBasis u = basis_at(knots_u_, span_u, pu, uv.u, wanted, work_u.data());
        const DirectionBasis v = basis_at(knots_v_, span_v, pv, uv.v, wanted, work_v.data());
        sum_columns(own, row_step, pu + 1, v, pv, wanted, columns.data());
        jet_of_columns(columns.data(), u, pu, wanted, jet);
    };
    with_order(order, [&](auto wanted) {
        if (degree_u == degree_v) {
            with_degree(degree_u, [&](auto p) { run(p, p, wanted); });
        } else {
            run(degree_u, degree_v, wanted);
        }
    });
    divide_by_weight(jet, order, out);
}
