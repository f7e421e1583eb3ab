// velm::detail::BandMatrix: square systems whose entries lie near the diagonal.
#pragma once

#include <cstddef>
#include <vector>

namespace velm::detail {

/// Rows of a banded matrix: `width` entries from the diagonal's column minus `left` on.
class BandMatrix {
public:
    BandMatrix(int rows, int left, int right)
        : rows_(rows), left_(left), right_(right),
          entries_(static_cast<std::size_t>(rows) * static_cast<std::size_t>(left + right + 1)) {}

    double& at(int row, int column) {
        return entries_[static_cast<std::size_t>(row) *
                            static_cast<std::size_t>(left_ + right_ + 1) +
                        static_cast<std::size_t>(column - row + left_)];
    }
    bool holds(int row, int column) const {
        return column >= 0 && column < rows_ && column - row >= -left_ && column - row <= right_;
    }

    /// Gauss's elimination without pivots, which a totally positive or positive definite matrix
    /// doesn't need. `values` is the right-hand side and becomes the solution. Returns false for a
    /// pivot that isn't positive.
    template <class Value>
    bool solve(std::vector<Value>& values) {
        for (int k = 0; k < rows_; ++k) {
            if (!(at(k, k) > 0.0)) return false;
            for (int i = k + 1; holds(i, k) && i < rows_; ++i) {
                const double factor = at(i, k) / at(k, k);
                if (factor == 0.0) continue;
                for (int j = k + 1; holds(k, j); ++j)
                    at(i, j) -= factor * at(k, j);
                values[static_cast<std::size_t>(i)] -= values[static_cast<std::size_t>(k)] * factor;
            }
        }
        for (int k = rows_ - 1; k >= 0; --k) {
            Value& value = values[static_cast<std::size_t>(k)];
            for (int j = k + 1; holds(k, j); ++j)
                value -= values[static_cast<std::size_t>(j)] * at(k, j);
            value = value * (1.0 / at(k, k));
        }
        return true;
    }

private:
    int rows_, left_, right_;
    std::vector<double> entries_;
};

} // namespace velm::detail
