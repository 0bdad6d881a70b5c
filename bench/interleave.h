// SPDX-License-Identifier: Apache-2.0
// Comparisons within one row. The contestants take turns, so that other load on the machine affects
// all of them alike.
#ifndef BENCH_INTERLEAVE_H
#define BENCH_INTERLEAVE_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace bench {

inline double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Of all threads. What others do on the machine moves it less.
inline double cpuSeconds(const std::function<void()>& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

inline double best(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

struct Contestant {
    std::string name;  // Of its counters; "" for the one that the others are measured against.
    std::function<double()> run;  // One turn; the seconds that count.
};

/// Gives each contestant a turn per iteration, after two for warmth. The row's time is the first
/// one's; of each other the counters tell the median and the best, as ratios over the first.
inline void interleave(benchmark::State& state, const std::vector<Contestant>& contestants) {
    for (int i = 0; i < 2; ++i) {
        for (const Contestant& contestant : contestants)
            contestant.run();
    }
    std::vector<std::vector<double>> times(contestants.size());
    for (auto _ : state) {
        for (size_t i = 0; i < contestants.size(); ++i)
            times[i].push_back(contestants[i].run());
        state.SetIterationTime(times[0].back());
    }
    for (size_t i = 1; i < contestants.size(); ++i) {
        state.counters[contestants[i].name + "_median"] = median(times[i]) / median(times[0]);
        state.counters[contestants[i].name + "_best"] = best(times[i]) / best(times[0]);
    }
}

}  // namespace bench

#endif  // BENCH_INTERLEAVE_H
