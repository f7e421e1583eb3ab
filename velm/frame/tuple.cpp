#include "velm/frame/tuple.h"

#include "velm/frame/point.h"
#include "velm/frame/pole.h"
#include "velm/frame/vector.h"

#include <istream>
#include <ostream>

namespace velm::detail {

namespace {

struct Brackets {
    char open, close;
};

// Texts that hosts read: part of the contract.
template <class Value>
constexpr Brackets brackets = {'[', ']'};
template <>
constexpr Brackets brackets<ERVector2D> = {'{', '}'};
template <>
constexpr Brackets brackets<ERVector3D> = {'<', '>'};

// A pole's last component is its weight, written separately.
template <class Value>
constexpr int coordinates = Value::components;
template <>
constexpr int coordinates<ERPole2DH> = 2;
template <>
constexpr int coordinates<ERPole3DH> = 3;

// Writes numbers with the stream's field width at the start and punctuation with a width of 1.
class TupleWriter {
public:
    explicit TupleWriter(std::ostream& out) : out_(out), width_(out.width()) {}

    TupleWriter& operator<<(double number) {
        out_.width(width_);
        out_ << number;
        return *this;
    }
    TupleWriter& operator<<(char punctuation) {
        out_.width(1);
        out_ << punctuation;
        return *this;
    }

private:
    std::ostream& out_;
    std::streamsize width_;
};

} // namespace

template <class Value, class Quotient>
void Tuple<Value, Quotient>::printOn(std::ostream& out) const {
    const Value& value = self();
    TupleWriter text(out);
    text << brackets<Value>.open << value[0];
    for (int n = 1; n < coordinates<Value>; ++n)
        text << ',' << value[n];
    text << brackets<Value>.close;
    if constexpr (coordinates<Value> < Value::components)
        text << '(' << value[Value::components - 1] << ')';
}

template <class Value>
std::istream& read_tuple(std::istream& in, Value& value) {
    Value read;
    char skipped = 0;
    for (int n = 0; n < coordinates<Value>; ++n)
        in >> skipped >> read[n];
    in >> skipped;
    if constexpr (coordinates<Value> < Value::components)
        in >> skipped >> read[Value::components - 1] >> skipped;
    if (in) value = read;
    return in;
}

template class Tuple<ERPoint2D>;
template class Tuple<ERPoint3D>;
template class Tuple<ERVector2D, ERPoint2D>;
template class Tuple<ERVector3D, ERPoint3D>;
template class Tuple<ERPole2DH>;
template class Tuple<ERPole3DH>;

template std::istream& read_tuple(std::istream&, ERPoint2D&);
template std::istream& read_tuple(std::istream&, ERPoint3D&);
template std::istream& read_tuple(std::istream&, ERVector2D&);
template std::istream& read_tuple(std::istream&, ERVector3D&);
template std::istream& read_tuple(std::istream&, ERPole2DH&);
template std::istream& read_tuple(std::istream&, ERPole3DH&);

} // namespace velm::detail
