// SPDX-License-Identifier: Apache-2.0
// What the command does before it needs a driver, and without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "command.h"
#include "command_checks.h"
#include "png_samples.h"
#include "temporary_folder.h"
#include "tools/operations.h"

namespace {

using testing::HasSubstr;

// A folder of inputs, good and bad.
class UpscaleCommandTest : public testing::Test {
  protected:
    UpscaleCommandTest() {
        savePng(path("in.png"), upscale::Picture(4, 3));
        const std::string whole = readBytes(path("in.png"));
        writeBytes(path("short.png"), whole.substr(0, whole.size() / 2));
        writeBytes(path("empty.png"), "");
        writeBytes(path("text.png"), "not a picture at all");
        std::filesystem::create_directory(path("folder"));
        mEntries = mFolder.entries();
    }
    void TearDown() override { EXPECT_EQ(mFolder.entries(), mEntries) << "files came or went"; }

    std::string path(const std::string& name) const { return mFolder.path(name); }

    TemporaryFolder mFolder;
    std::set<std::string> mEntries;
};

TEST_F(UpscaleCommandTest, WrongUsage) {
    const std::string in = path("in.png");
    const std::string out = path("out.png");
    const struct {
        std::vector<std::string> arguments;
        const char* reason;
    } kRows[] = {
            {{}, "IN and OUT"},
            {{"--scale", "2", in}, "IN and OUT"},
            {{in, out}, "one of --size and --scale"},
            {{"--scale", "2", "--size", "5x5", in, out}, "one of --size and --scale"},
            {{"--scale", "2", in, out, out}, "wrong usage"},
            {{"--scale", "2", "--turn", in, out}, "--turn"},
            {{"--scale", "2", "--op", "best", in, out},
             "'best' is no operation; there are fsr, nea"},
            {{in, out, "--scale"}, "--scale"},
    };
    for (const auto& row : kRows) {
        EXPECT_TRUE(failedWith(upscaleCommand(row.arguments), 2, row.reason))
                << testing::PrintToString(row.arguments);
    }
    for (const char* size : {"", "5", "5x", "x5", "0x5", "5x0", "-5x5", "5x5x5", "5.5x5", " 5x5",
                             "4294967296x1", "axb", "5X5 "}) {
        EXPECT_TRUE(failedWith(upscaleCommand({"--size", size, in, out}), 2, "--size")) << size;
    }
    for (const char* scale :
         {"", "0", "-1", "nan", "inf", "-inf", "1e999", "2x", "two", "1e-999"}) {
        EXPECT_TRUE(failedWith(upscaleCommand({"--scale", scale, in, out}), 2, "--scale")) << scale;
    }
    for (const upscale::Operation& operation : upscale::kOperations) {
        const bool stops = operation.scale->weakest > 1;
        for (const char* sharpness : {"", "nan", "inf", "-0.1", "strong", stops ? "-1" : "1.01"}) {
            EXPECT_TRUE(failedWith(upscaleCommand({"--op", operation.name, "--scale", "2",
                                                   "--sharpness", sharpness, in, out}),
                                   2, "--sharpness"))
                    << operation.name << " " << sharpness;
        }
    }
}

TEST_F(UpscaleCommandTest, InputsThatCannotBeRead) {
    const struct {
        const char* name;
        const char* reason;
    } kRows[] = {
            {"missing.png", "missing.png: No such file or directory"},
            {"in.png/below.png", "below.png: Not a directory"},
            {"folder", "folder: Is a directory"},
            {"empty.png", "empty.png: the file is empty"},
            {"text.png", "text.png: not a PNG file"},
    };
    for (const auto& row : kRows) {
        EXPECT_TRUE(failedWith(upscaleCommand({"--scale", "2", path(row.name), path("out.png")}), 1,
                               row.reason));
    }
    EXPECT_TRUE(failedWith(upscaleCommand({"--scale", "0.1", path("in.png"), path("out.png")}), 1,
                           "in.png: 4x3 scaled by 0.1 leaves no pixels"));
}

TEST_F(UpscaleCommandTest, OutputsThatCannotBeWritten) {
    const std::string before = readBytes(path("text.png"));
    const struct {
        std::string path;
        const char* reason;
    } kRows[] = {
            {path("missing/out.png"), "out.png: No such file or directory"},
            {path("text.png/out.png"), "out.png: Not a directory"},
            {path("folder"), "folder: Is a directory"},
            {path("new") + "/", "Is a directory"},
            {path("text.png"), "text.png: File exists; --force"},
            {path("in.png"), "in.png: File exists; --force"},
            {"/dev/null", "/dev/null: not a regular file"},
    };
    for (const auto& row : kRows) {
        EXPECT_TRUE(failedWith(upscaleCommand({"--scale", "2", path("in.png"), row.path}), 1,
                               row.reason));
    }
    EXPECT_EQ(readBytes(path("text.png")), before);
}

TEST_F(UpscaleCommandTest, WithoutADriver) {
    const std::vector<std::string> noDriver = {"__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent"};
    for (const upscale::Operation& operation : upscale::kOperations) {
        EXPECT_TRUE(failedWith(upscaleCommand({"--op", operation.name, "--scale", "2",
                                               path("in.png"), path("out.png")},
                                              noDriver),
                               3, "no usable EGL and OpenGL ES 3 driver"));
    }
}

TEST_F(UpscaleCommandTest, ALogPropertyThatIsNoNumber) {
    for (const char* value : {"verbose", "123456789012345678901"}) {
        const std::string setting = std::string("debug.vardi.display.ups.enable=") + value;
        EXPECT_TRUE(failedWith(
                upscaleCommand({"--scale", "2", path("in.png"), path("out.png")}, {setting}), 2,
                "debug.vardi.display.ups.enable: not a hexadecimal number"))
                << value;
    }
}

TEST_F(UpscaleCommandTest, TextsGoToStdout) {
    for (const char* option : {"--list", "--help"}) {
        const Outcome outcome = upscaleCommand({option});
        EXPECT_EQ(outcome.exitCode, 0) << option;
        EXPECT_EQ(outcome.err, "") << option;
        EXPECT_THAT(outcome.out, HasSubstr("harpness")) << option;
    }
    const Outcome list = upscaleCommand({"--list"});
    for (const upscale::Operation& operation : upscale::kOperations) {
        EXPECT_THAT(list.out, HasSubstr(operation.name));
    }
    EXPECT_THAT(upscaleCommand({"--version"}).out, testing::MatchesRegex("upscale [0-9.]+\n"));
}

}  // namespace
