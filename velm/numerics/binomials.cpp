#include "velm/numerics/binomials.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>

VELM_INIT_FIRST TableauDePascal theCnpTableau;

const double g_basic_factorial[28] = {1.0,
                                      1.0,
                                      2.0,
                                      6.0,
                                      24.0,
                                      120.0,
                                      720.0,
                                      5040.0,
                                      40320.0,
                                      362880.0,
                                      3628800.0,
                                      39916800.0,
                                      479001600.0,
                                      6227020800.0,
                                      87178291200.0,
                                      1307674368000.0,
                                      20922789888000.0,
                                      355687428096000.0,
                                      6402373705728000.0,
                                      121645100408832000.0,
                                      2432902008176640000.0,
                                      51090942171709440000.0,
                                      1124000727777607680000.0,
                                      25852016738884976640000.0,
                                      620448401733239439360000.0,
                                      15511210043330985984000000.0,
                                      403291461126605635584000000.0,
                                      10888869450418352160768000000.0};

VELM_INIT_FIRST ERFactorialFactory theFactorielleFactory;

double Cnp(int n, int p) { return theCnpTableau.Cnp(n, p); }

namespace {

constexpr int row_step = 20;

} // namespace

TableauDePascal::~TableauDePascal() {
    for (const Table* t = table_.exchange(nullptr); t != nullptr;) {
        const Table* const previous = t->previous;
        delete[] t->values;
        delete t;
        t = previous;
    }
}

void TableauDePascal::ComputeTo(int n) {
    const std::lock_guard<CCriticalSection> lock(growth_);
    published(std::max(n, 0));
}

const TableauDePascal::Table* TableauDePascal::grown(int n) {
    const std::lock_guard<CCriticalSection> lock(growth_);
    return published(n < highest_row ? std::min((n / row_step + 1) * row_step, highest_row) : n);
}

const TableauDePascal::Table* TableauDePascal::published(int n) {
    const Table* const old = table_.load(std::memory_order_acquire);
    if (old != nullptr && n <= old->maxRow) return old;
    if (n > highest_row) throw std::bad_array_new_length();
    const int entries = getInternalArraySize(n);
    auto values = std::make_unique_for_overwrite<double[]>(static_cast<std::size_t>(entries));
    Table* const made = new Table{values.get(), entries, n, old};
    values.release();
    int row = 0;
    if (old != nullptr) {
        std::copy_n(old->values, old->entries, made->values);
        row = old->maxRow + 1;
    }
    for (; row <= n; ++row) {
        double* const line = made->values + getBaseIndex(row);
        line[0] = line[row] = 1.0;
        for (int p = 1; p < row; ++p)
            line[p] = line[p - 1 - row] + line[p - row];
    }
    table_.store(made, std::memory_order_release);
    return made;
}

double ERFactorialFactory::Fact(int n) {
    if (n < 28) return g_basic_factorial[n];
    const Concurrency::critical_section::scoped_lock lock(section_);
    if (n >= limit_) {
        const int next = (n / 16 + 1) * 16;
        if (values_.empty()) values_.push_back(1.0);
        for (int i = static_cast<int>(values_.size()); i <= next; ++i)
            values_.push_back(i * values_[static_cast<std::size_t>(i - 1)]);
        limit_ = next;
    }
    return values_[static_cast<std::size_t>(n)];
}
