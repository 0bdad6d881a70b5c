// SPDX-License-Identifier: Apache-2.0
#include "tools/pictures/border.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// Coprime sides, like ones, and the extremes; both ways round.
TEST(BorderTest, PaddingIsWideEnoughAndKeepsThePixelsInPlace) {
    constexpr std::uint32_t kSides[] = {1,   2,    3,    61,   64,   97,   100,
                                        641, 1080, 1371, 7106, 7212, 16384};
    for (const std::uint32_t from : kSides) {
        for (const std::uint32_t to : kSides) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            const upscale::Padding padding = upscale::paddingFor(from, to);
            const double ratio = double{1} * from / to;
            EXPECT_GE(padding.destination, 1u);
            // The pixel just past the far edge reads two past the one at its position.
            EXPECT_GE(padding.source + from, std::floor((to + 0.5) * ratio - 0.5) + 3);
            const double paddedRatio =
                    (from + 2.0 * padding.source) / (to + 2.0 * padding.destination);
            const double shift = std::abs(paddedRatio - ratio) * to / 2;
            EXPECT_LT(shift, std::min(from, to) <= upscale::kWidestPadding ? 1e-9 : 0.05);
            EXPECT_LE(std::min(padding.source, padding.destination), upscale::kWidestPadding);
        }
    }
}

}  // namespace
