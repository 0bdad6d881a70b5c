// SPDX-License-Identifier: Apache-2.0
// Many pictures into a folder, and sheets to look at.
#include <signal.h>

#include "command.h"
#include "folder.h"
#include "png_samples.h"
#include "tools/border.h"
#include "tools/picture_file.h"

namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using upscale::Picture;
using Names = std::set<std::string>;

Picture gradient(std::uint32_t width, std::uint32_t height) {
    return painted(width, height, [=](unsigned x, unsigned y) -> Rgba {
        return {static_cast<std::uint8_t>(x * 255 / width),
                static_cast<std::uint8_t>(y * 255 / height),
                static_cast<std::uint8_t>((x / 3 + y / 4) % 2 * 200), 255};
    });
}

Names namesIn(const std::string& folder) {
    Names names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename());
    return names;
}

class UpscaleBatchGLTest : public FolderTest {
  protected:
    UpscaleBatchGLTest() {
        fs::create_directory("in");
        savePng("in/a.png", gradient(20, 12));
        savePng("in/c.PNG", gradient(12, 20));
        EXPECT_EQ(runUpscale("--scale 1 in/a.png in/b.jpg").exitCode, 0);
    }
};

TEST_F(UpscaleBatchGLTest, BadPicturesDoNotStopTheOthers) {
    fs::copy("in/b.jpg", "in/d.webp");  // Content decides.
    writeBytes("in/bad.png", "junk");
    writeBytes("in/note.txt", "junk");
    writeBytes("in/.hidden.png", "junk");
    fs::create_directory("in/folder.png");
    fs::create_directory("none");
    const Outcome outcome = runUpscale("--scale 2 in none lost.png out");
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err,
              "upscale: in/bad.png: not a PNG, JPEG or WebP file\n"
              "upscale: none: no PNG, JPEG or WebP files in this folder\n"
              "upscale: lost.png: No such file or directory\n"
              "upscale: 3 of 7 failed: in/bad.png, none, lost.png\n");
    EXPECT_EQ(namesIn("out"), (Names{"a.png", "b.jpg", "c.PNG", "d.jpg"}));
    EXPECT_EQ(readBytes("out/d.jpg").substr(0, 3), "\xff\xd8\xff");
    EXPECT_EQ(loadPng("out/c.PNG").height, 40u);

    // The same pixels as one at a time.
    EXPECT_EQ(runUpscale("--scale 2 in/a.png one.png").exitCode, 0);
    EXPECT_EQ(loadPng("out/a.png").pixels, loadPng("one.png").pixels);

    const Outcome again = runUpscale("--quiet --scale 1 in/a.png in/b.jpg out/");
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.err,
              "upscale: in/a.png: out/a.png: File exists; --force replaces it\n"
              "upscale: in/b.jpg: out/b.jpg: File exists; --force replaces it\n");
}

TEST_F(UpscaleBatchGLTest, NothingIsLostToAName) {
    fs::copy("in/a.png", "in/b.png");
    const std::string b = readBytes("in/b.png");
    const Outcome outcome = runUpscale("--scale 1 --format png in out/");
    EXPECT_THAT(outcome.err, HasSubstr("upscale: in/b.png: out/b.png: is also the output of "
                                       "in/b.jpg, which came first\n"));
    EXPECT_EQ(namesIn("out"), (Names{"a.png", "b.png", "c.PNG"}));
    EXPECT_THAT(runUpscale("--scale 2 --format png --force in in").err,
                HasSubstr("in/b.jpg: in/b.png: is an input itself, and is not replaced\n"));
    EXPECT_EQ(readBytes("in/b.png"), b);
    EXPECT_EQ(loadPng("in/a.png").width, 40u);
}

// More sizes than one set of buffers holds, twice.
TEST_F(UpscaleBatchGLTest, SizesMayChangeWithEachPicture) {
    fs::create_directory("sizes");
    for (unsigned i = 10; i < 32; ++i)
        savePng("sizes/" + std::to_string(i) + ".png", gradient(8 + i % 11, 9));
    EXPECT_EQ(runUpscale("--op nea --scale 1 --sharpness 30 sizes out/").exitCode, 0);
    for (unsigned i = 10; i < 32; ++i) {
        const std::string name = std::to_string(i) + ".png";
        const Picture from = loadPng("sizes/" + name);
        const Picture to = loadPng("out/" + name);
        ASSERT_EQ(from.pixels.size(), to.pixels.size());
        int worst = 0;
        for (std::size_t j = 0; j < from.pixels.size(); ++j)
            worst = std::max(worst, std::abs(from.pixels[j] - to.pixels[j]));
        EXPECT_LE(worst, 1) << name;
    }
}

