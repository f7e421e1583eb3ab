// The matrix of poles as a stored field, with its checks.
#pragma once

#include "velm/curves/detail/pole_arrays.h"
#include "velm/frame/stored_form.h"
#include "velm/numerics/matrix.h"

#include <cmath>

namespace velm::detail {

/// A matrix that can't be read, that has no rows or more than `most` of either, or that holds a
/// number that is not finite, is left empty.
template <class Matrix>
struct StoredPoleMatrix {
    Matrix& poles;
    int most;
};
template <class Matrix>
StoredPoleMatrix<Matrix> stored_pole_matrix(Matrix& poles,
                                            int most = std::numeric_limits<int>::max()) {
    return {poles, most};
}

template <class Matrix>
struct FieldForm<StoredPoleMatrix<Matrix>> {
    static constexpr bool fixed = false;

    static void save(ERFile& file, const StoredPoleMatrix<Matrix>& field) {
        field.poles.saveGuts(file);
    }
    static void restore(ERFile& file, StoredPoleMatrix<Matrix>& field) {
        field.poles = Matrix();
        field.poles.restoreGuts(file);
        const bool fits = field.poles.rows() <= field.most && field.poles.columns() <= field.most;
        if (!fits || !is_finite(field.poles)) field.poles = Matrix();
    }
    static unsigned int size(const StoredPoleMatrix<Matrix>& field) {
        return field.poles.binaryStoreSize();
    }

private:
    static bool is_finite(const Matrix& poles) {
        for (const auto& pole : poles.view())
            for (int c = 0; c < std::remove_cvref_t<decltype(pole)>::components; ++c)
                if (!std::isfinite(pole[c])) return false;
        return !poles.empty();
    }
};

} // namespace velm::detail
