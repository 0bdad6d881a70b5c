// SPDX-License-Identifier: Apache-2.0
#include "tools/common/progress.h"

#include <gtest/gtest.h>

namespace {

using upscale::progressLine;

TEST(ProgressTest, TheLineTellsWhatIsKnownAndFits) {
    EXPECT_EQ(progressLine("frames", 7, {}, 2, 80), "7 frames, 3.50/s");
    EXPECT_EQ(progressLine("pictures", 0, 200, 1, 40), "[--------------------] 0 of 200 pictures");
    EXPECT_EQ(progressLine("pictures", 50, 200, 2.5, 58),
              "[#####---------------] 50 of 200 pictures, 20/s, 0:08 left");
    EXPECT_EQ(progressLine("pictures", 1, 9000, 3, 47), "1 of 9000 pictures, 0.33/s, 7:29:57 left");
    EXPECT_EQ(progressLine("pictures", 50, 200, 2.5, 10), "50 of 200 ");
    for (std::size_t columns = 0; columns < 100; ++columns)
        EXPECT_LE(progressLine("pictures", 3, 5, 1, columns).size(), columns);
}

}  // namespace
