// deviation_histogram.h: `DeviationHistogram`, the distribution of a series in constant memory.
#pragma once

#include <cstdint>
#include <vector>

namespace velm::inspect {

/// Counts values in bins of one width, a power of two that doubles as the range grows. The first
/// `exact_values` values are kept exactly, so that short series lose nothing; later values are
/// known to a thousandth of the range of those.
class DeviationHistogram {
public:
    struct Cell {
        double value; ///< a value, or the middle of a bin
        std::uint64_t count;
    };

    void add(double value);
    /// All values in rising order with their counts.
    std::vector<Cell> cells() const;
    /// The value below which a part from 0 to 1 of a rising series is.
    static double quantile(const std::vector<Cell>& cells, double part);

private:
    static constexpr std::size_t exact_values = 5000;
    static constexpr std::size_t bin_count = 4096;
    static constexpr int most_doublings = 12; // values beyond that range go to the end bins

    void start_bins();
    void put(double value);
    void double_width();

    std::vector<double> values_; // while they are few
    std::vector<std::uint64_t> bins_;
    double width_ = 0.0;
    double first_ = 0.0; // the number of the first bin, counted from value 0
    int doublings_ = 0;
};

} // namespace velm::inspect
