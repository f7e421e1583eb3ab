// velm::detail::stored_poles: an array of points or poles as a field of a stored form, with its
// checks.
#pragma once

#include "velm/frame/stored_form.h"
#include "velm/frame/vec.h"

#include <cmath>
#include <limits>

namespace velm::detail {

/// An array of points or poles as a stored field: its body. A body that can't be read, that is no
/// whole number of them or more than `most`, or that holds a number that is not finite, leaves the
/// array empty.
template <class Array>
struct StoredPoles {
    Array& poles;
    int most;
};
template <class Array>
StoredPoles<Array> stored_poles(Array& poles, int most = std::numeric_limits<int>::max()) {
    return {poles, most};
}

template <class Array>
struct FieldForm<StoredPoles<Array>> {
    using Pole = typename Array::value_type;
    static constexpr bool fixed = false;

    static void save(ERFile& file, const StoredPoles<Array>& field) {
        field.poles.rep()->saveGuts(file);
    }
    static void restore(ERFile& file, StoredPoles<Array>& field) {
        ERVecRep* const body = ERVecRep::getRep(file);
        field.poles = body != nullptr ? Array(body) : Array();
        if (!is_sound(field.poles) || field.poles.size() > field.most) field.poles = Array();
    }
    static unsigned int size(const StoredPoles<Array>& field) {
        return field.poles.rep()->binaryStoreSize();
    }

private:
    static bool is_sound(const Array& poles) {
        if (poles.rep()->length() % sizeof(Pole) != 0) return false;
        for (const Pole& pole : poles.view())
            for (int c = 0; c < Pole::components; ++c)
                if (!std::isfinite(pole[c])) return false;
        return true;
    }
};

} // namespace velm::detail
