// SPDX-License-Identifier: Apache-2.0
// What the command makes of pictures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <signal.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ostream>
#include <thread>

#include "command.h"
#include "command_checks.h"
#include "png_samples.h"
#include "temporary_folder.h"
#include "tools/operations.h"

namespace upscale {

// For the names of failed tests.
void PrintTo(const Operation& operation, std::ostream* out) {
    *out << operation.name;
}

}  // namespace upscale

namespace {

using testing::HasSubstr;
using upscale::Operation;
using upscale::Picture;

std::string sizeText(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

void setPixel(Picture& picture, std::size_t index, int r, int g, int b, int a = 255) {
    const int values[] = {r, g, b, a};
    for (std::size_t c = 0; c < 4; ++c) {
        picture.pixel(index)[c] = static_cast<std::uint8_t>(values[c]);
    }
}

// A colour to each quarter, none like another.
Picture quarters(std::uint32_t width, std::uint32_t height) {
    Picture picture(width, height);
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        const bool right = i % width >= width / 2;
        const bool bottom = i / width >= height / 2;
        setPixel(picture, i, right ? 220 : 40, bottom ? 200 : 60, right == bottom ? 180 : 90);
    }
    return picture;
}

// A ring, anti-aliased, white on nothing. What is hidden is black, as most programs leave it.
Picture icon(std::uint32_t side) {
    Picture picture(side, side);
    const double middle = side / 2.0;
    for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
        const std::size_t column = i % side;
        const std::size_t row = i / side;
        const double x = static_cast<double>(column) + 0.5 - middle;
        const double y = static_cast<double>(row) + 0.5 - middle;
        const double off = std::abs(std::sqrt(x * x + y * y) - side * 0.3);
        const double cover = std::min(std::max(side * 0.1 - off + 0.5, 0.0), 1.0);
        if (cover > 0)
            setPixel(picture, i, 255, 255, 255, static_cast<int>(std::lround(cover * 255)));
    }
    return picture;
}

class UpscaleCommandGLTest : public testing::TestWithParam<Operation> {
  protected:
    // Runs the operation on a picture; an empty one if the command failed.
    Picture scaled(const Picture& source, std::uint32_t width, std::uint32_t height) {
        savePng(path("in.png"), source);
        const Outcome outcome =
                upscaleCommand({"--op", GetParam().name, "--force", "--size",
                                sizeText(width, height), path("in.png"), path("out.png")});
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        return outcome.exitCode == 0 ? loadPng(path("out.png")) : Picture();
    }
    std::string path(const std::string& name) const { return mFolder.path(name); }

    TemporaryFolder mFolder;
};

TEST_P(UpscaleCommandGLTest, KeepsThePictureUprightAtAnySize) {
    const struct {
        std::uint32_t fromWidth, fromHeight, toWidth, toHeight;
    } kRows[] = {{24, 20, 61, 47}, {37, 23, 37, 23}, {50, 40, 33, 21}};
    for (const auto& row : kRows) {
        const Picture source = quarters(row.fromWidth, row.fromHeight);
        const Picture result = scaled(source, row.toWidth, row.toHeight);
        ASSERT_EQ(result.width, row.toWidth);
        ASSERT_EQ(result.height, row.toHeight);
        for (const bool right : {false, true}) {
            for (const bool bottom : {false, true}) {
                // The middle of a quarter, far from other colours: sharpening does nothing there.
                const auto middleOf = [&](const Picture& p) {
                    const std::size_t x = p.width * (right ? 3 : 1) / 4;
                    const std::size_t y = p.height * (bottom ? 3 : 1) / 4;
                    return p.pixel(y * p.width + x);
                };
                for (std::size_t c = 0; c < 3; ++c) {
                    // Two 8-bit intermediate images, and HSV ones at that in one operation.
                    EXPECT_NEAR(middleOf(result)[c], middleOf(source)[c], 3)
                            << sizeText(row.toWidth, row.toHeight) << right << bottom << c;
                }
            }
        }
    }
}

TEST_P(UpscaleCommandGLTest, TakesTheSmallestPictures) {
    for (const auto& [width, height] : {std::pair{1u, 1u}, {1u, 9u}, {9u, 1u}}) {
        const Picture result = scaled(quarters(width, height), width * 3, height * 2);
        EXPECT_EQ(result.width, width * 3);
        EXPECT_EQ(result.height, height * 2);
    }
}

