// What the demo's samples share: noise that is the same at every run, and numbers as text.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>

namespace demo {

struct Point {
    double x, y;
};

/// Normal deviates by the polar method (Marsaglia and Bray 1964) over splitmix64.
class Noise {
public:
    explicit Noise(std::uint64_t seed) : state_(seed) {}
    double next() {
        for (;;) {
            const double u = uniform(), v = uniform(), s = u * u + v * v;
            if (s > 0.0 && s < 1.0) return u * std::sqrt(-2.0 * std::log(s) / s);
        }
    }
    /// Evenly from 0 to 1.
    double part() { return 0.5 * (uniform() + 1.0); }

private:
    double uniform() {
        std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1p-52 - 1.0;
    }
    std::uint64_t state_;
};

inline std::string number(double value, int decimals) {
    std::array<char, 40> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                      std::chars_format::fixed, decimals);
    return {buffer.data(), result.ptr};
}

/// The shortest text that reads back as the same double.
inline std::string shortest(double value) {
    std::array<char, 40> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

/// Write the nominal and the simulated probing of a sample.
void write_blade(const std::string& folder);
void write_link(const std::string& folder);
void write_panel(const std::string& folder);
void write_housing(const std::string& folder);

} // namespace demo
