// velm::detail::Tuple: the common operations of points, vectors and poles: arithmetic component by
// component, exact comparison, text form, stored form.
#pragma once

#include "velm/export.h"
#include "velm/frame/stored_value.h"

#include <iosfwd>

namespace velm::detail {

/// Reads the text form of a Tuple; `value` is unchanged if the stream fails.
template <class Value>
VELM_API std::istream& read_tuple(std::istream& in, Value& value);

/// Base of a value class of two to four doubles. `Value` has
/// - `components`, the number of doubles,
/// - `operator[](int)`, the component by its index,
/// - `each(f)`, the value whose components are f(0), f(1), ...
/// Dividing gives a `Quotient`, which is the class itself except for vectors.
template <class Value, class Quotient = Value>
class VELM_API Tuple : public StoredValue<Value> {
public:
    constexpr Value operator-() const {
        const Value& a = self();
        return Value::each([&](int n) { return -a[n]; });
    }
    constexpr Value& operator+=(const Value& b) { return self() = self() + b; }
    constexpr Value& operator-=(const Value& b) { return self() = self() - b; }
    constexpr Value& operator*=(double factor) { return self() = self() * factor; }
    constexpr Value& operator/=(double divisor) {
        const Value& a = self();
        return self() = Value::each([&](int n) { return a[n] / divisor; });
    }

    friend constexpr Value operator+(const Value& a, const Value& b) {
        return Value::each([&](int n) { return a[n] + b[n]; });
    }
    friend constexpr Value operator-(const Value& a, const Value& b) {
        return Value::each([&](int n) { return a[n] - b[n]; });
    }
    friend constexpr Value operator*(const Value& a, double factor) {
        return Value::each([&](int n) { return a[n] * factor; });
    }
    friend constexpr Value operator*(double factor, const Value& a) { return a * factor; }
    friend constexpr Quotient operator/(const Value& a, double divisor) {
        return Quotient::each([&](int n) { return a[n] / divisor; });
    }

    /// All components exactly equal; a NaN equals nothing.
    friend constexpr bool operator==(const Value& a, const Value& b) {
        for (int n = 0; n < Value::components; ++n) {
            if (!(a[n] == b[n])) return false;
        }
        return true;
    }

    /// Writes the text form: the stream's field width on entry applies to each number, a width of 1
    /// to each piece of punctuation.
    void printOn(std::ostream& out) const;
    friend std::ostream& operator<<(std::ostream& out, const Value& value) {
        value.printOn(out);
        return out;
    }
    /// Reads the text form. Punctuation is skipped unchecked; on failure `value` is unchanged.
    friend std::istream& operator>>(std::istream& in, Value& value) {
        return read_tuple(in, value);
    }

private:
    constexpr Value& self() { return static_cast<Value&>(*this); }
    constexpr const Value& self() const { return static_cast<const Value&>(*this); }
};

/// a * b summed over the first `size` components, in order.
template <int size, class A, class B>
constexpr double dot_product(const A& a, const B& b) {
    double sum = a[0] * b[0];
    for (int n = 1; n < size; ++n)
        sum += a[n] * b[n];
    return sum;
}

/// Whether no component of a and b differs by more than `tolerance`.
template <class Value>
constexpr bool components_within(const Value& a, const Value& b, double tolerance) {
    for (int n = 0; n < Value::components; ++n) {
        const double difference = a[n] - b[n];
        if (!(tolerance >= (difference < 0.0 ? -difference : difference))) return false;
    }
    return true;
}

/// `flat` with `value` inserted at `axis`; zeros for an axis out of range.
template <class Lifted, class Flat>
constexpr Lifted lift(const Flat& flat, int axis, double value) {
    if (axis < 0 || axis > 2) return Lifted();
    return Lifted::each([&](int n) { return n == axis ? value : flat[n < axis ? n : n - 1]; });
}

/// `solid` without the component at `axis`; zeros for an axis out of range.
template <class Flat, class Solid>
constexpr Flat drop_axis(const Solid& solid, int axis) {
    if (axis < 0 || axis > 2) return Flat();
    return Flat::each([&](int n) { return solid[n < axis ? n : n + 1]; });
}

} // namespace velm::detail
