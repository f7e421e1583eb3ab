#include "velm/numerics/polynomial_2var.h"

#include "velm/platform/debug_output.h"

#include <algorithm>
#include <ostream>

ERPolynome2Var::ERPolynome2Var(const ERVec<double>& values, int rows, int columns) {
    if (values.size() < static_cast<long long>(rows) * columns) return;
    coefficients_ = ERMatrix<double>(rows, columns, values.view().data());
}

void ERPolynome2Var::printOn(std::ostream& out) const {
    out << "Polynome 2Var dU=" << degreeU() << ", dv=" << degreeV() << ")";
    coefficients_.printOn(out);
    out << '\n';
}

unsigned int ERPolynome2Var::binaryStoreSize() const { return coefficients_.binaryStoreSize(); }

void ERPolynome2Var::saveGuts(ERFile& file) const { coefficients_.saveGuts(file); }

void ERPolynome2Var::restoreGuts(ERFile& file) { coefficients_.restoreGuts(file); }

int ERPolynome2Var::degreeU() const {
    const_cast<ERPolynome2Var*>(this)->adjustDegreeU(-1);
    return std::max(coefficients_.columns() - 1, 0);
}

int ERPolynome2Var::degreeV() const {
    const_cast<ERPolynome2Var*>(this)->adjustDegreeV(-1);
    return std::max(coefficients_.rows() - 1, 0);
}

namespace {

// An element; 0.0 if a matrix that was resized as an array lacks it.
double element(const ERMatrix<double>& m, int i, int j) {
    const std::size_t index = std::size_t(m.columns()) * std::size_t(i) + std::size_t(j);
    return index < m.view().size() ? m.view()[index] : 0.0;
}

bool zero_column(const ERMatrix<double>& m, int j) {
    for (int i = 0; i < m.rows(); ++i)
        if (element(m, i, j) != 0.0) return false;
    return true;
}

bool zero_row(const ERMatrix<double>& m, int i) {
    for (int j = 0; j < m.columns(); ++j)
        if (element(m, i, j) != 0.0) return false;
    return true;
}

} // namespace

void ERPolynome2Var::adjustDegreeU(int d) {
    int columns = std::max(d + 1, coefficients_.columns());
    if (d == -1) {
        while (columns > 0 && zero_column(coefficients_, columns - 1))
            --columns;
        if (coefficients_.size() != coefficients_.rows() * coefficients_.columns())
            OutputDebugStringA("Error\n");
    }
    reshape(coefficients_.rows(), columns);
}

void ERPolynome2Var::adjustDegreeV(int d) {
    int rows = std::max(d + 1, coefficients_.rows());
    if (d == -1)
        while (rows > 0 && zero_row(coefficients_, rows - 1))
            --rows;
    reshape(rows, coefficients_.columns());
}

void ERPolynome2Var::reshape(int rows, int columns) {
    if (rows == coefficients_.rows() && columns == coefficients_.columns() &&
        coefficients_.size() == rows * columns)
        return;
    ERMatrix<double> next(rows, columns);
    double* out = next.data();
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j, ++out)
            if (i < coefficients_.rows() && j < coefficients_.columns())
                *out = element(coefficients_, i, j);
    coefficients_.swap(next);
}

double ERPolynome2Var::coefficient(int v, int u) const {
    if (v < 0 || u < 0 || v >= coefficients_.rows() || u >= coefficients_.columns()) return 0.0;
    return element(coefficients_, v, u);
}

double& ERPolynome2Var::coefficient(int v, int u) {
    reshape(std::max(v + 1, coefficients_.rows()), std::max(u + 1, coefficients_.columns()));
    return coefficients_(v, u);
}

double ERPolynome2Var::eval(double u, double v) const {
    double sum = 0.0;
    double power_of_v = 1.0;
    for (int i = 0; i < coefficients_.rows(); ++i) {
        double row_sum = 0.0;
        double power_of_u = 1.0;
        for (int j = 0; j < coefficients_.columns(); ++j) {
            row_sum += element(coefficients_, i, j) * power_of_u;
            power_of_u *= u;
        }
        sum += power_of_v * row_sum;
        power_of_v *= v;
    }
    return sum;
}

std::ostream& operator<<(std::ostream& out, const ERPolynome2Var& p) {
    p.printOn(out);
    return out;
}
