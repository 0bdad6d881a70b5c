// SPDX-License-Identifier: Apache-2.0
#include "tools/video/y4m.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace upscale;

TEST(Y4mTest, HeadersTellTheFormat) {
    const struct {
        const char* tags;
        Sampling sampling;
        Siting siting;
        Range range;
        std::size_t bytes;  // of a frame
    } kRows[] = {
            {"W5 H3", Sampling::Yuv420, Siting::Centre, Range::Limited, 15 + 2 * 6},
            {"C420 H3 W5 I?", Sampling::Yuv420, Siting::Centre, Range::Limited, 27},
            {"W5 H3 C420jpeg XCOLORRANGE=FULL", Sampling::Yuv420, Siting::Centre, Range::Full, 27},
            {"W5 H3 C420mpeg2 Ip", Sampling::Yuv420, Siting::Left, Range::Limited, 27},
            {"W5 H3 C420paldv", Sampling::Yuv420, Siting::TopLeft, Range::Limited, 27},
            {"W5 H3 C422 XCOLORRANGE=?", Sampling::Yuv422, Siting::Left, Range::Limited, 33},
            {"W5 H3 C444 F25:1", Sampling::Yuv444, Siting::Centre, Range::Limited, 45},
            {"W5 H3 Cmono", Sampling::Mono, Siting::Centre, Range::Full, 15},
            {"W5 H3 Cmono XCOLORRANGE=LIMITED", Sampling::Mono, Siting::Centre, Range::Limited, 15},
    };
    for (const auto& row : kRows) {
        const FrameFormat format =
                parseY4mHeader(std::string("YUV4MPEG2 ") + row.tags, "text").format;
        EXPECT_EQ(format.sampling, row.sampling) << row.tags;
        EXPECT_EQ(format.siting, row.siting) << row.tags;
        EXPECT_EQ(format.range, row.range) << row.tags;
        EXPECT_EQ(format.bytes(), row.bytes) << row.tags;
    }
}

}  // namespace