TEST_P(UpscaleCommandGLTest, StoresTheKindOfTheInput) {
    const PngKind kKinds[] = {
            {"Grey", PNG_COLOR_TYPE_GRAY, 16, false, false},
            {"Rgb", PNG_COLOR_TYPE_RGB, 8, false, true},
            {"Palette", PNG_COLOR_TYPE_PALETTE, 4, true, false},
            {"GreyAlpha", PNG_COLOR_TYPE_GRAY_ALPHA, 8, false, false},
    };
    const int kStored[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA,
                           PNG_COLOR_TYPE_GRAY_ALPHA};
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        writeSamplePng(path("kind.png"), kKinds[i], 12, 10);
        const Outcome outcome = upscaleCommand({"--op", GetParam().name, "--force", "--scale",
                                                "1.5", path("kind.png"), path("out.png")});
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_EQ(storedColourType(path("out.png")), kStored[i]) << kKinds[i].name;
    }
    // An alpha channel that hides nothing is none.
    scaled(quarters(8, 8), 12, 12);
    EXPECT_EQ(storedColourType(path("out.png")), PNG_COLOR_TYPE_RGB);
}

TEST_P(UpscaleCommandGLTest, IconsHaveNoFringe) {
    constexpr std::uint32_t kSide = 48;
    const Picture result = scaled(icon(kSide), kSide * 2, kSide * 2);
    ASSERT_EQ(result.width, kSide * 2);
    int darkest = 255;
    for (std::size_t i = 0; i < result.pixelCount(); ++i) {
        if (result.alpha(i) == 0) continue;
        darkest = std::min({darkest, int{result.pixel(i)[0]}, int{result.pixel(i)[1]},
                            int{result.pixel(i)[2]}});
    }
    // White throughout; a step of rounding is allowed.
    EXPECT_GE(darkest, 254);
    const std::size_t middle = kSide;
    EXPECT_EQ(result.alpha(0), 0) << "outside";
    EXPECT_EQ(result.alpha(middle * result.width + middle), 0) << "inside the ring";
    EXPECT_GE(result.alpha(middle * result.width + middle + static_cast<std::size_t>(0.6 * kSide)),
              254)
            << "on the ring";
}

