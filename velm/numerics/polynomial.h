// ERPolynome: a polynomial in one variable, in the power basis.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"

#include <iosfwd>

/// Tags that choose a constructor.
enum ERPolynomeValue { polyValue };
enum ERPolynomeConstruct { polyConstruct };

/// Coefficients, the lowest power first: element i multiplies x to the power i. There may be no
/// coefficients (the null polynomial) or zeros at the end.
class VELM_API ERPolynome {
public:
    /// One coefficient, 0.0.
    ERPolynome() : ERPolynome(polyValue, 0.0) {}
    ERPolynome(ERPolynomeValue, double constant) : coefficients_(1, constant) {}
    /// degree + 1 zeros.
    ERPolynome(ERPolynomeConstruct, int degree) : coefficients_(degree + 1) {}
    ERPolynome(const double* values, int count)
        : coefficients_(std::span<const double>(values, static_cast<std::size_t>(count))) {}
    ERPolynome(const ERPolynome&) = default;
    ERPolynome(ERPolynome&&) = default;
    ERPolynome& operator=(const ERPolynome&) = default;
    ERPolynome& operator=(ERPolynome&&) = default;
    virtual ~ERPolynome() = default;

    /// The text form, such as "1-2*x+x**3" and a line end; "polynome NULL" without coefficients.
    virtual void printOn(std::ostream& out) const;
    /// The stored form is the array body alone. A record that is cut short leaves the polynomial
    /// unchanged.
    virtual unsigned int binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);

    /// The number of coefficients less one, 0 without any. Strips exact zeros at the end first,
    /// even though it is const, because hosts rely on the stripped length: a polynomial that two
    /// threads share must not end in zeros.
    int degree() const;
    /// Appends zeros up to degree d, or cuts down to it; -1 strips exact zeros at the end.
    void adjustDegree(int d);

    /// Unchecked; the non-const form detaches a shared body.
    double operator[](int i) const { return coefficients_.view()[static_cast<std::size_t>(i)]; }
    double& operator[](int i) { return coefficients_[i]; }
    /// 0.0 beyond the stored length.
    double operator()(int i) const { return i < coefficients_.size() ? (*this)[i] : 0.0; }
    /// Grows the array if i is beyond the stored length.
    double& operator()(int i);

    /// The value at x, by Horner's scheme; 0.0 without coefficients.
    double evaluate(double x) const;
    /// The composition p(q(x)). With at most one coefficient in p it is p; with at most one in q it
    /// is p's first coefficient and not p at q's value, which is part of the contract.
    ERPolynome operator()(const ERPolynome& q) const;
    /// The k-th derivative; beyond the degree one coefficient 0.0.
    ERPolynome getDerived(int k) const;
    /// Sets coefficient i to 0.0 if e to the power i + 1 exceeds its absolute value, then strips
    /// zeros at the end.
    void reduce(double e);

    ERPolynome& operator+=(const ERPolynome& q) { return *this = *this + q; }
    ERPolynome& operator-=(const ERPolynome& q) { return *this = *this - q; }
    ERPolynome& operator*=(const ERPolynome& q) { return *this = *this * q; }
    ERPolynome& operator*=(double factor);
    ERPolynome& operator/=(double divisor);

    friend VELM_API ERPolynome operator+(const ERPolynome& p, const ERPolynome& q);
    friend VELM_API ERPolynome operator-(const ERPolynome& p, const ERPolynome& q);
    /// The full convolution; one coefficient 0.0 when either has none.
    friend VELM_API ERPolynome operator*(const ERPolynome& p, const ERPolynome& q);
    friend ERPolynome operator*(ERPolynome p, double factor) { return p *= factor; }
    friend ERPolynome operator*(double factor, ERPolynome p) { return p *= factor; }
    friend ERPolynome operator/(ERPolynome p, double divisor) { return p /= divisor; }
    /// Exact comparison, the shorter one continued by zeros.
    friend VELM_API int operator==(const ERPolynome& p, const ERPolynome& q);

    int size() const { return coefficients_.size(); }
    std::span<const double> view() const { return coefficients_.view(); }

private:
    mutable ERVec<double> coefficients_; // degree() strips
};

VELM_API std::ostream& operator<<(std::ostream& out, const ERPolynome& p);
VELM_API ERFile& operator<<(ERFile& file, const ERPolynome& p);
VELM_API ERFile& operator>>(ERFile& file, ERPolynome& p);
