// SPDX-License-Identifier: Apache-2.0
// What is read from streams of frames, and what is written of their headers.
#include <gmock/gmock.h>

#include <algorithm>

#include "tools/failure.h"
#include "tools/frame_stream.h"

namespace {

using namespace upscale;
using testing::HasSubstr;

class TextSource : public ByteSource {
  public:
    explicit TextSource(std::string text) : ByteSource("text"), mText(std::move(text)) {}
    std::size_t read(void* data, std::size_t size) override {
        const std::size_t got = mText.copy(static_cast<char*>(data), size, mAt);
        mAt += got;
        return got;
    }

  private:
    std::string mText;
    std::size_t mAt = 0;
};

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

TEST(Y4mTest, ScaledHeadersKeepWhatTheyDoNotKnow) {
    const struct {
        const char* tags;
        std::uint32_t width, height;
        std::optional<Range> range;
        const char* scaled;
    } kRows[] = {
            {"W4 H3 F30000:1001 XA=1 Zz A4:3 XB", 8, 6, {}, "W8 H6 F30000:1001 XA=1 Zz A4:3 XB"},
            // Told by option, with and without a tag in the input.
            {"XCOLORRANGE=LIMITED W4 H3", 8, 6, Range::Full, "XCOLORRANGE=FULL W8 H6"},
            {"W4 H3", 8, 6, Range::Limited, "W8 H6 XCOLORRANGE=LIMITED"},
            // Alike but for whole pixels; anamorphic to square; unknown; too fine for 31 bits, so
            // 1e-5 off.
            {"W101 H33 A16:15", 152, 50, {}, "W152 H50 A16:15"},
            {"W720 H576 A64:45", 1024, 576, {}, "W1024 H576 A1:1"},
            {"W4 H3 A0:0", 5, 6, {}, "W5 H6 A0:0"},
            {"W30011 H32749 A4294967291:4294967279", 2, 30013, {}, "W2 H30013 A1801440283:130995"},
    };
    for (const auto& row : kRows) {
        const Y4mHeader header = parseY4mHeader(std::string("YUV4MPEG2 ") + row.tags, "text");
        EXPECT_EQ(scaledY4mHeader(header, row.width, row.height, row.range),
                  std::string("YUV4MPEG2 ") + row.scaled + "\n");
    }
}

TEST(Y4mTest, RefusesWithAReason) {
    const std::string start = "YUV4MPEG2 W2 H1 Cmono\n";
    const std::pair<std::string, const char*> kRows[] = {
            {"", "there is no input"},
            {"P6\n2 1\n255\n", "not a Y4M stream"},
            {std::string(9000, 'x'), "not a Y4M stream"},
            {"YUV4MPEG2X W2 H1\n", "not a Y4M stream"},
            {"YUV4MPEG2 W2 H1 X\x1b[2J\n", "not a Y4M stream"},
            {"YUV4MPEG2 W2 H1" + std::string(9000, 'x'), "header does not end"},
            {"YUV4MPEG2 W2 H1", "header does not end"},
            {"YUV4MPEG2 W2 F25:1\n", "tells no size"},
            {"YUV4MPEG2 W0 H1\n", "'W0' in the Y4M header is no size"},
            {"YUV4MPEG2 W2 H-1\n", "'H-1'"},
            {"YUV4MPEG2 W2 H32769\n", "'H32769'"},
            {"YUV4MPEG2 W99999999999 H1\n", "'W99999999999'"},
            {"YUV4MPEG2 W2 H1 It\n", "('It') is interlaced"},
            {"YUV4MPEG2 W2 H1 Im\n", "('Im') is interlaced"},
            {"YUV4MPEG2 W2 H1 C420p10\n", "'C420p10' is not taken"},
            {"YUV4MPEG2 W2 H1 C444alpha\n", "'C444alpha' is not taken"},
            {start + "FRAME\nab\n", "no frame header before frame 2"},
            {start + "FRAMES\nab", "no frame header before frame 1"},
            {start + "FRAME I1ip\nab", "frame 1 ('I1ip') is interlaced"},
            {start + "FRAME\nabFRAME\na", "cut short in frame 2"},
            {start + "FRAME\nabFRA", "cut short in frame 2"},
    };
    for (const auto& [text, reason] : kRows) {
        TextSource source(text);
        try {
            FrameReader reader(source);
            std::uint8_t frame[2];
            std::string parameters;
            while (reader.next(frame, parameters)) {
            }
            ADD_FAILURE() << text.substr(0, 60);
        } catch (const Failure& failure) {
            EXPECT_THAT(failure.what(), HasSubstr(reason)) << text.substr(0, 60);
        }
    }
}

}  // namespace
