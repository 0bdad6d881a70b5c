// SPDX-License-Identifier: Apache-2.0
#include "common/report.h"

#include <cstdio>

namespace upscale {
namespace {

// A file's name may have a line's end in it, and so may a driver's text; or what a terminal obeys.
std::string printable(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char escaped[8];
        std::snprintf(escaped, sizeof(escaped), "\\x%02x", byte);
        const bool space = c == '\n' || c == '\t';
        line += space ? " " : byte < 0x20 || byte == 0x7f ? escaped : std::string(1, c);
    }
    return line;
}

}  // namespace

void Report::failure(const std::string& message) {
    if (mProgress) mProgress->hide();
    std::fprintf(stderr, "upscale: %s\n", printable(message).c_str());
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
