// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_PROGRESS_H
#define UPSCALER_TOOLS_COMMON_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace upscale {

/// The text of the line: how much is done, a bar, the rate, and the time left; the last two only
/// once something is done, bar and time only with a total.
/// @param unit what is counted, in the plural. @param columns the line's room; the bar goes first.
std::string progressLine(const std::string& unit, std::uint64_t done,
                         std::optional<std::uint64_t> total, double seconds, std::size_t columns);

/// A line on stderr that shows how far the work is, if stderr is a terminal, and otherwise shows
/// nothing. To be used on one thread.
class Progress {
  public:
    /// The time counts from here.
    /// @param total nothing if it is not known. @param wanted false for a command that is quiet, or
    ///     that writes other lines all the time.
    Progress(std::string unit, std::optional<std::uint64_t> total, bool wanted);
    /// Removes the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Tells how much is done by now. Cheap: draws at most ten times a second.
    void update(std::uint64_t done);

    /// Removes the line, so that another can be written to stderr. The next update draws it again.
    void hide();

  private:
    using Clock = std::chrono::steady_clock;

    std::string mUnit;
    std::optional<std::uint64_t> mTotal;
    bool mShown;
    Clock::time_point mStart = Clock::now();
    std::optional<Clock::time_point> mDrawn;
    std::size_t mLength = 0;  // of what stands there
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_PROGRESS_H