INSTANTIATE_TEST_SUITE_P(All, UpscaleCommandGLTest, testing::ValuesIn(upscale::kOperations),
                         [](const auto& row) {
                             std::string name = row.param.name;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

// What does not depend on the operation.
class UpscaleFilesGLTest : public testing::Test {
  protected:
    UpscaleFilesGLTest() { savePng(path("in.png"), quarters(16, 12)); }

    std::string path(const std::string& name) const { return mFolder.path(name); }
    std::vector<std::string> doubling(const std::string& out) const {
        return {"--scale", "2", path("in.png"), path(out)};
    }

    TemporaryFolder mFolder;
};

TEST_F(UpscaleFilesGLTest, ForceReplacesAndKeepsModeAndLink) {
    writeBytes(path("old.png"), "old");
    std::filesystem::permissions(path("old.png"), std::filesystem::perms::owner_read);
    std::filesystem::create_symlink("old.png", path("link.png"));
    EXPECT_TRUE(failedWith(upscaleCommand(doubling("link.png")), 1, "link.png: File exists"));
    EXPECT_EQ(readBytes(path("old.png")), "old");
    std::vector<std::string> arguments = doubling("link.png");
    arguments.push_back("--force");
    EXPECT_EQ(upscaleCommand(arguments).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("link.png")));
    EXPECT_EQ(loadPng(path("old.png")).width, 32u);
    EXPECT_EQ(std::filesystem::status(path("old.png")).permissions(),
              std::filesystem::perms::owner_read);
    EXPECT_EQ(mFolder.entries(), (std::set<std::string>{"in.png", "link.png", "old.png"}));
}

TEST_F(UpscaleFilesGLTest, InPlace) {
    std::vector<std::string> arguments = doubling("in.png");
    arguments.push_back("--force");
    EXPECT_EQ(upscaleCommand(arguments).exitCode, 0);
    EXPECT_EQ(loadPng(path("in.png")).width, 32u);
}

TEST_F(UpscaleFilesGLTest, SidesPastTheDriversLimit) {
    EXPECT_TRUE(failedWith(upscaleCommand({"--size", "1000000x1", path("in.png"), path("out.png")}),
                           1, "out.png: 1000000x1 is too large"));
    EXPECT_TRUE(failedWith(upscaleCommand({"--scale", "1e300", path("in.png"), path("out.png")}), 1,
                           "is too large"));
    writeBytes(path("wide.png"), withHeaderSize(readBytes(path("in.png")), 900000, 1));
    EXPECT_TRUE(failedWith(upscaleCommand({"--size", "4x4", path("wide.png"), path("out.png")}), 1,
                           "wide.png: 900000x1 is too large"));
    EXPECT_EQ(mFolder.entries(), (std::set<std::string>{"in.png", "wide.png"}));
}

TEST_F(UpscaleFilesGLTest, InputCutShort) {
    const std::string whole = readBytes(path("in.png"));
    writeBytes(path("in.png"), whole.substr(0, whole.size() / 2));
    EXPECT_TRUE(
            failedWith(upscaleCommand(doubling("out.png")), 1, "in.png: the file is cut short"));
    EXPECT_EQ(mFolder.entries(), std::set<std::string>{"in.png"});
}

TEST_F(UpscaleFilesGLTest, VerboseTellsOfDriverAndTimes) {
    std::vector<std::string> arguments = doubling("out.png");
    arguments.push_back("--verbose");
    const Outcome outcome = upscaleCommand(arguments, {"debug.vardi.display.ups.enable=21"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("OpenGL ES 3."));
    EXPECT_THAT(outcome.err, HasSubstr("fsr, sharpness"));
    EXPECT_THAT(outcome.err, HasSubstr("16x12 to 32x24"));
    EXPECT_THAT(outcome.err, HasSubstr("ms: read"));
    EXPECT_THAT(outcome.err, HasSubstr("upscale: log: Upscaler: >> fsrResize"));
}

// The library reports nothing, so the command has to find these out.
TEST_F(UpscaleFilesGLTest, FailuresOfTheDriverAreFound) {
    const struct {
        const char* fault;
        int exitCode;
        const char* reason;
    } kRows[] = {
            {"skip-draws", 1, "the driver: pixels of the result were left unwritten"},
            {"gl-error", 1, "the driver: glGetError failed"},
            {"bad-shaders", 3, "SHADER_COMPILATION_ERROR"},
    };
    // Its library wants to be first, which the preloaded one is.
    const char* options = std::getenv("ASAN_OPTIONS");
    const std::string sanitizer =
            std::string("ASAN_OPTIONS=verify_asan_link_order=0:") + (options ? options : "");
    for (const auto& row : kRows) {
        const Outcome outcome =
                upscaleCommand({"--op", "cas", "--scale", "2", path("in.png"), path("out.png")},
                               {"LD_PRELOAD=" FAULTY_GL_LIBRARY,
                                std::string("FAULTY_GL=") + row.fault, sanitizer});
        EXPECT_TRUE(failedWith(outcome, row.exitCode, row.reason)) << row.fault;
    }
    EXPECT_EQ(mFolder.entries(), std::set<std::string>{"in.png"});
}

TEST_F(UpscaleFilesGLTest, ADiskThatFillsUpLeavesNothing) {
    // In blocks of 512 bytes: less than the output, which random pixels make large.
    writeSamplePng(path("in.png"), {"", PNG_COLOR_TYPE_RGB, 8, false, false}, 100, 100);
    const std::string limited = "ulimit -f 8; exec \"$@\"";
    const Outcome outcome = Command({"/bin/sh", "-c", limited, "sh", UPSCALE_COMMAND, "--size",
                                     "400x400", path("in.png"), path("out.png")},
                                    {"MESA_SHADER_CACHE_DISABLE=true"})
                                    .wait();
    EXPECT_TRUE(failedWith(outcome, 1, "out.png: File too large"));
    EXPECT_EQ(mFolder.entries(), std::set<std::string>{"in.png"});
}

TEST_F(UpscaleFilesGLTest, ASignalLeavesNothing) {
    using std::chrono::steady_clock;
    writeSamplePng(path("in.png"), {"", PNG_COLOR_TYPE_RGB, 8, false, false}, 200, 200);
    Command command({UPSCALE_COMMAND, "--op", "nea", "--size", "3000x3000", path("in.png"),
                     path("out.png")});
    // Until the writing, which takes most of a second, has begun.
    const auto deadline = steady_clock::now() + std::chrono::seconds(60);
    while (mFolder.entries().size() == 1 && steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_EQ(mFolder.entries().count("out.png"), 0u) << "the writing was over too soon";
    ASSERT_EQ(mFolder.entries().size(), 2u) << "the writing did not begin";
    command.send(SIGTERM);
    EXPECT_EQ(command.wait().signal, SIGTERM);
    EXPECT_EQ(mFolder.entries(), std::set<std::string>{"in.png"});
}

}  // namespace
