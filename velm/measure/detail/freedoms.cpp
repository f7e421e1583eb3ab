#include "velm/measure/detail/freedoms.h"

#include "velm/numerics/symmetric_eigen.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <utility>

namespace velm {

namespace detail {

namespace {

// The remainder of a unit vector after subtracting others counts as zero below this length.
constexpr double nothing = 1e-6;

using Unknowns = std::array<double, 6>;

double dot(const Unknowns& a, const Unknowns& b, std::size_t from = 0, std::size_t to = 6) {
    double sum = 0.0;
    for (std::size_t n = from; n < to; ++n)
        sum += a[n] * b[n];
    return sum;
}
double turn_dot(const Unknowns& a, const Unknowns& b) { return dot(a, b, 0, 3); }
double shift_dot(const Unknowns& a, const Unknowns& b) { return dot(a, b, 3, 6); }

void add_to(Unknowns& sum, double factor, const Unknowns& other) {
    for (std::size_t n = 0; n < sum.size(); ++n)
        sum[n] += factor * other[n];
}

ERVector3D turn_of(const Unknowns& v) { return {v[0], v[1], v[2]}; }
ERVector3D shift_of(const Unknowns& v) { return {v[3], v[4], v[5]}; }

// The value, with rounding around 0 removed.
template <class Value>
Value settled(const Value& value, double tolerance) {
    return Value::each([&](int n) { return std::fabs(value[n]) > tolerance ? value[n] : 0.0; });
}

// The unit vector along v whose greatest component is positive.
ERVector3D axis_along(const ERVector3D& v) {
    const ERVector3D unit = v.getnormalized();
    return settled(unit[unit.axeOptimum()] < 0.0 ? -unit : unit, nothing * nothing);
}

} // namespace

Freedoms::Unknowns Freedoms::row_of(const ERVector3D& arm, const ERVector3D& normal) const {
    const ERVector3D turned = arm ^ normal;
    return {turned.i() / extent_, turned.j() / extent_, turned.k() / extent_,
            normal.i(),           normal.j(),           normal.k()};
}

void Freedoms::add_product(Matrix& upper, const Unknowns& row) const {
    for (std::size_t a = 0; a < count_; ++a) {
        const std::size_t i = used_[a];
        for (std::size_t b = a; b < count_; ++b)
            upper[i][used_[b]] += row[i] * row[used_[b]];
    }
}

void Freedoms::complete(Matrix& upper) const {
    for (std::size_t i = 0; i < 6; ++i) {
        for (std::size_t j = i + 1; j < 6; ++j)
            upper[j][i] = upper[i][j];
    }
}

void Freedoms::add(const ERVector3D& arm, const ERVector3D& nominal_arm, const ERVector3D& normal,
                   double deviation) {
    const Unknowns row = row_of(arm, normal);
    add_product(matrix_, row);
    add_product(nominal_, row_of(nominal_arm, normal));
    add_to(gradient_, deviation, row);
}

std::vector<Freedoms::Mode> Freedoms::modes_of(const Matrix& matrix, std::size_t size) {
    const int count = static_cast<int>(size);
    Mgc::Eigen eigen(count);
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j)
            eigen.Matrix(i, j) = matrix[std::size_t(i)][std::size_t(j)];
    }
    eigen.DecrSortEigenStuffN();
    std::vector<Mode> modes;
    for (int n = 0; n < count; ++n) {
        modes.push_back({eigen.GetEigenvalue(n), {}});
        for (int i = 0; i < count; ++i)
            modes.back().vector[std::size_t(i)] = eigen.GetEigenvector(i, n);
    }
    return modes;
}

void Freedoms::analyse(double least) {
    least_ = least;
    complete(matrix_);
    complete(nominal_);
    if (count_ == 0) return;
    Matrix free = {};
    for (std::size_t i = 0; i < count_; ++i) {
        for (std::size_t j = 0; j < count_; ++j)
            free[i][j] = nominal_[used_[i]][used_[j]];
    }
    const std::vector<Mode> modes = modes_of(free, count_);
    const double floor = std::max(modes.front().eigenvalue * least * least, 0.0);
    std::vector<Unknowns> open;
    for (const Mode& mode : modes) {
        Unknowns vector = {};
        for (std::size_t i = 0; i < count_; ++i)
            vector[used_[i]] = mode.vector[i];
        (mode.eigenvalue > floor ? determined_ : open).push_back(vector);
    }
    reduce(std::move(open));
}

