// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_GPU_SCALER_H
#define UPSCALER_TOOLS_GPU_SCALER_H

#include <string>

#include "common/report.h"
#include "common/size.h"
#include "gpu/library_log.h"
#include "gpu/runner.h"
#include "pictures/border.h"
#include "pictures/picture.h"

namespace upscale {

/// A picture's sizes with what is added at its edges.
struct Frame {
    Padding x, y;
    Size from, to;
};

/// One operation on whole pictures: with their border and their transparency, neither of which the
/// library knows. To be used on one thread. Members throw `Failure`.
class Scaler {
  public:
    /// @param log and @param report outlive the scaler.
    Scaler(const Operation& operation, Border border, LibraryLog& log, Report& report)
        : mBorder(border), mReport(report), mRunner(operation, log) {}

    /// What runs the operation on padded pictures.
    Runner& runner() { return mRunner; }
    /// The driver's name and version.
    const std::string& driver() const { return mRunner.driver(); }

    /// Checks that the driver takes pictures of this size.
    /// @param name what `Failure` shall name.
    void expectFits(const std::string& name, Size size) const;

    /// The sizes that the library gets to see. Warns if there is no room for a border.
    Frame frameFor(Size from, Size to);

    /// Runs the operation.
    /// @param frame of the source's size.
    Picture scale(Picture source, const Frame& frame, float sharpness);

    /// Where the time went since the last call.
    Times takeTimes() { return mRunner.takeTimes(); }

  private:
    bool fits(Size size) const;

    Border mBorder;
    Report& mReport;
    Runner mRunner;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_SCALER_H
