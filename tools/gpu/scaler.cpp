// SPDX-License-Identifier: Apache-2.0
#include "gpu/scaler.h"

#include <utility>

#include "common/failure.h"
#include "pictures/alpha.h"

namespace upscale {

ScalePlan planScaling(const Runner& runner, Border border, Size from, Size to, Report& report) {
    const ScalePlan bare = {{}, {}, from, to};
    if (border == Border::Raw) return bare;
    ScalePlan plan = {paddingFor(from.width, to.width), paddingFor(from.height, to.height), {}, {}};
    plan.from = {from.width + 2 * plan.x.source, from.height + 2 * plan.y.source};
    plan.to = {to.width + 2 * plan.x.destination, to.height + 2 * plan.y.destination};
    if (runner.fits(plan.from) && runner.fits(plan.to)) return plan;
    report.warning("there is no room for a border: padded, " + inPixels(plan.from) + " to " +
                   inPixels(plan.to) +
                   " is too large for the driver; continuing with --border raw");
    return bare;
}

Picture Scaler::scale(Picture source, const ScalePlan& plan, float sharpness) {
    source = padded(std::move(source), plan.x.source, plan.y.source);
    Picture result;
    if (hasTransparency(source)) {
        const Picture alpha = mRunner.run(alphaAsGrey(source), plan.to, sharpness);
        bleedColours(source);
        result = mRunner.run(source, plan.to, sharpness);
        setAlpha(result, alpha);
    } else {
        result = mRunner.run(source, plan.to, sharpness);
    }
    if (plan.x.destination == 0 && plan.y.destination == 0) return result;
    return partOf(result, plan.x.destination, plan.y.destination,
                  {result.width - 2 * plan.x.destination, result.height - 2 * plan.y.destination});
}

}  // namespace upscale
