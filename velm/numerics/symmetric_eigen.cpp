#include "velm/numerics/symmetric_eigen.h"

#include "velm/frame/thread_data.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <utility>

namespace Mgc {

namespace {

// The number of doubles in an object's arrays.
int value_count(int n) {
    constexpr int largest = 46339; // the largest n whose count fits an int
    if (n > largest) throw std::bad_array_new_length();
    return n > 0 ? n * n + 2 * n : 0;
}

} // namespace

Eigen::Eigen(int n) : size_(n), values_(value_count(n)), rows_(std::max(n, 0)) {
    matrix_ = rows_.data();
    double* next = values_.data();
    for (int i = 0; i < n; ++i, next += n)
        matrix_[i] = next;
    diagonal_ = next;
    subdiagonal_ = next + std::max(n, 0);
}

void Eigen::SetMatrix(double** source) {
    for (int row = 0; row < size_; ++row)
        std::copy_n(source[row], size_, matrix_[row]);
}

// ---- reduction to tridiagonal form ----

namespace {

// Rows first .. n-1 of the identity, in the columns first .. n-1.
void set_identity_block(double** mat, int first, int n) {
    for (int i = first; i < n; ++i)
        for (int j = first; j < n; ++j)
            mat[i][j] = i == j ? 1.0 : 0.0;
}

// Makes the first row and the first column of mat those of the identity.
void set_first_unit(double** mat, int n) {
    for (int i = 1; i < n; ++i)
        mat[0][i] = mat[i][0] = 0.0;
    mat[0][0] = 1.0;
}

struct Vector3 {
    double x, y, z;
};

double dot(const Vector3& a, const Vector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double length(const Vector3& a) { return std::sqrt(dot(a, a)); }

struct Symmetric3 {
    double xx, xy, xz, yy, yz, zz;
    Vector3 operator*(const Vector3& v) const {
        return {xx * v.x + xy * v.y + xz * v.z, xy * v.x + yy * v.y + yz * v.z,
                xz * v.x + yz * v.y + zz * v.z};
    }
};

// A basis q, p, r in which the block M of a 4x4 matrix becomes tridiagonal, with the entries that
// this makes. q is the direction of the first row's tail.
struct LanczosBasis {
    Vector3 q, p, r;
};

// Writes the part of the tridiagonal form that belongs to p and r.
void set_tail(const Symmetric3& m, const LanczosBasis& basis, double* diag, double* subd) {
    const Vector3 mp = m * basis.p;
    diag[2] = dot(basis.p, mp);
    subd[2] = dot(basis.r, mp);
    diag[3] = dot(basis.r, m * basis.r);
}

// Completes q to a basis if q is an eigenvector of M and so doesn't determine p and r.
void complete_from_eigenvector(const Symmetric3& m, LanczosBasis& basis, double* diag,
                               double* subd) {
    const Vector3 q = basis.q;
    const double s = q.y * q.y + q.z * q.z;
    subd[1] = 0.0;
    if (s > 0.0) {
        const double t = q.x - 1.0;
        basis.p = {-q.y, t * q.y * q.y / s + 1.0, t * q.y * q.z / s};
        basis.r = {-q.z, t * q.y * q.z / s, t * q.z * q.z / s + 1.0};
        set_tail(m, basis, diag, subd);
    } else {
        basis.p = {0.0, 1.0, 0.0};
        basis.r = {0.0, 0.0, 1.0};
        diag[2] = m.yy;
        diag[3] = m.zz;
        subd[2] = m.yz;
    }
}

// One rotation in rows i and i + 1, the last two, makes the row before them tridiagonal.
void reduce_last_two(int i, double** mat, double* diag, double* subd) {
    const double near = mat[i - 1][i], far = mat[i - 1][i + 1], first = mat[i][i],
                 beside = mat[i][i + 1], last = mat[i + 1][i + 1];
    if (far == 0.0) {
        diag[i] = first;
        diag[i + 1] = last;
        subd[i - 1] = near;
        subd[i] = beside;
        set_identity_block(mat, i, i + 2);
        return;
    }
    const double span = std::sqrt(near * near + far * far);
    const double a = near / span;
    const double b = far / span;
    const double q = 2 * a * beside + b * (last - first);
    diag[i] = first + b * q;
    diag[i + 1] = last - b * q;
    subd[i - 1] = span;
    subd[i] = beside - a * q;
    mat[i][i] = a;
    mat[i][i + 1] = b;
    mat[i + 1][i] = b;
    mat[i + 1][i + 1] = -a;
}

// The 4x4 case with zeros beyond the first row's neighbour.
void reduce_lower_block_of_4(double** mat, double* diag, double* subd) {
    diag[1] = mat[1][1];
    subd[0] = mat[0][1];
    reduce_last_two(2, mat, diag, subd);
    mat[1][1] = 1.0;
    mat[1][2] = mat[1][3] = mat[2][1] = mat[3][1] = 0.0;
}

// The general 4x4 case: a Lanczos basis for the block of rows and columns 1 to 3.
void reduce_full_4(double** mat, double* diag, double* subd) {
    const double m01 = mat[0][1], m02 = mat[0][2], m03 = mat[0][3];
    const Symmetric3 m{mat[1][1], mat[1][2], mat[1][3], mat[2][2], mat[2][3], mat[3][3]};
    const double span = std::sqrt(m01 * m01 + m02 * m02 + m03 * m03);
    subd[0] = span;
    LanczosBasis basis{{m01 / span, m02 / span, m03 / span}, {}, {}};
    const Vector3 v = m * basis.q;
    diag[1] = dot(basis.q, v);
    const Vector3 w = cross(basis.q, v);
    const double tail = length(w);
    if (tail > 0.0) {
        basis.r = {w.x / tail, w.y / tail, w.z / tail};
        basis.p = cross(basis.r, basis.q);
        subd[1] = dot(basis.q, m * basis.p);
        set_tail(m, basis, diag, subd);
    } else {
        complete_from_eigenvector(m, basis, diag, subd);
    }
    const Vector3* columns[] = {&basis.q, &basis.p, &basis.r};
    for (int j = 0; j < 3; ++j) {
        mat[1][j + 1] = columns[j]->x;
        mat[2][j + 1] = columns[j]->y;
        mat[3][j + 1] = columns[j]->z;
    }
}

// product = A u for the symmetric A whose lower triangle the first n rows hold. Each element sums
// its terms in the order of u's index, though the triangle is gone through row by row.
void multiply_lower(int n, const double* const* a, const double* __restrict u,
                    double* __restrict product) {
    for (int k = 0; k < n; ++k) {
        const double* __restrict const row = a[k];
        const double factor = u[k];
        double sum = 0.0;
        for (int j = 0; j < k; ++j)
            sum += row[j] * u[j];
        for (int j = 0; j < k; ++j)
            product[j] += row[j] * factor;
        product[k] = sum + row[k] * factor;
    }
}

// One Householder step on row i of the lower triangle. Returns the step's h, or 0 if the row needs
// no reflection.
double reflect_row(int i, double** a, double* subd) {
    const int l = i - 1;
    double scale = 0.0;
    if (l > 0)
        for (int k = 0; k <= l; ++k)
            scale += std::fabs(a[i][k]);
    if (l == 0 || scale == 0.0) {
        subd[i] = a[i][l];
        return 0.0;
    }
    const double inverse_scale = 1.0 / scale;
    double h = 0.0;
    for (int k = 0; k <= l; ++k) {
        a[i][k] *= inverse_scale;
        h += a[i][k] * a[i][k];
    }
    double f = a[i][l];
    double g = std::sqrt(h);
    if (f > 0.0) g = -g;
    subd[i] = scale * g;
    h -= f * g;
    a[i][l] = f - g;
    const double inverse_h = 1.0 / h;
    multiply_lower(l + 1, a, a[i], subd);
    double sum = 0.0;
    for (int j = 0; j <= l; ++j) {
        a[j][i] = inverse_h * a[i][j];
        subd[j] *= inverse_h;
        sum += subd[j] * a[i][j];
    }
    const double hh = sum * 0.5 * inverse_h;
    const double* __restrict const u = a[i];
    for (int j = 0; j <= l; ++j) {
        f = u[j];
        g = subd[j] - hh * f;
        subd[j] = g;
        double* __restrict const row = a[j];
        for (int k = 0; k <= j; ++k)
            row[k] -= f * subd[k] + g * u[k];
    }
    return h;
}

// Applies the reflection of row i to the block of the first i rows and columns, all columns at
// once; s has room for i numbers.
void apply_reflection(int i, double** a, double* __restrict s) {
    std::fill_n(s, i, 0.0);
    for (int k = 0; k < i; ++k) {
        const double factor = a[i][k];
        const double* __restrict const row = a[k];
        for (int j = 0; j < i; ++j)
            s[j] += factor * row[j];
    }
    for (int k = 0; k < i; ++k) {
        double* __restrict const row = a[k];
        const double factor = row[i];
        for (int j = 0; j < i; ++j)
            row[j] -= s[j] * factor;
    }
}

// Multiplies out the reflections that the rows of a hold, from the first row on.
void accumulate_reflections(int n, double** a, double* diag) {
    double* const s = GetThreadScratch(n);
    for (int i = 0; i < n; ++i) {
        if (diag[i] != 0.0) apply_reflection(i, a, s);
        diag[i] = a[i][i];
        a[i][i] = 1.0;
        for (int j = 0; j < i; ++j)
            a[j][i] = a[i][j] = 0.0;
    }
}

} // namespace

void Eigen::Tridiagonal2(double** mat, double* diag, double* subd) {
    diag[0] = mat[0][0];
    diag[1] = mat[1][1];
    subd[0] = mat[0][1];
    subd[1] = 0.0;
    set_identity_block(mat, 0, 2);
}

void Eigen::Tridiagonal3(double** mat, double* diag, double* subd) {
    diag[0] = mat[0][0];
    subd[2] = 0.0;
    reduce_last_two(1, mat, diag, subd);
    set_first_unit(mat, 3);
}

void Eigen::Tridiagonal4(double** mat, double* diag, double* subd) {
    diag[0] = mat[0][0];
    subd[3] = 0.0;
    if (mat[0][2] == 0.0 && mat[0][3] == 0.0)
        reduce_lower_block_of_4(mat, diag, subd);
    else
        reduce_full_4(mat, diag, subd);
    set_first_unit(mat, 4);
}

void Eigen::TridiagonalN(int size, double** mat, double* diag, double* subd) {
    if (size < 1) return;
    for (int i = size - 1; i >= 1; --i)
        diag[i] = reflect_row(i, mat, subd);
    diag[0] = 0.0;
    subd[0] = 0.0;
    accumulate_reflections(size, mat, diag);
    for (int i = 1; i < size; ++i)
        subd[i - 1] = subd[i];
    subd[size - 1] = 0.0;
}

// ---- the QL iteration ----

namespace {

constexpr int sweep_limit = 32;

// The first index from i0 on after which the matrix splits: the subdiagonal element vanishes
// against the diagonal by exact equality after rounding.
int end_of_block(int i0, int n, const double* diag, const double* subd) {
    int i2 = i0;
    for (; i2 <= n - 2; ++i2) {
        const double s = std::fabs(diag[i2]) + std::fabs(diag[i2 + 1]);
        if (std::fabs(subd[i2]) + s == s) break;
    }
    return i2;
}

void transpose(int n, double** mat) {
    for (int i = 1; i < n; ++i)
        for (int j = 0; j < i; ++j)
            std::swap(mat[i][j], mat[j][i]);
}

void rotate(int n, double* __restrict lower, double* __restrict upper, double sine, double cosine) {
    for (int i = 0; i < n; ++i) {
        const double f = upper[i];
        upper[i] = sine * lower[i] + cosine * f;
        lower[i] = cosine * lower[i] - sine * f;
    }
}

// One implicit sweep with a Wilkinson-type shift over the block i0 .. i2; mat holds the vectors as
// rows.
void sweep(int i0, int i2, int n, double* diag, double* subd, double** mat) {
    double g = (diag[i0 + 1] - diag[i0]) / (2.0 * subd[i0]);
    double r = std::sqrt(g * g + 1.0);
    g = diag[i2] - diag[i0] + subd[i0] / (g < 0.0 ? g - r : g + r);
    double sine = 1.0;
    double cosine = 1.0;
    double p = 0.0;
    for (int i3 = i2 - 1; i3 >= i0; --i3) {
        const double f = sine * subd[i3];
        const double b = cosine * subd[i3];
        if (std::fabs(f) >= std::fabs(g)) {
            cosine = g / f;
            r = std::sqrt(cosine * cosine + 1.0);
            subd[i3 + 1] = f * r;
            sine = 1.0 / r;
            cosine = cosine * sine;
        } else {
            sine = f / g;
            r = std::sqrt(sine * sine + 1.0);
            subd[i3 + 1] = g * r;
            cosine = 1.0 / r;
            sine = sine * cosine;
        }
        g = diag[i3 + 1] - p;
        r = (diag[i3] - g) * sine + 2.0 * b * cosine;
        p = sine * r;
        diag[i3 + 1] = g + p;
        g = cosine * r - b;
        rotate(n, mat[i3], mat[i3 + 1], sine, cosine);
    }
    diag[i0] = diag[i0] - p;
    subd[i0] = g;
    subd[i2] = 0.0;
}

// The sweeps for all eigenvalues; false if one took too many.
bool iterate(int size, double* diag, double* subd, double** mat) {
    for (int i0 = 0; i0 < size; ++i0) {
        int sweeps = 0;
        for (; sweeps < sweep_limit; ++sweeps) {
            const int i2 = end_of_block(i0, size, diag, subd);
            if (i2 == i0) break;
            sweep(i0, i2, size, diag, subd, mat);
        }
        if (sweeps == sweep_limit) return false;
    }
    return true;
}

// Selection sort of the eigenvalues with their columns; before(a, b) is strict.
template <class Before>
void selection_sort(int n, double* diag, double** mat, Before before) {
    for (int i0 = 0; i0 <= n - 2; ++i0) {
        int winner = i0;
        for (int i = i0 + 1; i < n; ++i)
            if (before(diag[i], diag[winner])) winner = i;
        if (winner == i0) continue;
        std::swap(diag[i0], diag[winner]);
        for (int row = 0; row < n; ++row)
            std::swap(mat[row][i0], mat[row][winner]);
    }
}

} // namespace

bool Eigen::QLAlgorithm(int size, double* diag, double* subd, double** mat) {
    transpose(size, mat); // a rotation then works on two rows instead of two columns
    const bool done = iterate(size, diag, subd, mat);
    transpose(size, mat);
    return done;
}

void Eigen::DecreasingSort(int size, double* diag, double** mat) {
    selection_sort(size, diag, mat, [](double a, double b) { return a > b; });
}

void Eigen::IncreasingSort(int size, double* diag, double** mat) {
    selection_sort(size, diag, mat, [](double a, double b) { return a < b; });
}

// ---- the solves ----

void Eigen::EigenStuff2() {
    Tridiagonal2(matrix_, diagonal_, subdiagonal_);
    QLAlgorithm(size_, diagonal_, subdiagonal_, matrix_);
}

void Eigen::EigenStuff3() {
    Tridiagonal3(matrix_, diagonal_, subdiagonal_);
    QLAlgorithm(size_, diagonal_, subdiagonal_, matrix_);
}

void Eigen::EigenStuff4() {
    Tridiagonal4(matrix_, diagonal_, subdiagonal_);
    QLAlgorithm(size_, diagonal_, subdiagonal_, matrix_);
}

void Eigen::EigenStuffN() {
    TridiagonalN(size_, matrix_, diagonal_, subdiagonal_);
    QLAlgorithm(size_, diagonal_, subdiagonal_, matrix_);
}

void Eigen::EigenStuff() {
    switch (size_) {
    case 2:
        return EigenStuff2();
    case 3:
        return EigenStuff3();
    case 4:
        return EigenStuff4();
    default:
        return EigenStuffN();
    }
}

void Eigen::DecrSortEigenStuff2() { EigenStuff2(), DecreasingSort(size_, diagonal_, matrix_); }
void Eigen::DecrSortEigenStuff3() { EigenStuff3(), DecreasingSort(size_, diagonal_, matrix_); }
void Eigen::DecrSortEigenStuff4() { EigenStuff4(), DecreasingSort(size_, diagonal_, matrix_); }
void Eigen::DecrSortEigenStuffN() { EigenStuffN(), DecreasingSort(size_, diagonal_, matrix_); }
void Eigen::DecrSortEigenStuff() { EigenStuff(), DecreasingSort(size_, diagonal_, matrix_); }

void Eigen::IncrSortEigenStuff2() { EigenStuff2(), IncreasingSort(size_, diagonal_, matrix_); }
void Eigen::IncrSortEigenStuff3() { EigenStuff3(), IncreasingSort(size_, diagonal_, matrix_); }
void Eigen::IncrSortEigenStuff4() { EigenStuff4(), IncreasingSort(size_, diagonal_, matrix_); }
void Eigen::IncrSortEigenStuffN() { EigenStuffN(), IncreasingSort(size_, diagonal_, matrix_); }
void Eigen::IncrSortEigenStuff() { EigenStuff(), IncreasingSort(size_, diagonal_, matrix_); }

} // namespace Mgc
