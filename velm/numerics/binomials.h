// TableauDePascal, Cnp, ERFactorialFactory: tables of binomials and factorials.
#pragma once

#include "velm/export.h"
#include "velm/platform/critical_section.h"

#include <atomic>
#include <vector>

/// Pascal's triangle in one array: row n has the indices n(n+1)/2 to n(n+1)/2 + n.
///
/// A request beyond the table grows it to the row (n/20 + 1) * 20, at most to highest_row; a row
/// beyond that throws std::bad_array_new_length. From row 1030 on the values in the middle are
/// infinite, so what needs such a row for a polynomial takes another way. Growth makes a new array
/// and publishes it atomically; old ones are kept, so that row pointers already given remain
/// readable. Requests from several threads at once are safe and see true binomials in every row.
class VELM_API TableauDePascal {
public:
    /// The last row whose end has an index that is an int, in every step of its computation.
    static constexpr int highest_row = 46339;

    TableauDePascal() = default;
    TableauDePascal(const TableauDePascal&) = delete;
    TableauDePascal& operator=(const TableauDePascal&) = delete;
    ~TableauDePascal();

    /// n over p, for 0 <= p <= n.
    double Cnp(int n, int p) { return Cnp(n)[p]; }
    /// Row n: n + 1 values.
    const double* Cnp(int n) {
        const Table* const t = table_.load(std::memory_order_acquire);
        const double* const values = (t != nullptr && n <= t->maxRow ? t : grown(n))->values;
        return values + getBaseIndex(n);
    }
    /// Fills the table up to row n if it is shorter.
    void ComputeTo(int n);

    /// For n up to highest_row.
    static int getBaseIndex(int n) { return n * (n + 1) / 2; }
    static int getInternalArraySize(int n) { return (n + 1) * (n + 2) / 2; }

private:
    struct Table {
        double* values;
        int entries;
        int maxRow;
        const Table* previous; // the table that this one replaced
    };

    const Table* grown(int n);
    const Table* published(int n);

    std::atomic<const Table*> table_{nullptr};
    CCriticalSection growth_;
};

/// The table that the whole process shares.
extern VELM_API TableauDePascal theCnpTableau;

/// n over p.
VELM_API double Cnp(int n, int p);

/// n! for n from 0 to 27.
extern VELM_API const double g_basic_factorial[28];

/// Factorials beyond the constant table, computed on first use; infinite beyond 170!.
class VELM_API ERFactorialFactory {
public:
    ERFactorialFactory() = default;
    ~ERFactorialFactory() = default;

    /// n!, for n from 0 on. Below 28 no lock is taken.
    double Fact(int n);

private:
    ERFactorialFactory(const ERFactorialFactory&) = delete;
    ERFactorialFactory& operator=(const ERFactorialFactory&) = delete;

    std::vector<double> values_;
    int limit_ = 0; // the highest n in values_
    Concurrency::critical_section section_;
};

extern VELM_API ERFactorialFactory theFactorielleFactory;
