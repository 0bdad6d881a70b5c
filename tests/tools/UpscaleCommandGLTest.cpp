// SPDX-License-Identifier: Apache-2.0
// What the command makes of pictures.
#include <png.h>

#include <cmath>
#include <cstdlib>

#include "command.h"
#include "folder.h"
#include "png_samples.h"
#include "tools/border.h"

namespace {

using testing::HasSubstr;
using upscale::Picture;
using Names = std::set<std::string>;

// From left to right and from top to bottom; no two channels go together.
constexpr Rgba kQuarters[] = {
        {40, 60, 180, 255}, {220, 60, 90, 255}, {40, 200, 90, 255}, {220, 200, 180, 255}};

Picture quarters(std::uint32_t width, std::uint32_t height) {
    return painted(width, height, [=](unsigned x, unsigned y) {
        return kQuarters[(x < width / 2 ? 0 : 1) + (y < height / 2 ? 0 : 2)];
    });
}

// A ring, anti-aliased, white on nothing. What is hidden is black, as most programs leave it.
Picture icon(std::uint32_t side) {
    return painted(side, side, [=](unsigned x, unsigned y) -> Rgba {
        const double fromMiddle = std::hypot(x + 0.5 - side / 2.0, y + 0.5 - side / 2.0);
        const double off = std::abs(fromMiddle - side * 0.3);
        const double cover = std::clamp(side * 0.1 - off + 0.5, 0.0, 1.0);
        if (cover == 0.0) return {0, 0, 0, 0};
        return {255, 255, 255, static_cast<std::uint8_t>(std::lround(cover * 255))};
    });
}

class UpscaleCommandGLTest : public FolderTest, public testing::WithParamInterface<std::string> {
  protected:
    // Runs the operation on "in.png"; an empty picture if the command failed.
    static Picture scaled(std::uint32_t width, std::uint32_t height,
                          const std::string& options = "") {
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        const Outcome outcome = runUpscale("--op " + GetParam() + " --force --size " + size +
                                           " in.png out.png " + options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome;
        EXPECT_EQ(outcome.err, "");
        const Picture result = outcome.exitCode == 0 ? loadPng("out.png") : Picture();
        EXPECT_EQ(result.width, width);
        EXPECT_EQ(result.height, height);
        return result;
    }
};

TEST_P(UpscaleCommandGLTest, KeepsThePictureUprightAtAnySize) {
    const struct {
        std::uint32_t fromWidth, fromHeight, toWidth, toHeight;
    } kRows[] = {{24, 20, 61, 47}, {37, 23, 37, 23}, {50, 40, 33, 21},
                 {1, 1, 3, 2},     {1, 9, 3, 18},    {9, 1, 27, 2}};
    for (const auto& row : kRows) {
        const Picture source = quarters(row.fromWidth, row.fromHeight);
        savePng("in.png", source);
        const Picture result = scaled(row.toWidth, row.toHeight);
        if (HasFailure()) continue;
        std::vector<double> places = {0, 1};
        // Far from other colours, where sharpening does nothing.
        if (std::min(row.fromWidth, row.fromHeight) >= 20)
            places.insert(places.end(), {0.25, 0.75});
        for (const double right : places) {
            for (const double down : places) {
                const auto at = [&](const Picture& p) {
                    return p.pixel(static_cast<std::size_t>(down * (p.height - 1)) * p.width +
                                   static_cast<std::size_t>(right * (p.width - 1)));
                };
                // Two 8-bit intermediate images, and HSV ones at that in one operation.
                for (const std::size_t c : {0u, 1u, 2u})
                    EXPECT_NEAR(at(result)[c], at(source)[c], 3)
                            << row.toWidth << "x" << row.toHeight << " at " << right << ", "
                            << down;
            }
        }
    }
    // An alpha channel that hides nothing is none.
    EXPECT_EQ(storedColourType("out.png"), PNG_COLOR_TYPE_RGB);
}

TEST_P(UpscaleCommandGLTest, PaddingChangesTheEdgeOnly) {
    makePng("in.png", "24x20", "-depth 8");
    // These two read between pixels through the driver's sampler. llvmpipe gives 0 here all the
    // same.
    const bool sampled = GetParam() == "cas-sharpen" || GetParam() == "casv";
    for (const std::uint32_t scale : {1u, 2u}) {
        const Picture raw = scaled(24 * scale, 20 * scale, "--border raw");
        const Picture pad = scaled(24 * scale, 20 * scale);
        ASSERT_FALSE(HasFailure());
        EXPECT_NE(raw.pixels, pad.pixels);
        const std::uint32_t reach = 3 * scale;
        const Picture rawInside = cropped(raw, reach, reach);
        const Picture padInside = cropped(pad, reach, reach);
        int worst = 0;
        for (std::size_t i = 0; i < rawInside.pixels.size(); ++i)
            worst = std::max(worst, std::abs(rawInside.pixels[i] - padInside.pixels[i]));
        EXPECT_LE(worst, sampled ? 3 : 0) << scale;
    }
}

TEST_P(UpscaleCommandGLTest, StoresTheKindOfTheInput) {
    const std::pair<std::string, int> kRows[] = {
            {"-colorspace gray", PNG_COLOR_TYPE_GRAY},
            {"-interlace PNG", PNG_COLOR_TYPE_RGB},
            {"-colors 15 -alpha set -channel A -fx 'i<2?0.5:1' +channel", PNG_COLOR_TYPE_RGBA},
            {"-colorspace gray -alpha set -channel A -evaluate set 50% +channel",
             PNG_COLOR_TYPE_GRAY_ALPHA},
    };
    for (const auto& [options, stored] : kRows) {
        makePng("in.png", "12x10", "-depth 8 " + options);
        scaled(18, 15);
        EXPECT_EQ(storedColourType("out.png"), stored);
    }
}

TEST_P(UpscaleCommandGLTest, IconsHaveNoFringe) {
    constexpr std::uint32_t kSide = 48;
    savePng("in.png", icon(kSide));
    const Picture result = scaled(kSide * 2, kSide * 2);
    ASSERT_FALSE(HasFailure());
    int darkest = 255;
    for (std::size_t i = 0; i < result.pixelCount(); ++i) {
        const std::uint8_t* pixel = result.pixel(i);
        if (result.alpha(i) > 0)
            darkest = std::min(darkest, int{*std::min_element(pixel, pixel + 3)});
    }
    // White throughout; a step of rounding is allowed.
    EXPECT_GE(darkest, 254);
    const std::size_t middle = kSide * result.width + kSide;
    EXPECT_EQ(result.alpha(0), 0) << "outside";
    EXPECT_EQ(result.alpha(middle), 0) << "inside the ring";
    EXPECT_GE(result.alpha(middle + kSide * 6 / 10), 254) << "on the ring";
}

INSTANTIATE_TEST_SUITE_P(All, UpscaleCommandGLTest,
                         testing::Values("fsr", "nea", "cas-sharpen", "cas", "casv", "cast"),
                         [](const auto& row) {
                             return row.param == "cas-sharpen" ? "sharpen" : row.param;
                         });

// What does not depend on the operation.
class UpscaleFilesGLTest : public FolderTest {
  protected:
    UpscaleFilesGLTest() { savePng("in.png", quarters(16, 12)); }
};

TEST_F(UpscaleFilesGLTest, ForceReplacesAndKeepsModeAndLink) {
    writeBytes("old.png", "old");
    std::filesystem::permissions("old.png", std::filesystem::perms::owner_read);
    std::filesystem::create_symlink("old.png", "link.png");
    expectFailures({{"--scale 2 in.png link.png", 1, "link.png: File exists"}});
    EXPECT_EQ(readBytes("old.png"), "old");
    EXPECT_EQ(runUpscale("--scale 2 in.png link.png --force").exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink("link.png"));
    EXPECT_EQ(loadPng("old.png").width, 32u);
    EXPECT_EQ(std::filesystem::status("old.png").permissions(), std::filesystem::perms::owner_read);
    EXPECT_EQ(runUpscale("--scale 2 in.png in.png --force").exitCode, 0) << "in place";
    EXPECT_EQ(loadPng("in.png").width, 32u);
    EXPECT_EQ(entries(), (Names{"in.png", "link.png", "old.png"}));
}

TEST_F(UpscaleFilesGLTest, FailuresLeaveNothing) {
    const std::string whole = readBytes("in.png");
    writeBytes("wide.png", withHeaderSize(whole, 900000, 1));
    writeBytes("short.png", whole.substr(0, whole.size() / 2));
    savePng("icon.png", icon(8));
    // The library reports nothing, so the command has to find out what the driver did.
    expectFailures({
            {"--size 1000000x1 in.png out.png", 1, "out.png: 1000000x1 is too large"},
            {"--scale 1e300 in.png out.png", 1, "is too large"},
            {"--size 4x4 wide.png out.png", 1, "wide.png: 900000x1 is too large"},
            {"--scale 2 short.png out.png", 1, "short.png: the file is cut short"},
            {"--scale 2 icon.png out.jpg", 1, "which JPEG cannot hold; PNG and WebP can"},
            {"--op cas --scale 2 in.png out.png", 1,
             "the driver: pixels of the result were left unwritten", faulty("skip-draws")},
            {"--op cas --scale 2 in.png out.png", 1, "the driver: glGetError failed",
             faulty("gl-error")},
            {"--scale 2 in.png out.png", 1, "the driver: no fence could be made",
             faulty("no-fence")},
            {"--scale 2 in.png out.png", 1, "the driver: no result after 300 seconds",
             faulty("fence-timeout")},
            {"--scale 2 in.png out.png", 1, "the driver: waiting failed: Invalid argument",
             faulty("fence-error")},
            {"--op cas --scale 2 in.png out.png", 3, "SHADER_COMPILATION_ERROR",
             faulty("bad-shaders")},
    });
}

TEST_F(UpscaleFilesGLTest, CheckKnowsGoodDriversFromBad) {
    const Outcome good = runUpscale("--check");
    EXPECT_EQ(good.exitCode, 0) << good;
    EXPECT_THAT(good.out, HasSubstr("driver can be trusted"));
    EXPECT_THAT(runUpscale("--check", faulty("fence-timeout")).out, HasSubstr("cannot be trusted"));
    for (const char* fault : {"no-blue", "skip-draws", "gl-error"}) {
        const Outcome bad = runUpscale("--check", faulty(fault));
        EXPECT_EQ(bad.exitCode, 3) << fault;
        EXPECT_THAT(bad.out, HasSubstr("cannot be trusted: wrong in fsr, nea, cas-sharpen, cas, "
                                       "casv, cast."))
                << fault;
    }
}

TEST_F(UpscaleFilesGLTest, FormatsGoByContentAndByName) {
    makePng("deep.png", "16x12", "-depth 16");
    EXPECT_THAT(runUpscale("--scale 2 deep.png out.png").err,
                "upscale: warning: deep.png: 16 bits a channel are reduced to 8\n");
    EXPECT_EQ(runUpscale("--scale 1 in.png photo.jpg --quality 95").exitCode, 0);
    std::filesystem::rename("photo.jpg", "photo.png");
    EXPECT_EQ(runUpscale("--scale 2 photo.png picture.Webp").exitCode, 0);
    EXPECT_EQ(runUpscale("--scale 1 picture.Webp picture --format jpeg").exitCode, 0);
    EXPECT_EQ(readBytes("photo.png").substr(0, 3), "\xff\xd8\xff");
    EXPECT_EQ(readBytes("picture.Webp").substr(8, 4), "WEBP");
    EXPECT_EQ(readBytes("picture").substr(0, 3), "\xff\xd8\xff");
    const Picture last = loadPng("picture");
    EXPECT_EQ(last.width, 32u);
    for (const std::size_t c : {0u, 1u, 2u})
        EXPECT_NEAR(last.pixel(0)[c], kQuarters[0][c], 8);
}

TEST_F(UpscaleFilesGLTest, WithoutRoomForABorderThereIsAWarning) {
    const std::string refusal = runUpscale("--size 1000000x1 in.png out.png").err;
    const std::string side = refusal.substr(refusal.find("takes ") + 6);
    const Outcome outcome =
            runUpscale("--size " + std::to_string(std::stoul(side)) + "x1 in.png out.png");
    EXPECT_EQ(outcome.exitCode, 0) << outcome;
    EXPECT_THAT(outcome.err, testing::MatchesRegex("upscale: warning: no room[^\n]*raw\n"));
    EXPECT_EQ(loadPng("out.png").width, std::stoul(side));
}

TEST_F(UpscaleFilesGLTest, VerboseTellsOfDriverAndTimes) {
    const Outcome outcome =
            runUpscale("--scale 2 in.png out.png --verbose", "debug.vardi.display.ups.enable=21");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(entries(), (Names{"in.png", "out.png"}));
    for (const char* part : {"OpenGL ES 3.", "fsr, sharpness", "16x12 to 32x24", "ms: read",
                             "upscale: log: Upscaler: >> fsrResize"}) {
        EXPECT_THAT(outcome.err, HasSubstr(part));
    }
}

TEST_F(UpscaleFilesGLTest, ADiskThatFillsUpLeavesNothing) {
    // In blocks of 512 bytes: less than the output, which is large, and more than
    // the files in memory that a driver's compiler may use.
    makePng("in.png", "100x100", "-depth 8");
    EXPECT_THAT(shell("ulimit -f 256; MESA_SHADER_CACHE_DISABLE=true '" UPSCALE_COMMAND
                      "' --size 1200x1200 in.png out.png"),
                FailedWith(1, "out.png: File too large"));
    EXPECT_EQ(entries(), Names{"in.png"});
}

}  // namespace
