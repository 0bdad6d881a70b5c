// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_GPU_SCALER_H
#define UPSCALER_TOOLS_GPU_SCALER_H

#include <cstdint>
#include <string>

#include "common/report.h"
#include "common/size.h"
#include "gpu/library_log.h"
#include "gpu/runner.h"
#include "pictures/border.h"
#include "pictures/picture.h"
#include "pictures/rows.h"

namespace upscale {

/// The sizes that the library gets to see, and what of them is padding.
struct ScalePlan {
    Padding x, y;
    Size from, to;
};

/// Plans a scaling in one piece on the driver of `runner`. Warns if there is no room for a border.
ScalePlan planScaling(const Runner& runner, Border border, Size from, Size to, Report& report);

/// When a picture is scaled in tiles, and in which. The defaults keep what the GPU and the tiles
/// take below 256 MiB.
struct TileLimits {
    std::uint64_t wholePixels = 12u << 20;  ///< Of source and destination; with more, in tiles.
    std::uint32_t side = 2048;              ///< The longest side of a tile; see `cutAxis`.
    std::uint64_t rowBytes = 96u << 20;     ///< For the rows of one row of tiles, where it can be.
};

/// One operation on whole pictures: with their border and their transparency, neither of which the
/// library knows, and of any size. A picture in tiles has the pixels of one in a single piece if
/// the ratio of the sizes is a whole number either way. Otherwise positions are rounded in other
/// places, and halfway between two source pixels the driver may take the other one; see also
/// `cutAxis`. Tiles always have a border. To be used on one thread. Members throw `Failure`.
class Scaler {
  public:
    /// @param log outlives the scaler.
    Scaler(const Operation& operation, Border border, LibraryLog& log, TileLimits limits = {})
        : mBorder(border),
          mLimits(limits),
          mMixesColours(operation.mixesColours),
          mRunner(operation, log) {}

    /// The driver's name and version.
    const std::string& driver() const { return mRunner.driver(); }

    ScalePlan plan(Size from, Size to) const;

    /// Whether a scaling is done in tiles. Then it needs a few rows of the picture at a time.
    bool tiled(const ScalePlan& plan) const;

    /// Runs the operation.
    /// @param plan of the source's size.
    Picture scale(Picture source, const ScalePlan& plan, float sharpness);

    /// Runs the operation in tiles.
    void scale(RowSource& source, const ScalePlan& plan, float sharpness, RowSink& sink);

    /// Where the time went since the last call.
    Times takeTimes() { return mRunner.takeTimes(); }

  private:
    Picture scalePiece(Picture source, Size to, float sharpness);

    Border mBorder;
    TileLimits mLimits;
    bool mMixesColours;
    Runner mRunner;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_SCALER_H
