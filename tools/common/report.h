// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_REPORT_H
#define UPSCALER_TOOLS_COMMON_REPORT_H

#include <cstdint>
#include <optional>
#include <string>

#include "common/progress.h"

namespace upscale {

/// What the command says on stderr while it works: a line at a time, "upscale: ...", and the
/// progress below. To be used on one thread.
class Report {
  public:
    /// @param quiet leaves only failures. @param verbose has many lines, and so no progress.
    void choose(bool quiet, bool verbose) {
        mQuiet = quiet;
        mVerbose = verbose;
    }

    bool verbose() const { return mVerbose; }

    void failure(const std::string& message);
    void warning(const std::string& message);
    /// A line that a quiet command leaves out.
    void note(const std::string& message);

    /// Shows progress from now on; see `Progress`.
    void startProgress(const std::string& unit, std::optional<std::uint64_t> total);
    void progress(std::uint64_t done);
    void endProgress() { mProgress.reset(); }

  private:
    bool mQuiet = false;
    bool mVerbose = false;
    std::optional<Progress> mProgress;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_REPORT_H
