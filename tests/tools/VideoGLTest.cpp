// SPDX-License-Identifier: Apache-2.0
// What the command makes of video.
#include "command.h"
#include "folder.h"
#include "png_samples.h"

namespace {

using testing::HasSubstr;
using Names = std::set<std::string>;

constexpr char kUpscale[] = "'" UPSCALE_COMMAND "' ";

std::string ffmpegFrames(const std::string& size, int frames, const std::string& pixels) {
    return "ffmpeg -v error -f lavfi -i testsrc2=size=" + size + ":rate=25 -frames:v " +
           std::to_string(frames) + " -vf gblur,hue=s=0.3,format=" + pixels + " ";
}

// Every byte that smooth colour needs, none that would be clipped.
std::string smoothFrame(std::size_t bytes, char seed) {
    std::string frame = "FRAME Xseed=" + std::string(1, seed) + "\n";
    for (std::size_t i = 0; i < bytes; ++i)
        frame += static_cast<char>(100 + (i + static_cast<std::size_t>(seed)) % 40);
    return frame;
}

class VideoGLTest : public FolderTest {};

TEST_F(VideoGLTest, FramesAreScaledAsPicturesAreAndInOrder) {
    constexpr unsigned kFrames = 8;  // More than there are buffers.
    std::string frames;
    for (unsigned i = 0; i < kFrames; ++i) {
        const upscale::Picture picture = painted(20, 14, [i](unsigned x, unsigned y) -> Rgba {
            return {static_cast<std::uint8_t>(x * 12), static_cast<std::uint8_t>(y * 17),
                    static_cast<std::uint8_t>((x * y * (i + 1)) % 256), 255};
        });
        savePng("in" + std::to_string(i) + ".png", picture);
        frames.append(picture.pixels.begin(), picture.pixels.end());
    }
    writeBytes("in.rgba", frames);
    for (const std::string options :
         {"--op fsr --size 33x28 ", "--op cas --scale 1.5 --border raw "}) {
        const Outcome outcome = shell("cat in.rgba | " + std::string(kUpscale) + options +
                                      "--raw 20x14 - out.rgba --force");
        ASSERT_EQ(outcome.exitCode, 0) << outcome;
        EXPECT_EQ(outcome.err, "");
        const std::string scaled = readBytes("out.rgba");
        for (unsigned i = 0; i < kFrames; ++i) {
            runUpscale(options + "--force in" + std::to_string(i) + ".png out.png");
            const std::vector<std::uint8_t> picture = loadPng("out.png").pixels;
            ASSERT_EQ(scaled.size(), kFrames * picture.size());
            EXPECT_TRUE(std::equal(
                    picture.begin(), picture.end(),
                    scaled.begin() + static_cast<std::ptrdiff_t>(i * picture.size()),
                    [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); }))
                    << options << i;
        }
    }
}

TEST_F(VideoGLTest, WithFfmpegOnBothSides) {
    for (const std::string pixels : {"yuv420p", "yuvj420p", "yuv422p", "yuv444p", "gray"}) {
        // What comes back, and what ffmpeg makes of the same frames, as RGB.
        const std::string toRgb = " -f rawvideo -pix_fmt rgb24 ";
        const Outcome outcome = shell(
                ffmpegFrames("120x68", 12, pixels) + "-strict -1 -f yuv4mpegpipe - | " + kUpscale +
                "--scale 2 - - | ffmpeg -v error -f yuv4mpegpipe -i - " + toRgb + "ours\n" +
                ffmpegFrames("120x68", 12, pixels + ",scale=240:136") + toRgb + "-y theirs");
        EXPECT_EQ(outcome.err, "");
        const std::string ours = readBytes("ours");
        const std::string theirs = readBytes("theirs");
        std::filesystem::remove("ours");
        ASSERT_EQ(ours.size(), 12u * 240 * 136 * 3) << pixels;
        ASSERT_EQ(ours.size(), theirs.size());
        double sum = 0;
        for (std::size_t i = 0; i < ours.size(); ++i)
            sum += std::abs(static_cast<std::uint8_t>(ours[i]) -
                            static_cast<std::uint8_t>(theirs[i]));
        // Two filters differ at edges only; a wrong range, matrix or order is 8 and more off.
        EXPECT_LT(sum / static_cast<double>(ours.size()), 4) << pixels;
    }
}