TEST_F(UpscaleBatchGLTest, TheDriverDecidesWhetherToGoOn) {
    const struct {
        std::string fault;
        int exitCode;
        std::string end;
        bool folder;
    } kRows[] = {
            {"bad-shaders", 3, "\n", false},
            {"fence-timeout", 1, "1 of 3 failed: in/a.png; 2 more were not tried\n", true},
            {"skip-draws", 1, "3 of 3 failed: in/a.png, in/b.jpg, in/c.PNG\n", true},
    };
    for (const auto& row : kRows) {
        const Outcome outcome = runUpscale("--op cas --scale 2 in out/", faulty(row.fault));
        EXPECT_EQ(outcome.exitCode, row.exitCode) << row.fault;
        EXPECT_THAT(outcome.err, EndsWith(row.end));
        EXPECT_EQ(fs::exists("out"), row.folder) << row.fault;
        EXPECT_TRUE(!row.folder || namesIn("out").empty());
    }
}

TEST_F(UpscaleBatchGLTest, ProgressIsForTerminalsOnly) {
    const std::string call = "'" UPSCALE_COMMAND "' --force --scale 2 in out/";
    EXPECT_EQ(shell(call).err, "");
    const auto onTerminal = [](const std::string& command) {
        return shell("script -qec \"" + command + "\" /dev/null").out;
    };
    EXPECT_THAT(onTerminal(call), HasSubstr("] 0 of 3 pictures"));
    EXPECT_EQ(onTerminal(call + " --quiet"), "");
}

TEST_F(UpscaleBatchGLTest, ASignalLeavesWholeFilesOnly) {
    savePng("in/b.png", gradient(200, 200));
    fs::create_directory("one");
    const struct {
        std::string arguments, begun, folder;
        Names left;
    } kRows[] = {
            {"in/[abc].png in/c.PNG out/", "-e out/a.png -a -e out/.upscale-*", "out", {"a.png"}},
            {"in/b.png one/b.png", "-e one/.upscale-*", "one", {}},
    };
    for (const auto& row : kRows) {
        const Outcome outcome =
                shell("'" UPSCALE_COMMAND "' --op nea --size 3000x3000 " + row.arguments +
                      " &\nfor i in $(seq 6000); do\n    [ " + row.begun +
                      " ] && kill -TERM $! && break\n"
                      "    sleep 0.01\n"
                      "done\n"
                      "wait $!");
        EXPECT_EQ(outcome.exitCode, 128 + SIGTERM) << outcome;
        EXPECT_EQ(namesIn(row.folder), row.left);
    }
    EXPECT_EQ(loadPng("out/a.png").width, 3000u);
}

// The part of a sheet's cell, whose zoom is 1.
Picture partOf(const Picture& sheet, std::uint32_t left, std::uint32_t top, std::uint32_t width,
               std::uint32_t height) {
    return painted(width, height, [&](unsigned x, unsigned y) {
        Rgba pixel;
        std::copy_n(sheet.pixel(std::size_t{top + y} * sheet.width + left + x), 4, pixel.begin());
        return pixel;
    });
}

TEST_F(UpscaleBatchGLTest, SheetsShowWhatTheOperationsGive) {
    savePng("in.png", gradient(300, 90));
    const struct {
        std::string options;
        std::uint32_t width, height, column, row;  // of the sheet and its cells
        std::string last;                          // the options of the last cell
        unsigned lastCell;
    } kRows[] = {
            {"--compare", 16 + 4 * 416, 50 + 2 * 173, 416, 173, "--op cast", 6},
            {"--op fsr --sweep 0:2:2", 16 + 3 * 416, 50 + 173, 416, 173, "--sharpness 2", 2},
    };
    for (const auto& row : kRows) {
        const std::string scale = " --scale 2 --force in.png ";
        ASSERT_EQ(runUpscale(row.options + " --crop 50,20,200x50 --zoom 1" + scale + "sheet.png")
                          .exitCode,
                  0);
        ASSERT_EQ(runUpscale(row.last + scale + "last.png").exitCode, 0);
        const Picture sheet = loadPng("sheet.png");
        EXPECT_EQ(sheet.width, row.width);
        EXPECT_EQ(sheet.height, row.height);
        const unsigned columns = (row.width - 16) / row.column;
        const auto cell = [&](unsigned index) {
            return partOf(sheet, 16 + index % columns * row.column, 50 + index / columns * row.row,
                          400, 100)
                    .pixels;
        };
        shell("convert in.png -crop 200x50+50+20 +repage -sample 200% source.png");
        EXPECT_EQ(cell(0), loadPng("source.png").pixels);
        EXPECT_EQ(cell(row.lastCell), partOf(loadPng("last.png"), 100, 40, 400, 100).pixels);
    }
    expectFailures({
            {"--compare --scale 2 --crop 101,0,200x50 in.png s.png", 1, "is not within its 300x90"},
            {"--compare --scale 0.001 --size 1x1 in.png s.png", 2, "one of --size and --scale"},
            {"--compare --size 1x1 --crop 0,0,1x1 in.png s.png", 1, "nothing is left"},
            {"--compare --scale 40 --crop 0,0,300x90 --zoom 64 in.png s.png", 1, "--crop and"},
            {"--compare --scale 2 in.png sheet.png", 1, "sheet.png: File exists"},
    });
}

}  // namespace
