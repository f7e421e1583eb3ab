// ERCNewtonS, ERCNewtonSDelta, ERCNewtonSPolynome, ERCNewtonM, ERCNewtonMDelta, ERCNewtonH: the
// problems that a Newton solver solves. A problem gives the function and its derivative; the solver
// owns the iteration.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"
#include "velm/numerics/matrix.h"
#include "velm/numerics/polynomial.h"

/// One equation in one unknown.
class VELM_API ERCNewtonS {
public:
    virtual double f(double x) = 0;
    virtual double fprime(double x) = 0;
    virtual ~ERCNewtonS() = default;
};

/// The derivative by central difference: (f(x + h) - f(x - h)) * 0.5 / h, where h is the increment.
class VELM_API ERCNewtonSDelta : public ERCNewtonS {
public:
    explicit ERCNewtonSDelta(double increment) : increment_(increment) {}
    double fprime(double x) override;

    void SetIncrement(double h) { increment_ = h; }
    double GetIncrement() const { return increment_; }

private:
    double increment_;
};

/// A polynomial and its derivative, both given; the derivative is not formed here.
class VELM_API ERCNewtonSPolynome : public ERCNewtonS {
public:
    ERCNewtonSPolynome(const ERPolynome& function, const ERPolynome& derivative)
        : function_(function), derivative_(derivative) {}
    double f(double x) override { return function_.evaluate(x); }
    double fprime(double x) override { return derivative_.evaluate(x); }

private:
    ERPolynome function_;
    ERPolynome derivative_;
};

/// A square system: as many equations as unknowns. A solver treats arrays of other sizes as a
/// singular Jacobian.
class VELM_API ERCNewtonM {
public:
    virtual ERVec<double> f(const ERVec<double>& x) = 0;
    /// Row i, column j: the derivative of equation i by unknown j.
    virtual ERMatrix<double> fprime(const ERVec<double>& x) = 0;
    virtual ~ERCNewtonM() = default;
};

/// The Jacobian by central differences, and then made symmetric: the class is meant for Hessians,
/// and a Jacobian that is not symmetric loses its skew part, which is part of the contract. Empty
/// unless f has as many components as x.
class VELM_API ERCNewtonMDelta : public ERCNewtonM {
public:
    explicit ERCNewtonMDelta(double increment) : increment_(increment) {}
    ERMatrix<double> fprime(const ERVec<double>& x) override;

    void SetIncrement(double h) { increment_ = h; }
    double GetIncrement() const { return increment_; }

private:
    double increment_;
};

/// A stationary point of a scalar function H: f is the gradient of H by forward differences.
class VELM_API ERCNewtonH : public ERCNewtonMDelta {
public:
    explicit ERCNewtonH(double increment) : ERCNewtonMDelta(increment) {}
    ERVec<double> f(const ERVec<double>& x) override;
    virtual double H(const ERVec<double>& x) = 0;
    /// 0 if x is in the domain of H (default: 1).
    virtual int HDomaine(const ERVec<double>& x);
};
