// Polynomials in the Bernstein basis as bare arrays: evaluation, subdivision, degree elevation.
//
// An array packs `dim` components per pole, poles contiguous; `count` is the number of poles, the
// degree plus 1. A grid of poles is `rows` such arrays one after the other. Sizes are
// preconditions; nothing is checked. None of these functions allocates after a thread's first
// calls. They work in the thread's scratch buffer, so no argument may point into it.
#pragma once

#include "velm/export.h"
#include "velm/frame/vec.h"

/// The i-th Bernstein polynomial of degree n at t, 0 <= i <= n <= 99, by its triangle of convex
/// combinations (Piegl and Tiller, The NURBS Book, A1.2).
VELM_API double Bernstein(int i, int n, double t);

/// n + 1 values, of which only the last is the value of its Bernstein polynomial: the inner step
/// multiplies where the textbook (The NURBS Book, A1.3) adds. Part of the contract, and used by
/// nothing here; call Bernstein for the values.
VELM_API ERVec<double> AllBernsteins(int n, double t);

/// The point at t, by de Casteljau's scheme.
VELM_API void Casteljau(const double* poles, int count, double t, int dim, double* out);
/// The whole scheme: level 0 is the poles, each level follows the one before it with one pole less.
/// The triangle has room for count (count + 1) / 2 poles.
VELM_API void CasteljauAll(const double* poles, double* triangle, int count, double t, int dim);

/// The point at t, by Horner's scheme on Bernstein coefficients, in the ratio that does not
/// exceed 1. Above degree 1000, whose binomials overflow, by the polynomials that don't underflow
/// beside the largest: about 37 times the square root of the degree of them.
VELM_API void Horner(const double* poles, int count, double t, int dim, double* out);
/// The point (u, v) of a grid: the rows at u, then their column at v.
VELM_API void Horner(const double* poles, int rows, int count, double u, double v, double* out,
                     int dim);
/// Each row at t. Rows step by count * dim, results by dim; `stride` is not read.
VELM_API void HornerIsoU(const double* poles, int rows, int count, double* out, double t, int dim,
                         int stride);
/// Each of the count columns at t; results step by dim; `stride` is not read.
VELM_API void HornerIsoV(const double* poles, int rows, int count, double* out, double t, int dim,
                         int stride);

/// Raises the degree `times` times, in place; the array has room for count + times poles.
VELM_API void BezierIncreaseDegree(double* poles, int count, int times, int dim);

/// Forward differences, count - 1 poles. They are not multiplied by the degree: callers do that.
VELM_API void Hodographe(const double* poles, double* out, int count, int dim);
/// Forward differences within each row.
VELM_API void HodographeU(const double* poles, double* out, int rows, int count, int dim);
/// Differences between consecutive rows of rowLength poles, count rows.
VELM_API void HodographeV(const double* poles, double* out, int count, int rowLength, int dim);

/// Replaces the poles by those of the part [a, b] of [0, 1], in place.
VELM_API void RedefineDomain(double* poles, int count, double a, double b, int dim);
/// The same along each row of a grid.
VELM_API void RedefineDomainU(double* poles, int rows, int count, int dim, double a, double b);
/// The same across count rows of rowLength poles each.
VELM_API void RedefineDomainV(double* poles, int count, int rowLength, int dim, double a, double b);
