#include "inspect/picture/deviation_histogram.h"

#include <algorithm>
#include <cmath>

namespace velm::inspect {

void DeviationHistogram::add(double value) {
    if (!bins_.empty()) {
        put(value);
        return;
    }
    values_.push_back(value);
    if (values_.size() > exact_values) start_bins();
}

void DeviationHistogram::start_bins() {
    const auto [least, greatest] = std::minmax_element(values_.begin(), values_.end());
    const double range = std::max(*greatest - *least, std::fabs(*greatest) * 1e-9);
    width_ = std::exp2(std::ceil(std::log2(std::max(range, 1e-300) / 1024.0)));
    first_ = std::floor(*least / width_) - static_cast<double>(bin_count) * 3.0 / 8.0;
    bins_.assign(bin_count, 0);
    for (const double value : values_)
        put(value);
    values_ = {};
}

void DeviationHistogram::put(double value) {
    double at = std::floor(value / width_) - first_;
    while ((at < 0.0 || at >= static_cast<double>(bin_count)) && doublings_ < most_doublings) {
        double_width();
        at = std::floor(value / width_) - first_;
    }
    ++bins_[static_cast<std::size_t>(std::clamp(at, 0.0, static_cast<double>(bin_count - 1)))];
}

// Merges pairs of bins and centres the old range in the new one.
void DeviationHistogram::double_width() {
    std::vector<std::uint64_t> merged(bin_count, 0);
    const double first = std::floor(first_ / 2.0) - static_cast<double>(bin_count) / 4.0;
    for (std::size_t i = 0; i < bin_count; ++i) {
        const double at = std::floor((first_ + static_cast<double>(i)) / 2.0) - first;
        merged[static_cast<std::size_t>(at)] += bins_[i];
    }
    bins_ = std::move(merged);
    first_ = first;
    width_ *= 2.0;
    ++doublings_;
}

std::vector<DeviationHistogram::Cell> DeviationHistogram::cells() const {
    std::vector<Cell> cells;
    for (const double value : values_)
        cells.push_back({value, 1});
    std::sort(cells.begin(), cells.end(),
              [](const Cell& a, const Cell& b) { return a.value < b.value; });
    for (std::size_t i = 0; i < bins_.size(); ++i)
        if (bins_[i] > 0)
            cells.push_back({(first_ + static_cast<double>(i) + 0.5) * width_, bins_[i]});
    return cells;
}

double DeviationHistogram::quantile(const std::vector<Cell>& cells, double part) {
    double total = 0.0;
    for (const Cell& cell : cells)
        total += static_cast<double>(cell.count);
    double passed = 0.0;
    for (const Cell& cell : cells) {
        passed += static_cast<double>(cell.count);
        if (passed >= part * total) return cell.value;
    }
    return cells.empty() ? 0.0 : cells.back().value;
}

} // namespace velm::inspect