TEST_F(VideoGLTest, WithoutScalingNothingChanges) {
    const std::pair<std::string, std::size_t> kRows[] = {
            {"W31 H17 F24:1 Ip A3:2 Cmono XYZ=1", 31 * 17},
            {"W31 H17 C444 XCOLORRANGE=FULL", 31 * 17 * 3},
            {"W31 H17 C444", 31 * 17 * 3},
    };
    for (const auto& [tags, bytes] : kRows) {
        const std::string video =
                "YUV4MPEG2 " + tags + "\n" + smoothFrame(bytes, 'a') + smoothFrame(bytes, 'b');
        writeBytes("in.y4m", video);
        // So weak that it sharpens nothing.
        const Outcome outcome = runUpscale("--op nea --scale 1 --sharpness 100 in.y4m -");
        EXPECT_EQ(outcome.exitCode, 0) << outcome;
        EXPECT_TRUE(outcome.out == video) << tags;
    }
}

TEST_F(VideoGLTest, OptionsOverrideWhatIsTold) {
    // Red by one matrix and range; other ones give other colours, which sharpening tells apart.
    writeBytes("in.y4m", "YUV4MPEG2 W16 H9 C420mpeg2 XCOLORRANGE=LIMITED\nFRAME\n" +
                                 smoothFrame(16 * 9 + 80, 'a').substr(14));
    std::set<std::string> results;
    for (const std::string options : {"", "--range full", "--matrix bt709", "--matrix bt2020"}) {
        const Outcome outcome =
                runUpscale("--op cas --size 33x21 --sharpness 0 in.y4m - " + options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome;
        const std::size_t end = outcome.out.find('\n');
        EXPECT_EQ(outcome.out.substr(0, end),
                  std::string("YUV4MPEG2 W33 H21 C420mpeg2 XCOLORRANGE=") +
                          (options == "--range full" ? "FULL" : "LIMITED"));
        EXPECT_EQ(outcome.out.size(), end + 1 + 6 + 33 * 21 + 2 * 17 * 11) << "odd sides";
        results.insert(outcome.out.substr(end));
    }
    EXPECT_EQ(results.size(), 4u);
}

TEST_F(VideoGLTest, EndsAsItShould) {
    std::string video = "YUV4MPEG2 W16 H9 Cmono\n";
    for (int i = 0; i < 6; ++i)
        video += smoothFrame(16 * 9, 'a');
    writeBytes("in.y4m", video);
    writeBytes("cut.y4m", video.substr(0, video.size() - 1));
    writeBytes("long.y4m", "YUV4MPEG2 W16 H9 Cmono\n" + std::string(video, 23) +
                                   std::string(video, 23) + std::string(video, 23));
    const std::string upscale = std::string(kUpscale) + "--scale 40 ";
    const struct {
        std::string script;
        int exitCode;
        std::string error;
        std::size_t frames;  // on standard output
    } kRows[] = {
            {upscale + "in.y4m -", 0, "", 6},
            {"head -c 23 in.y4m | " + upscale + "- -", 0, "", 0},
            {upscale + "- - <cut.y4m", 1, "upscale: standard input: cut short in frame 6\n", 5},
            {upscale + "cut.y4m out.y4m", 1, "upscale: cut.y4m: cut short in frame 6\n", 0},
            // The input stays open: whoever waits for it must not wait for ever.
            {"exec bash -c \"exec 3< <(cat in.y4m; exec sleep 60)\n" + upscale +
                     "- - <&3 >/dev/full; status=\\$?; kill \\$!; exit \\$status\"",
             1, "upscale: standard output: No space left on device\n", 0},
            {"{ " + upscale + "long.y4m -; echo $? >&2; } | head -c 1000 >/dev/null", 0, "141\n",
             0},
            {"trap '' PIPE; { " + upscale + "long.y4m -; echo $? >&2; } | head -c 1000 >/dev/null",
             0, "141\n", 0},
            {upscale + "--raw 5x5 --range full - - </dev/null", 2,
             "upscale: --range: does not go with --raw\n", 0},
            {upscale + "in.y4m out.png", 2,
             "upscale: out.png: video is written as Y4M, not as pictures\n", 0},
            {"printf 'abc\\000' | " + upscale + "--raw 1x1 - -", 0,
             "upscale: warning: standard input: frames are transparent in parts, which no result "
             "is\n",
             1},
    };
    for (const auto& row : kRows) {
        const Names before = entries();
        const Outcome outcome = shell(row.script);
        EXPECT_EQ(outcome.exitCode, row.exitCode) << row.script;
        EXPECT_EQ(outcome.err, row.error) << row.script;
        const bool raw = row.script.find("--raw") != std::string::npos;
        const std::size_t header = sizeof("YUV4MPEG2 W640 H360 Cmono");
        const std::size_t frame = raw ? 40 * 40 * 4 : sizeof("FRAME Xseed=a") + 640 * 360;
        if (row.frames > 0) {
            EXPECT_EQ(outcome.out.size(), (raw ? 0 : header) + row.frames * frame) << row.script;
        }
        EXPECT_EQ(entries(), before) << row.script;
    }
}

}  // namespace
