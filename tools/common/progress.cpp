// SPDX-License-Identifier: Apache-2.0
#include "common/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace upscale {
namespace {

constexpr std::size_t kWidestBar = 30;
constexpr std::size_t kNarrowestBar = 5;

std::string timeText(double seconds) {
    // A number of seconds that is past all sense is shown as the largest that is not.
    const auto whole = static_cast<long>(std::min(std::ceil(seconds), 359'999.0));
    char text[32];
    if (whole < 3600) {
        std::snprintf(text, sizeof(text), "%ld:%02ld", whole / 60, whole % 60);
    } else {
        std::snprintf(text, sizeof(text), "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                      whole % 60);
    }
    return text;
}

std::string rateText(double rate) {
    char text[32];
    std::snprintf(text, sizeof(text), rate < 10 ? "%.2f" : "%.0f", rate);
    return text;
}

std::size_t terminalColumns() {
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

std::string progressLine(const std::string& unit, std::uint64_t done,
                         std::optional<std::uint64_t> total, double seconds, std::size_t columns) {
    std::string text = std::to_string(done);
    if (total) text += " of " + std::to_string(*total);
    text += " " + unit;
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    if (rate > 0) text += ", " + rateText(rate) + "/s";
    if (!total) return text.substr(0, columns);
    const std::uint64_t left = *total > done ? *total - done : 0;
    if (rate > 0) text += ", " + timeText(static_cast<double>(left) / rate) + " left";

    constexpr std::size_t kAround = 3;  // brackets and space
    if (text.size() + kNarrowestBar + kAround > columns) return text.substr(0, columns);
    const std::size_t bar = std::min(columns - text.size() - kAround, kWidestBar);
    const double share =
            *total > 0 ? std::min(static_cast<double>(done) / static_cast<double>(*total), 1.0) : 1;
    const auto full = static_cast<std::size_t>(share * static_cast<double>(bar));
    return "[" + std::string(full, '#') + std::string(bar - full, '-') + "] " + text;
}

Progress::Progress(std::string unit, std::optional<std::uint64_t> total, bool wanted)
    : mUnit(std::move(unit)), mTotal(total), mShown(wanted && isatty(STDERR_FILENO) == 1) {
    update(0);
}

Progress::~Progress() {
    hide();
}

void Progress::update(std::uint64_t done) {
    if (!mShown) return;
    const Clock::time_point now = Clock::now();
    if (mDrawn && now - *mDrawn < std::chrono::milliseconds(100)) return;
    mDrawn = now;
    const std::chrono::duration<double> elapsed = now - mStart;
    // In the last column some terminals would begin a new line.
    std::string line = progressLine(mUnit, done, mTotal, elapsed.count(), terminalColumns() - 1);
    const std::size_t length = line.size();
    line.resize(std::max(length, mLength), ' ');
    mLength = length;
    std::fprintf(stderr, "\r%s", line.c_str());
}

void Progress::hide() {
    if (mLength == 0) return;
    std::fprintf(stderr, "\r%s\r", std::string(mLength, ' ').c_str());
    mLength = 0;
    mDrawn.reset();
}

}  // namespace upscale
