// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_STOPWATCH_H
#define UPSCALER_TOOLS_COMMON_STOPWATCH_H

#include <chrono>

namespace upscale {

/// Measures from its making, or from the last lap.
class Stopwatch {
  public:
    /// Milliseconds since the last lap.
    double lap() {
        const Clock::time_point now = Clock::now();
        const std::chrono::duration<double, std::milli> elapsed = now - mStart;
        mStart = now;
        return elapsed.count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point mStart = Clock::now();
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_STOPWATCH_H
