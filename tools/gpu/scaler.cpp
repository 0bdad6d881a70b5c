// SPDX-License-Identifier: Apache-2.0
#include "gpu/scaler.h"

#include <algorithm>
#include <utility>

#include "common/failure.h"
#include "pictures/alpha.h"

namespace upscale {

bool Scaler::fits(Size size) const {
    return std::max(size.width, size.height) <= mRunner.largestSide();
}

void Scaler::expectFits(const std::string& name, Size size) const {
    if (fits(size)) return;
    throw Failure(Exit::Failed, name,
                  inPixels(size) + " is too large: the driver takes " +
                          std::to_string(mRunner.largestSide()) + " pixels a side");
}

Frame Scaler::frameFor(Size from, Size to) {
    const Frame bare = {{}, {}, from, to};
    if (mBorder == Border::Raw) return bare;
    Frame frame = {paddingFor(from.width, to.width), paddingFor(from.height, to.height), from, to};
    frame.from = {from.width + 2 * frame.x.source, from.height + 2 * frame.y.source};
    frame.to = {to.width + 2 * frame.x.destination, to.height + 2 * frame.y.destination};
    if (fits(frame.from) && fits(frame.to)) return frame;
    mReport.warning("no room for a border: padded, " + inPixels(frame.from) + " to " +
                    inPixels(frame.to) +
                    " is too large for the driver; going on with --border raw");
    return bare;
}

Picture Scaler::scale(Picture source, const Frame& frame, float sharpness) {
    source = padded(std::move(source), frame.x.source, frame.y.source);
    Picture result;
    if (hasTransparency(source)) {
        const Picture alpha = mRunner.run(alphaAsGrey(source), frame.to, sharpness);
        bleedColours(source);
        result = mRunner.run(source, frame.to, sharpness);
        setAlpha(result, alpha);
    } else {
        result = mRunner.run(source, frame.to, sharpness);
    }
    return cropped(std::move(result), frame.x.destination, frame.y.destination);
}

}  // namespace upscale
