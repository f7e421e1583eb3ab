// Shared by several benchmarks: Eigen with its own warnings silenced, if it is found
// (VELM_BENCH_EIGEN), and numbers that are the same for every peer.
#pragma once

#include <cstdint>
#include <vector>

#if __has_include(<eigen3/Eigen/Dense>)
#define VELM_BENCH_EIGEN
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wpedantic"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#endif
#include <eigen3/Eigen/Dense>
#include <eigen3/unsupported/Eigen/Polynomials>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
#endif

namespace velm_bench {

/// Uniform in [-1, 1).
class Numbers {
public:
    explicit Numbers(std::uint64_t seed = 42) : state_(seed) {}
    double next() {
        state_ = state_ * 6364136223846793005u + 1442695040888963407u;
        return -1.0 + 2.0 * (static_cast<double>(state_ >> 11) * 0x1p-53);
    }
    std::vector<double> vector(int n) {
        std::vector<double> values(static_cast<std::size_t>(n));
        for (double& x : values)
            x = next();
        return values;
    }

private:
    std::uint64_t state_;
};

} // namespace velm_bench
