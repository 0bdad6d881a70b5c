// SPDX-License-Identifier: Apache-2.0
// What the command does before it needs a driver, and without one.
#include "command.h"
#include "folder.h"
#include "png_samples.h"

namespace {

using testing::HasSubstr;

class UpscaleCommandTest : public FolderTest {
  protected:
    UpscaleCommandTest() { savePng("in.png", upscale::Picture(4, 3)); }
};

TEST_F(UpscaleCommandTest, WrongUsage) {
    std::vector<FailingCall> calls = {
            {"", 2, "IN and OUT"},
            {"--scale 2 in.png", 2, "IN and OUT"},
            {"in.png out.png", 2, "one of --size and --scale"},
            {"--scale 2 --size 5x5 in.png out.png", 2, "one of --size and --scale"},
            {"--scale 2 in.png out.png out.png", 2, "'out.png' is no folder"},
            {"--check in.png", 2, "--check: takes no pictures"},
            {"--scale 2 --turn in.png out.png", 2, "--turn"},
            {"--scale 2 --op best in.png out.png", 2, "'best' is no operation; there are fsr, nea"},
            {"in.png out.png --scale", 2, "--scale"},
            {"--scale 2 --format gif in.png out.png", 2, "'gif' is no format; there are png"},
            {"--scale 2 in.png out.tar.gif", 2, "out.tar.gif: the extension tells no format"},
            {"--scale 2 --quality 5 in.png out.png", 2, "--quality: PNG loses nothing"},
            {"--scale 2 --border none in.png out.png", 2, "'none' is no border; there are pad and"},
            {"--scale 2 --zoom 2 in.png out.png", 2, "with pictures, only with --compare, --sweep"},
            {"--scale 2 --compare --op fsr in.png out.png", 2, "--op: does not go with --compare"},
            {"--scale 2 --compare --crop 1,2,3 in.png out.png", 2, "--crop: '1,2,3' is no part"},
            {"--scale 2 --compare --zoom 0 in.png out.png", 2, "--zoom: '0' is no zoom"},
            {"--scale 2 --sweep 0 in.png out.png", 2, "--sweep: '0' is no range"},
            {"--scale 2 --sweep 0:1:99 in.png out.png", 2, "'99' is no count; give 2 to 15"},
            {"--scale 2 --op cas --sweep 0:2 in.png out.png", 2, "'2' is no sharpness of cas"},
            {"--scale 2 --quality 5 - -", 2, "--quality: does not go with video"},
            {"--scale 2 --matrix bt2 - out.y4m", 2, "'bt2' is no matrix; there are bt601, bt709"},
    };
    const auto addValues = [&calls](const std::string& before, const std::string& option,
                                    const std::vector<std::string>& values) {
        for (const std::string& value : values) {
            calls.push_back({before + option + " '" + value + "' in.png out.png", 2, option});
        }
    };
    addValues("", "--size",
              {"", "5", "5x", "x5", "0x5", "5x0", "-5x5", "5x5x5", "5.5x5", " 5x5", "4294967296x1",
               "axb", "5X5 "});
    addValues("", "--scale", {"", "0", "-1", "nan", "inf", "-inf", "1e999", "2x", "two", "1e-999"});
    addValues("--scale 2 --format jpeg ", "--quality", {"", "0", "101", "-1", "9.5", "best"});
    const std::pair<std::string, std::string> kPastTheScale[] = {
            {"fsr", "-1"},   {"nea", "-1"},    {"cas-sharpen", "1.01"},
            {"cas", "1.01"}, {"casv", "1.01"}, {"cast", "1.01"}};
    for (const auto& [operation, value] : kPastTheScale) {
        addValues("--scale 2 --op " + operation + " ", "--sharpness",
                  {"", "nan", "inf", "-0.1", "strong", value});
    }
    expectFailures(calls);
}

TEST_F(UpscaleCommandTest, FilesAndSurroundingsThatDoNotDo) {
    writeBytes("empty.png", "");
    writeBytes("text.png", "not a picture at all");
    std::filesystem::create_directory("folder");
    const std::string property = "debug.vardi.display.ups.enable";
    expectFailures({
            {"--scale 2 missing.png out.png", 1, "missing.png: No such file or directory"},
            {"--scale 2 in.png/below.png out.png", 1, "below.png: Not a directory"},
            {"--scale 2 folder out.png", 1, "folder: Is a directory"},
            {"--scale 2 empty.png out.png", 1, "empty.png: the file is empty"},
            {"--scale 2 text.png out.png", 1, "text.png: not a PNG, JPEG or WebP file"},
            {"--size 1x65501 in.png out.JPG", 1, "out.JPG: 1x65501 is too large: JPEG takes 65500"},
            {"--size 1x16384 in.png out.webp", 1, "1x16384 is too large: WebP takes 16383"},
            {"--scale 0.1 in.png out.png", 1, "in.png: 4x3 scaled by 0.1 leaves no pixels"},
            {"--scale 2 in.png missing/out.png", 1, "out.png: No such file or directory"},
            {"--scale 2 in.png text.png/out.png", 1, "out.png: Not a directory"},
            {"--scale 2 in.png text.png/", 1, "text.png/: not a folder"},
            {"--scale 2 in.png missing/new/", 1, "missing/new/: No such file or directory"},
            {"--scale 2 in.png text.png", 1, "text.png: File exists; --force"},
            {"--scale 2 in.png in.png", 1, "in.png: File exists; --force"},
            {"--scale 2 in.png /dev/null", 1, "/dev/null: not a regular file"},
            {"--scale 2 in.png out.png", 3, "no usable EGL and OpenGL ES 3 driver",
             "__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent"},
            {"--scale 2 in.png new/", 3, "no usable EGL and OpenGL ES 3 driver",
             "__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent"},
            {"--check", 3, "no usable EGL and OpenGL ES 3 driver",
             "__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent"},
            {"--scale 2 in.png out.png", 2, property + ": not a hexadecimal number",
             property + "=verbose"},
            {"--scale 2 in.png out.png", 2, property + ": not a hexadecimal number",
             property + "=123456789012345678901"},
    });
    EXPECT_EQ(readBytes("text.png"), "not a picture at all");
}

TEST_F(UpscaleCommandTest, TextsGoToStdout) {
    for (const std::string option : {"--list", "--help"}) {
        const Outcome outcome = runUpscale(option);
        EXPECT_EQ(outcome.exitCode, 0) << option;
        EXPECT_EQ(outcome.err, "") << option;
        EXPECT_THAT(outcome.out, HasSubstr("harpness")) << option;
    }
    const std::string list = runUpscale("--list").out;
    for (const char* operation : {"fsr ", "nea ", "cas-sharpen ", "cas ", "casv ", "cast "})
        EXPECT_THAT(list, HasSubstr(operation));
    EXPECT_THAT(runUpscale("--version").out, testing::MatchesRegex("upscale [0-9.]+\n"));
}

}  // namespace
