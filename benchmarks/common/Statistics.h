#ifndef TLG_BENCHMARKS_COMMON_STATISTICS_H
#define TLG_BENCHMARKS_COMMON_STATISTICS_H

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace bench {

/// The value below which this share (0 to 1) of the values is.
template <typename Number>
double Quantile(std::vector<Number> values, double share) {
    if (values.empty()) {
        throw std::runtime_error("too few values");
    }
    const auto index =
        std::min(values.size() - 1, static_cast<std::size_t>(share * static_cast<double>(values.size())));
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(index), values.end());
    return static_cast<double>(values[index]);
}

template <typename Number>
double Median(const std::vector<Number>& values) {
    return Quantile(values, 0.5);
}

/// Times and those that they are compared with, measured in turns, in nanoseconds.
struct Series {
    std::vector<long> base;
    std::vector<long> times;

    /// The ratios of medians, each of so many turns in a row.
    std::vector<double> Ratios() const {
        constexpr std::size_t kBlock = 50;
        std::vector<double> ratios;
        for (std::size_t first = 0; first + kBlock <= times.size(); first += kBlock) {
            const auto at = static_cast<std::ptrdiff_t>(first);
            const auto block = [at](const std::vector<long>& all) {
                return std::vector<long>(all.begin() + at, all.begin() + at + static_cast<std::ptrdiff_t>(kBlock));
            };
            ratios.push_back(Median(block(times)) / Median(block(base)));
        }
        return ratios;
    }
};

} // namespace bench

#endif
