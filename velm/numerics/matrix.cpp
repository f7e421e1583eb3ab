#include "velm/numerics/matrix.h"

#include "velm/frame/binary_file.h"
#include "velm/frame/point.h"
#include "velm/frame/pole.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iterator>
#include <ostream>

namespace QuickAlgebra {

template <class T>
void ERMatrix<T>::printOn(std::ostream& out) const {
    out << std::setfill(' ') << std::setprecision(7) << std::fixed << std::left << std::showpos;
    out << "( r= " << rows_ << ", c=" << columns_ << '\n';
    for (int i = 0; i < rows_; ++i) {
        out << '[';
        for (const T& element : row(i))
            out << std::setw(12) << element << " ";
        out << "]\n";
    }
}

template <class T>
unsigned int ERMatrix<T>::binaryStoreSize() const {
    return 8u + this->rep()->binaryStoreSize();
}

template <class T>
void ERMatrix<T>::saveGuts(ERFile& file) const {
    file.Write(rows_); // rows come first in the stored form, although columns come first in memory
    file.Write(columns_);
    this->rep()->saveGuts(file);
}

template <class T>
void ERMatrix<T>::restoreGuts(ERFile& file) {
    int rows = 0;
    int columns = 0;
    if (!file.Read(rows) || !file.Read(columns)) return;
    ERVecRep* const rep = ERVecRep::getRep(file);
    if (rep == nullptr) return;
    const ERVec<T> read(rep); // owns the body, so that a refused one is released
    if (rows < 0 || columns < 0) return;
    const unsigned long long elements = static_cast<unsigned long long>(rows) * unsigned(columns);
    if (rep->length() % sizeof(T) != 0 || rep->length() / sizeof(T) != elements) return;
    ERVec<T>::operator=(read);
    rows_ = rows;
    columns_ = columns;
}

template class ERMatrix<double>;
template class ERMatrix<ERPoint3D>;
template class ERMatrix<ERPole3DH>;

bool operator==(const ERMatrix<double>& a, const ERMatrix<double>& b) {
    return a.rows() == b.rows() && a.columns() == b.columns() &&
           std::ranges::equal(a.view(), b.view());
}

namespace {

template <class Combine>
ERMatrix<double> by_element(const ERMatrix<double>& a, const ERMatrix<double>& b, Combine combine) {
    if (a.rows() != b.rows() || a.columns() != b.columns() || !a.is_whole() || !b.is_whole())
        return {};
    ERMatrix<double> result = ERMatrix<double>::unfilled(a.rows(), a.columns());
    const auto elements = result.writable();
    std::transform(a.view().begin(), a.view().begin() + std::ssize(elements), b.view().begin(),
                   elements.begin(), combine);
    return result;
}

} // namespace

ERMatrix<double> operator+(const ERMatrix<double>& a, const ERMatrix<double>& b) {
    return by_element(a, b, [](double x, double y) { return x + y; });
}

ERMatrix<double> operator-(const ERMatrix<double>& a, const ERMatrix<double>& b) {
    return by_element(a, b, [](double x, double y) { return x - y; });
}

ERMatrix<double> operator*(const ERMatrix<double>& a, const ERMatrix<double>& b) {
    if (a.columns() != b.rows() || !a.is_whole() || !b.is_whole()) return {};
    ERMatrix<double> result(a.rows(), b.columns());
    const auto out = result.writable();
    const std::size_t width = std::size_t(b.columns());
    for (int i = 0; i < a.rows(); ++i) {
        const auto line = out.subspan(width * std::size_t(i), width);
        for (int k = 0; k < a.columns(); ++k) {
            const double factor = a(i, k);
            const auto source = b.row(k);
            for (std::size_t j = 0; j < width; ++j)
                line[j] += factor * source[j];
        }
    }
    return result;
}

ERVec<double> operator*(const ERMatrix<double>& a, const ERVec<double>& x) {
    if (a.columns() != x.size() || !a.is_whole()) return {};
    ERVec<double> result(a.rows());
    const auto out = result.writable();
    const auto in = x.view();
    for (int i = 0; i < a.rows(); ++i) {
        const auto line = a.row(i);
        double sum = 0.0;
        for (std::size_t j = 0; j < line.size(); ++j)
            sum += line[j] * in[j];
        out[std::size_t(i)] = sum;
    }
    return result;
}

ERMatrix<double> operator*(const ERMatrix<double>& a, double factor) {
    ERMatrix<double> result(a);
    for (double& element : result.writable())
        element *= factor;
    return result;
}

ERMatrix<double> operator*(double factor, const ERMatrix<double>& a) { return a * factor; }

ERMatrix<double> operator%(const ERVec<double>& a, const ERVec<double>& b) {
    ERMatrix<double> result = ERMatrix<double>::unfilled(a.size(), b.size());
    const auto out = result.writable();
    std::size_t next = 0;
    for (const double x : a.view())
        for (const double y : b.view())
            out[next++] = x * y;
    return result;
}

} // namespace QuickAlgebra

ERMatrix<double> transposed(const ERMatrix<double>& m) {
    if (!m.is_whole()) return {};
    ERMatrix<double> result = ERMatrix<double>::unfilled(m.columns(), m.rows());
    const auto out = result.writable();
    std::size_t next = 0;
    for (int j = 0; j < m.columns(); ++j)
        for (int i = 0; i < m.rows(); ++i)
            out[next++] = m(i, j);
    return result;
}

ERMatrix<double> IdentityMatrix(int n) {
    ERMatrix<double> result(n, n);
    double* const out = result.data();
    for (std::ptrdiff_t i = 0; i < n; ++i)
        out[i * n + i] = 1.0;
    return result;
}

ERMatrix<double> Hilbert(int n) {
    ERMatrix<double> result = ERMatrix<double>::unfilled(n, n);
    double* out = result.data();
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            *out++ = 1.0 / (i + j + 1);
    return result;
}

ERMatrix<double> MatrixCholesky(const ERMatrix<double>& m) {
    if (m.rows() > m.columns() || !m.is_whole()) return {};
    const int n = m.rows();
    ERMatrix<double> lower = IdentityMatrix(n);
    double* const l = lower.data();
    const auto row = [l, n](int i) { return l + std::size_t(n) * std::size_t(i); };
    const auto dot = [&row](int i, int j, int count) {
        double sum = 0.0;
        for (int k = 0; k < count; ++k)
            sum += row(i)[k] * row(j)[k];
        return sum;
    };
    for (int i = 0; i < n; ++i) {
        row(i)[i] = std::sqrt(m(i, i) - dot(i, i, i));
        for (int j = i + 1; j < n; ++j)
            row(j)[i] = (m(j, i) - dot(i, j, i)) * (1.0 / row(i)[i]);
    }
    return lower;
}

void CopyTriInfToTriSup(ERMatrix<double>& m) {
    const int n = m.is_whole() ? std::min(m.rows(), m.columns()) : 0;
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j)
            m(i, j) = std::as_const(m)(j, i);
}

void CopyTriSupToTriInf(ERMatrix<double>& m) {
    const int n = m.is_whole() ? std::min(m.rows(), m.columns()) : 0;
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j)
            m(j, i) = std::as_const(m)(i, j);
}

ERMatrix<double> MatSymetrisInf(const ERMatrix<double>& m) {
    ERMatrix<double> result(m);
    CopyTriInfToTriSup(result);
    return result;
}

ERMatrix<double> MatSymetrisSup(const ERMatrix<double>& m) {
    ERMatrix<double> result(m);
    CopyTriSupToTriInf(result);
    return result;
}
