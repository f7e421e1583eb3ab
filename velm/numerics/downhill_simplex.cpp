#include "velm/numerics/downhill_simplex.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

constexpr double difference_step = 0x1p-23;
constexpr double per_step = 0x1p23;
constexpr double per_two_steps = 0x1p22;

std::size_t at(int i) { return static_cast<std::size_t>(i); }

// f at x with some coordinates moved.
class Moved {
public:
    Moved(FunctorBase& f, const ERVec<double>& x) : f_(f), x_(x) {}
    double operator()(int i, double by) { return (*this)(i, by, i, 0.0); }
    double operator()(int i, double by_i, int j, double by_j) {
        ERVec<double> moved(x_.view());
        const auto coordinates = moved.writable();
        coordinates[at(i)] += by_i;
        coordinates[at(j)] += by_j;
        return f_(moved);
    }

private:
    FunctorBase& f_;
    const ERVec<double>& x_;
};

} // namespace

ERVec<double> FunctorBase::gradient(const ERVec<double>& x) {
    constexpr double h = difference_step;
    Moved f(*this, x);
    ERVec<double> result(variables_);
    for (int i = 0; i < variables_; ++i)
        result[i] = (f(i, h) - f(i, -h)) * per_two_steps;
    return result;
}

ERMatrix<double> FunctorBase::hessian(const ERVec<double>& x) {
    constexpr double h = difference_step;
    Moved f(*this, x);
    ERMatrix<double> result(variables_, variables_);
    for (int i = 0; i < variables_; ++i) {
        for (int j = 0; j < i; ++j) {
            const double after = (f(i, h, j, h) - f(i, h, j, -h)) * per_two_steps;
            const double before = (f(i, -h, j, h) - f(i, -h, j, -h)) * per_two_steps;
            result(i, j) = result(j, i) = (after - before) * per_two_steps;
        }
        const double here = (*this)(x);
        result(i, i) = ((f(i, h) - here) * per_step - (here - f(i, -h)) * per_step) * per_step;
    }
    return result;
}

ERDownhillSimplex::ERDownhillSimplex(double step, FunctorBase* functor)
    : step_(step), functor_(functor), vertices_(functor->dimension() + 1, functor->dimension()),
      values_(functor->dimension() + 1), sums_(functor->dimension()), trial_(functor->dimension()),
      variables_(functor->dimension()) {}

double ERDownhillSimplex::Minimise(const ERVec<double>& start, int level) {
    constexpr double rough = 1e-5, fine = 1e-13;
    if (variables_ < 1 || start.size() < variables_) return functor_->operator()(start);
    const int most = level == 0 ? 100 : level == 1 ? 600 : level == 2 ? 2000 : 20000;
    tolerance_ = level == 0 ? rough : fine;
    start_at(start);
    Extremes now = extremes();
    for (; !is_done(now, most); now = extremes()) {
        const double reflected = try_move(now.highest, -1.0);
        const auto value = values_.view();
        if (reflected < value[at(now.lowest)]) {
            try_move(now.highest, 2.0);
        } else if (reflected >= value[at(now.next_highest)]) {
            const double highest = value[at(now.highest)];
            if (try_move(now.highest, 0.5) >= highest) shrink_to(now.lowest);
        }
    }
    if (now.lowest != 0) {
        std::swap(values_.writable()[0], values_.writable()[at(now.lowest)]);
        double* const rows = vertices_.writable().data();
        std::swap_ranges(rows, rows + variables_, rows + std::ptrdiff_t(now.lowest) * variables_);
    }
    return values_.view()[0];
}

void ERDownhillSimplex::start_at(const ERVec<double>& start) {
    evaluations_ = 0;
    double* row = vertices_.writable().data();
    for (int i = 0; i <= variables_; ++i, row += variables_) {
        std::copy_n(start.view().data(), variables_, row);
        if (i > 0) row[i - 1] += step_;
        values_[i] = evaluate(row);
    }
}

ERDownhillSimplex::Extremes ERDownhillSimplex::extremes() const {
    const auto value = values_.view();
    Extremes found{0, 0, -1};
    for (int i = 1; i <= variables_; ++i) {
        if (value[at(i)] < value[at(found.lowest)]) found.lowest = i;
        if (value[at(i)] > value[at(found.highest)]) found.highest = i;
    }
    for (int i = 0; i <= variables_; ++i)
        if (i != found.highest &&
            (found.next_highest < 0 || value[at(i)] > value[at(found.next_highest)]))
            found.next_highest = i;
    return found;
}

bool ERDownhillSimplex::is_done(const Extremes& found, int most_evaluations) const {
    constexpr double nothing = 1e-15;
    const double high = std::fabs(values_.view()[at(found.highest)]);
    const double low = std::fabs(values_.view()[at(found.lowest)]);
    const double difference =
        std::fabs(values_.view()[at(found.highest)] - values_.view()[at(found.lowest)]);
    if (2.0 * difference / (high + low + nothing) < tolerance_) return true;
    if (evaluations_ >= most_evaluations || high < nothing) return true;
    double size = 0.0;
    for (int i = 0; i < variables_; ++i)
        size = std::max(size, std::fabs(vertices_.row(found.highest)[at(i)] -
                                        vertices_.row(found.lowest)[at(i)]));
    return size < nothing;
}

double ERDownhillSimplex::evaluate(const double* place) {
    ++evaluations_;
    std::copy_n(place, variables_, trial_.writable().data());
    return (*functor_)(trial_);
}

double ERDownhillSimplex::try_move(int highest, double factor) {
    const auto sum = sums_.writable();
    std::ranges::fill(sum, 0.0);
    for (int i = 0; i <= variables_; ++i)
        for (int j = 0; i != highest && j < variables_; ++j)
            sum[at(j)] += vertices_.row(i)[at(j)];
    double* const row = vertices_.writable().data() + std::ptrdiff_t(highest) * variables_;
    for (int j = 0; j < variables_; ++j)
        sum[at(j)] = (1.0 - factor) / variables_ * sum[at(j)] + factor * row[j];
    const double value = evaluate(sum.data());
    if (value < values_.view()[at(highest)]) {
        values_[highest] = value;
        std::copy_n(sum.data(), variables_, row);
    }
    return value;
}

void ERDownhillSimplex::shrink_to(int lowest) {
    double* const rows = vertices_.writable().data();
    const double* const low = rows + std::ptrdiff_t(lowest) * variables_;
    for (int i = 0; i <= variables_; ++i) {
        if (i == lowest) continue;
        double* const row = rows + std::ptrdiff_t(i) * variables_;
        for (int j = 0; j < variables_; ++j)
            row[j] = 0.5 * (row[j] + low[j]);
        values_[i] = evaluate(row);
    }
}
