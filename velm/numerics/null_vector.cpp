// ResolveHyperPlan, declared in matrix.h.
#include "velm/numerics/matrix.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

namespace {

// A working copy with at least one row for every column except the last; missing rows are zeros.
class Elimination {
public:
    Elimination(const double* values, int rows, int columns)
        : rows_(rows), columns_(columns),
          a_(std::size_t(std::max(rows, columns - 1)) * std::size_t(columns)),
          order_(std::size_t(columns)) {
        std::copy_n(values, std::size_t(rows) * std::size_t(columns), a_.begin());
        std::iota(order_.begin(), order_.end(), 0);
    }

    std::vector<double> null_vector() {
        order_by_size();
        std::vector<double> x(std::size_t(columns_), 1.0);
        if (columns_ == 2) {
            x[0] = -at(0, 1) / at(0, 0);
        } else if (columns_ > 2) {
            const std::vector<double> y = reduced().null_vector();
            double sum = 0.0;
            for (int j = 1; j < columns_; ++j)
                sum += at(0, j) * y[std::size_t(j - 1)];
            x[0] = -1.0 * sum / at(0, 0);
            std::copy(y.begin(), y.end(), x.begin() + 1);
        }
        std::vector<double> result(x.size());
        for (std::size_t i = 0; i < x.size(); ++i)
            result[std::size_t(order_[i])] = x[i];
        return result;
    }

private:
    double& at(int i, int j) { return a_[std::size_t(columns_) * std::size_t(i) + std::size_t(j)]; }

    // Brings the largest remaining element to each diagonal place in turn.
    void order_by_size() {
        const int steps = std::min(rows_, columns_);
        for (int k = 0; k < steps; ++k) {
            int row = k;
            int column = k;
            for (int i = k; i < rows_; ++i) {
                for (int j = k; j < columns_; ++j) {
                    if (std::fabs(at(i, j)) > std::fabs(at(row, column))) {
                        row = i;
                        column = j;
                    }
                }
            }
            for (int j = 0; j < columns_ && row != k; ++j)
                std::swap(at(k, j), at(row, j));
            for (int i = 0; i < rows_ && column != k; ++i)
                std::swap(at(i, k), at(i, column));
            std::swap(order_[std::size_t(k)], order_[std::size_t(column)]);
        }
    }

    // The remaining system without the first unknown.
    Elimination reduced() {
        const int rows = std::max(rows_ - 1, columns_ - 2);
        std::vector<double> b;
        b.reserve(std::size_t(rows) * std::size_t(columns_ - 1));
        for (int i = 1; i <= rows; ++i) {
            const double f = at(i, 0) / at(0, 0);
            for (int j = 1; j < columns_; ++j)
                b.push_back(at(i, j) - f * at(0, j));
        }
        return Elimination(b.data(), rows, columns_ - 1);
    }

    int rows_;
    int columns_;
    std::vector<double> a_;
    std::vector<int> order_;
};

} // namespace

ERVec<double> ResolveHyperPlan(const ERMatrix<double>& m) {
    if (m.columns() < 1 || !m.is_whole()) return {};
    const std::vector<double> x = Elimination(m.view().data(), m.rows(), m.columns()).null_vector();
    return ERVec<double>(std::span<const double>(x));
}
