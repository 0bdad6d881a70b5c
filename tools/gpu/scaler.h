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

/// The sizes that the library gets to see, and what of them is padding.
struct ScalePlan {
    Padding x, y;
    Size from, to;
};

/// Plans a scaling on the driver of `runner`. Warns if there is no room for a border.
ScalePlan planScaling(const Runner& runner, Border border, Size from, Size to, Report& report);

/// One operation on whole pictures: with their border and their transparency, neither of which the
/// library knows. To be used on one thread. Members throw `Failure`.
class Scaler {
  public:
    /// @param log and @param report outlive the scaler.
    Scaler(const Operation& operation, Border border, LibraryLog& log, Report& report)
        : mBorder(border), mReport(report), mRunner(operation, log) {}

    /// The driver's name and version.
    const std::string& driver() const { return mRunner.driver(); }

    /// Checks that the driver takes pictures of this size.
    /// @param name what `Failure` names.
    void expectFits(const std::string& name, Size size) const { mRunner.expectFits(name, size); }

    ScalePlan plan(Size from, Size to) const {
        return planScaling(mRunner, mBorder, from, to, mReport);
    }

    /// Runs the operation.
    /// @param plan of the source's size.
    Picture scale(Picture source, const ScalePlan& plan, float sharpness);

    /// Where the time went since the last call.
    Times takeTimes() { return mRunner.takeTimes(); }

  private:
    Border mBorder;
    Report& mReport;
    Runner mRunner;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_SCALER_H
