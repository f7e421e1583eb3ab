#include "velm/numerics/polynomial.h"

#include "velm/frame/binary_file.h"

#include <algorithm>
#include <cmath>
#include <ostream>

void ERPolynome::printOn(std::ostream& out) const {
    const auto c = coefficients_.view();
    if (c.empty()) {
        out << "polynome NULL" << '\n';
        return;
    }
    bool written = false;
    for (std::size_t i = 0; i < c.size(); ++i) {
        if (c[i] == 0.0) continue;
        if (i >= 1 && c[i] > 0.0 && written) out << "+";
        const bool value = i == 0 || c[i] != 1.0;
        if (value) out << c[i];
        if (i >= 1) out << (value ? "*x" : "x");
        if (i > 1) out << "**" << i;
        written = true;
    }
    out << '\n';
}

unsigned int ERPolynome::binaryStoreSize() const { return coefficients_.rep()->binaryStoreSize(); }

void ERPolynome::saveGuts(ERFile& file) const { coefficients_.rep()->saveGuts(file); }

void ERPolynome::restoreGuts(ERFile& file) {
    if (ERVecRep* const rep = ERVecRep::getRep(file)) coefficients_ = ERVec<double>(rep);
}

int ERPolynome::degree() const {
    const auto c = coefficients_.view();
    if (!c.empty() && c.back() == 0.0) const_cast<ERPolynome*>(this)->adjustDegree(-1);
    return std::max(coefficients_.size() - 1, 0);
}

void ERPolynome::adjustDegree(int d) {
    if (d == -1) {
        const auto c = coefficients_.view();
        std::size_t n = c.size();
        while (n > 0 && !(std::fabs(c[n - 1]) > 0.0))
            --n;
        d = static_cast<int>(n) - 1;
    }
    coefficients_.resize(d + 1);
}

double& ERPolynome::operator()(int i) {
    if (i >= coefficients_.size()) adjustDegree(i);
    return coefficients_[i];
}

double ERPolynome::evaluate(double x) const {
    const auto c = coefficients_.view();
    if (c.empty()) return 0.0;
    if (x == 0.0) return c[0];
    double result = c.back();
    for (std::size_t i = c.size() - 1; i-- > 0;)
        result = result * x + c[i];
    return result;
}

ERPolynome ERPolynome::operator()(const ERPolynome& q) const {
    if (size() <= 1) return *this;
    if (q.size() <= 1) return ERPolynome(polyValue, (*this)[0]);
    ERPolynome result(polyValue, view().back());
    for (int i = size() - 2; i >= 0; --i) {
        result *= q;
        result(0) += (*this)[i];
    }
    return result;
}

ERPolynome ERPolynome::getDerived(int k) const {
    if (k > degree()) return ERPolynome(polyValue, 0.0);
    ERPolynome result(*this);
    for (; k > 0; --k) {
        const auto c = result.coefficients_.writable();
        for (std::size_t i = 1; i < c.size(); ++i)
            c[i - 1] = c[i] * double(i);
        result.coefficients_.resize(static_cast<int>(c.size()) - 1);
    }
    return result;
}

void ERPolynome::reduce(double e) {
    double power = 1.0;
    for (double& c : coefficients_.writable()) {
        power *= e;
        if (power > std::fabs(c)) c = 0.0;
    }
    adjustDegree(-1);
}

ERPolynome& ERPolynome::operator*=(double factor) {
    for (double& c : coefficients_.writable())
        c *= factor;
    return *this;
}

ERPolynome& ERPolynome::operator/=(double divisor) {
    for (double& c : coefficients_.writable())
        c /= divisor;
    return *this;
}

namespace {

template <class Combine>
ERPolynome by_coefficient(const ERPolynome& p, const ERPolynome& q, Combine combine) {
    ERPolynome result(polyConstruct, std::max(p.degree(), q.degree()));
    for (int i = 0; i < result.size(); ++i)
        result[i] = combine(p(i), q(i));
    return result;
}

} // namespace

ERPolynome operator+(const ERPolynome& p, const ERPolynome& q) {
    return by_coefficient(p, q, [](double a, double b) { return a + b; });
}

ERPolynome operator-(const ERPolynome& p, const ERPolynome& q) {
    return by_coefficient(p, q, [](double a, double b) { return a - b; });
}

ERPolynome operator*(const ERPolynome& p, const ERPolynome& q) {
    const auto a = p.view();
    const auto b = q.view();
    if (a.empty() || b.empty()) return ERPolynome(polyValue, 0.0);
    ERPolynome result(polyConstruct, static_cast<int>(a.size() + b.size()) - 2);
    const auto c = result.coefficients_.writable();
    for (std::size_t i = 0; i < a.size(); ++i)
        for (std::size_t j = 0; j < b.size(); ++j)
            c[i + j] += a[i] * b[j];
    return result;
}

int operator==(const ERPolynome& p, const ERPolynome& q) {
    for (int i = 0; i < std::max(p.size(), q.size()); ++i)
        if (p(i) != q(i)) return 0;
    return 1;
}

std::ostream& operator<<(std::ostream& out, const ERPolynome& p) {
    p.printOn(out);
    return out;
}

ERFile& operator<<(ERFile& file, const ERPolynome& p) {
    p.saveGuts(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERPolynome& p) {
    p.restoreGuts(file);
    return file;
}
