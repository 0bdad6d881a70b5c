// SPDX-License-Identifier: Apache-2.0
#include "common/report.h"

#include <algorithm>
#include <cstdio>

namespace upscale {

void Report::failure(const std::string& message) {
    if (mProgress) mProgress->hide();
    // A file's name may have a line's end in it, and so may a driver's text.
    std::string line = message;
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::fprintf(stderr, "upscale: %s\n", line.c_str());
}

void Report::warning(const std::string& message) {
    note("warning: " + message);
}

void Report::note(const std::string& message) {
    if (!mQuiet) failure(message);
}

void Report::startProgress(const std::string& unit, std::optional<std::uint64_t> total) {
    mProgress.emplace(unit, total, !mQuiet && !mVerbose);
}

void Report::progress(std::uint64_t done) {
    if (mProgress) mProgress->update(done);
}

}  // namespace upscale
