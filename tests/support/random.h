// A small generator of our own (splitmix64, Steele, Lea and Flood 2014), the same numbers on every
// platform. It prints its start value once so that a failure can be run again: VELM_TEST_SEED=n.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace velm_test {

class Random {
public:
    explicit Random(std::uint64_t default_seed) : state_(seed(default_seed)) {
        std::printf("seed %llu\n", static_cast<unsigned long long>(state_));
    }

    /// The sequence of a seed that is part of a problem's definition.
    static Random fixed(std::uint64_t seed) {
        Random random;
        random.state_ = seed;
        return random;
    }

    std::uint64_t next() {
        state_ += 0x9E3779B97F4A7C15u;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// A whole number in [0, n).
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    /// A double in [lower, upper).
    double uniform(double lower, double upper) {
        return lower + (upper - lower) * (static_cast<double>(next() >> 11) * 0x1p-53);
    }
    /// A point, vector or pole with coordinates in [-reach, reach).
    template <class Value>
    Value value(double reach) {
        return Value::each([&](int) { return uniform(-reach, reach); });
    }
    /// A unit vector.
    template <class Vector>
    Vector direction() {
        return value<Vector>(1).getnormalized();
    }
    template <class Elements>
    auto& one_of(Elements& elements) {
        return elements[next() % std::size(elements)];
    }

private:
    Random() = default;

    static std::uint64_t seed(std::uint64_t default_seed) {
        const char* given = std::getenv("VELM_TEST_SEED");
        return given != nullptr ? std::strtoull(given, nullptr, 10) : default_seed;
    }
    std::uint64_t state_ = 0;
};

/// How often a random test repeats: all of it in the thorough run, else a hundredth.
inline int repeats(int thorough) {
    return std::getenv("VELM_TEST_THOROUGH") != nullptr ? thorough : thorough / 100;
}

} // namespace velm_test
