// ERPolynome2Var: a polynomial in two variables, in the power basis.
#pragma once

#include "velm/export.h"
#include "velm/numerics/matrix.h"

#include <iosfwd>

/// Row r, column c of the coefficients multiplies v to the power r times u to the power c. There
/// may be no coefficients, or rows and columns of zeros at the end.
class VELM_API ERPolynome2Var {
public:
    /// The constant 0.
    ERPolynome2Var() : ERPolynome2Var(0, 0) {}
    /// Zeros: degree a in v and b in u.
    ERPolynome2Var(int a, int b) : coefficients_(a + 1, b + 1) {}
    /// The coefficients row by row.
    ERPolynome2Var(const double* values, int rows, int columns)
        : coefficients_(rows, columns, values) {}
    /// The coefficients from an array; fewer than rows * columns elements give no coefficients.
    ERPolynome2Var(const ERVec<double>& values, int rows, int columns);
    explicit ERPolynome2Var(const ERMatrix<double>& matrix) : coefficients_(matrix) {}
    ERPolynome2Var(const ERPolynome2Var&) = default;
    ERPolynome2Var(ERPolynome2Var&&) = default;
    ERPolynome2Var& operator=(const ERPolynome2Var&) = default;
    ERPolynome2Var& operator=(ERPolynome2Var&&) = default;
    virtual ~ERPolynome2Var() = default;

    /// Writes "Polynome 2Var dU=", the degree in u, ", dv=", the degree in v, ")" and the matrix,
    /// which sets the stream's flags.
    virtual void printOn(std::ostream& out) const;
    /// The stored form is the matrix's. A record that is cut short leaves the polynomial unchanged.
    virtual unsigned int binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    virtual void restoreGuts(ERFile& file);

    /// The numbers of columns and of rows less one, 0 without any. Both strip columns or rows of
    /// exact zeros at the end first: don't call them on a polynomial that two threads share.
    int degreeU() const;
    int degreeV() const;
    /// Grow to degree d by zeros; -1 strips columns or rows of exact zeros at the end.
    /// adjustDegreeU writes "Error\n" to the debug output if the matrix's array does not have rows
    /// times columns elements; missing elements count as zeros.
    void adjustDegreeU(int d);
    void adjustDegreeV(int d);

    /// The coefficient of v^v u^u: 0.0 out of range; the non-const form grows instead.
    double coefficient(int v, int u) const;
    double& coefficient(int v, int u);
    /// Unchecked.
    double at(int v, int u) const { return coefficients_(v, u); }
    double& at(int v, int u) { return coefficients_(v, u); }

    /// The value: the sum over the rows of the row's sum times its power of v. 0.0 without
    /// coefficients.
    double eval(double u, double v) const;

    const ERMatrix<double>& matrix() const { return coefficients_; }

private:
    void reshape(int rows, int columns);

    ERMatrix<double> coefficients_;
};

VELM_API std::ostream& operator<<(std::ostream& out, const ERPolynome2Var& p);
