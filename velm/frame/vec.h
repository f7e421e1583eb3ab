// QuickAlgebra::ERVec<T>: the counted numeric array; also at global scope as ERVec<T>.
#pragma once

#include "velm/frame/simple_vec.h"

namespace QuickAlgebra {

/// The array of numbers, points and poles: an ERSimpleVec without further data.
template <class T>
class VELM_API ERVec : public ERSimpleVec<T> {
public:
    using ERSimpleVec<T>::ERSimpleVec;
    using ERSimpleVec<T>::operator=;

    ERVec() noexcept = default;
    explicit ERVec(const ERSimpleVec<T>& other) noexcept : ERSimpleVec<T>(other) {}
};

} // namespace QuickAlgebra

using QuickAlgebra::ERVec;
