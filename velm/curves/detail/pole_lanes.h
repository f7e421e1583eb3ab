// velm::detail::PoleLanes: the doubles of a pole in registers of two, for blends of poles.
#pragma once

#include <cstring>

namespace velm::detail {

using DoublePair [[gnu::vector_size(16)]] = double;

/// Width doubles, 3 or 4, that go through the same operations; the results are those of each one
/// alone, to the last bit.
template <int Width>
class PoleLanes {
    static_assert(Width == 3 || Width == 4);

public:
    PoleLanes() = default; ///< all 0
    static PoleLanes load(const double* from) {
        PoleLanes p;
        std::memcpy(&p.low_, from, sizeof p.low_);
        std::memcpy(&p.high_, from + 2, sizeof(double) * (Width - 2));
        return p;
    }
    void store(double* to) const {
        std::memcpy(to, &low_, sizeof low_);
        std::memcpy(to + 2, &high_, sizeof(double) * (Width - 2));
    }
    double operator[](int i) const { return i < 2 ? low_[i] : high_[i - 2]; }

    friend PoleLanes operator+(const PoleLanes& a, const PoleLanes& b) {
        return {a.low_ + b.low_, a.high_ + b.high_};
    }
    friend PoleLanes operator-(const PoleLanes& a, const PoleLanes& b) {
        return {a.low_ - b.low_, a.high_ - b.high_};
    }
    friend PoleLanes operator*(const PoleLanes& a, double k) { return {a.low_ * k, a.high_ * k}; }
    friend PoleLanes operator/(const PoleLanes& a, double k) { return {a.low_ / k, a.high_ / k}; }

private:
    PoleLanes(DoublePair low, DoublePair high) : low_(low), high_(high) {}
    DoublePair low_{}, high_{};
};

} // namespace velm::detail