// Elimination on the turns, the greatest first: a motion without a remaining turn is a slide.
void Freedoms::reduce(std::vector<Unknowns> open) {
    while (!open.empty()) {
        const auto greatest =
            std::max_element(open.begin(), open.end(), [](const Unknowns& a, const Unknowns& b) {
                return turn_dot(a, a) < turn_dot(b, b);
            });
        Unknowns pivot = *greatest;
        open.erase(greatest);
        const double square = turn_dot(pivot, pivot);
        if (square > nothing * nothing) {
            for (Unknowns& other : open)
                add_to(other, -turn_dot(other, pivot) / square, pivot);
            turns_.push_back(pivot);
        } else {
            std::fill_n(pivot.begin(), 3, 0.0);
            for (const Unknowns& slide : slides_)
                add_to(pivot, -dot(pivot, slide), slide);
            const ERVector3D direction = axis_along(shift_of(pivot));
            slides_.push_back({0.0, 0.0, 0.0, direction.i(), direction.j(), direction.k()});
        }
    }
    for (Unknowns& turn : turns_) {
        for (const Unknowns& slide : slides_)
            add_to(turn, -shift_dot(turn, slide), slide);
    }
}

// Adds undetermined motions until the step contains no held one.
void Freedoms::hold(Unknowns& step) const {
    for (const Unknowns& turn : turns_)
        add_to(step, -turn_dot(step, turn) / turn_dot(turn, turn), turn);
    for (const Unknowns& slide : slides_)
        add_to(step, -shift_dot(step, slide), slide);
}

Step Freedoms::solve() const {
    const std::size_t count = determined_.size();
    Matrix reduced = {};
    for (std::size_t i = 0; i < count; ++i) {
        Unknowns image = {};
        for (std::size_t n = 0; n < 6; ++n)
            image[n] = dot(matrix_[n], determined_[i]);
        for (std::size_t j = 0; j < count; ++j)
            reduced[j][i] = dot(determined_[j], image);
    }
    Unknowns sum = {};
    Step step;
    if (count == 0) return step;
    const std::vector<Mode> modes = modes_of(reduced, count);
    for (const Mode& mode : modes) {
        if (!(mode.eigenvalue > modes.front().eigenvalue * least_ * least_)) continue;
        Unknowns vector = {};
        for (std::size_t n = 0; n < count; ++n)
            add_to(vector, mode.vector[n], determined_[n]);
        const double slope = dot(vector, gradient_);
        add_to(sum, -slope / mode.eigenvalue, vector);
        step.gain += slope * slope / mode.eigenvalue;
    }
    hold(sum);
    step.turn = ERVector3D(turn_of(sum) / extent_);
    step.shift = shift_of(sum);
    step.size = std::sqrt(dot(sum, sum)) / extent_;
    return step;
}

std::vector<HeldFreedom> Freedoms::held(const ERPoint3D& centroid) const {
    std::vector<HeldFreedom> result;
    for (const Unknowns& v : turns_) {
        const ERVector3D turn(turn_of(v) / extent_), shift = shift_of(v);
        const double pitch = (turn * shift) / turn.norme2();
        const ERVector3D axis = axis_along(turn);
        ERVector3D through(centroid + (turn ^ shift) * (1.0 / turn.norme2()));
        through -= (through * axis) * axis;
        const bool screw = std::fabs(pitch) > nothing * extent_;
        result.push_back({screw ? HeldFreedom::screwing : HeldFreedom::turning, axis,
                          ERPoint3D(settled(through, nothing * nothing * extent_)),
                          screw ? pitch : 0.0});
    }
    for (const Unknowns& slide : slides_)
        result.push_back({HeldFreedom::sliding, shift_of(slide), centroid, 0.0});
    return result;
}

} // namespace detail

std::string HeldFreedom::name() const {
    std::ostringstream out;
    out.imbue(std::locale::classic());
    if (kind == sliding) {
        out << "sliding along " << direction;
        return out.str();
    }
    out << (kind == turning ? "turning" : "screwing") << " about the axis through " << through
        << " along " << direction;
    if (kind == screwing) out << " by " << pitch << " per radian";
    return out.str();
}

} // namespace velm
