// SPDX-License-Identifier: Apache-2.0
#include "command/sheet.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command/stroke_font.h"
#include "common/failure.h"
#include "common/output_file.h"
#include "gpu/library_log.h"
#include "gpu/scaler.h"
#include "pictures/formats.h"

namespace upscale {
namespace {

constexpr Size kDefaultCrop = {96, 72};
constexpr double kDefaultEnlargement = 4;
// Far more than anybody looks at, and little enough to hold in memory.
constexpr std::uint64_t kMostPixels = 256u << 20;
// Past any driver's limit; keeps the products below far from overflow.
constexpr std::uint32_t kLongestSide = 1u << 20;

constexpr std::uint32_t kGap = 16;
constexpr std::uint32_t kNarrowestColumn = 240;
constexpr std::uint8_t kGround = 32;
constexpr std::uint8_t kInk = 235;
// Transparent parts are shown over squares of these.
constexpr unsigned kSquare = 8;
constexpr std::uint8_t kSquares[] = {102, 153};

// A kind of text: a capital is six units high.
struct Face {
    double unit;
    double stroke;
    std::uint32_t lineHeight;
};
constexpr Face kTitle = {2.5, 0.95, 31};
constexpr Face kDetail = {2, 0.8, 26};

struct Cell {
    std::string title;
    std::string detail;
    Picture picture;
};

// Where the crop is in the output.
struct Part {
    std::uint32_t x, y;
    Size size;
};

void put(Picture& sheet, std::uint32_t x, std::uint32_t y, std::uint8_t value) {
    std::fill_n(sheet.row(y) + std::size_t{x} * Picture::kChannels, 3, value);
}

void drawText(Picture& sheet, std::uint32_t left, std::uint32_t top, std::string words,
              const Face& face) {
    constexpr int kSamples = 4;
    constexpr double kAdvance = 6;
    constexpr double kHeight = 6;
    std::transform(words.begin(), words.end(), words.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const Text text = {words, {face.unit, face.unit}, face.unit, face.stroke};
    const auto width = static_cast<std::uint32_t>(
            std::ceil((static_cast<double>(words.size()) * kAdvance + 1) * face.unit));
    const auto height = static_cast<std::uint32_t>(std::ceil((kHeight + 2) * face.unit));
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width && left + x < sheet.width; ++x) {
            int covered = 0;
            for (int i = 0; i < kSamples * kSamples; ++i) {
                const Point p = {x + (i % kSamples + 0.5) / kSamples,
                                 y + (i / kSamples + 0.5) / kSamples};
                covered += onText(p, text) ? 1 : 0;
            }
            put(sheet, left + x, top + y,
                static_cast<std::uint8_t>(kGround +
                                          (kInk - kGround) * covered / (kSamples * kSamples)));
        }
    }
}

void drawPicture(Picture& sheet, std::uint32_t left, std::uint32_t top, const Picture& picture,
                 std::uint32_t zoom) {
    for (std::uint32_t y = 0; y < picture.height * zoom; ++y) {
        std::uint8_t* to = sheet.row(top + y) + std::size_t{left} * Picture::kChannels;
        for (std::uint32_t x = 0; x < picture.width * zoom; ++x, to += Picture::kChannels) {
            const std::uint8_t* from =
                    picture.row(y / zoom) + std::size_t{x / zoom} * Picture::kChannels;
            const int under = kSquares[(x / kSquare + y / kSquare) % 2];
            const int alpha = from[Picture::kChannels - 1];
            for (std::size_t c = 0; c < 3; ++c) {
                to[c] = static_cast<std::uint8_t>(
                        (from[c] * alpha + under * (Picture::kOpaque - alpha) + 127) /
                        Picture::kOpaque);
            }
        }
    }
}

// The part at the output's size, each pixel the source's nearest to it.
Picture nearestPart(const Picture& source, Size to, const Part& part) {
    Picture result(part.size.width, part.size.height);
    const auto nearest = [](std::uint32_t at, std::uint32_t from, std::uint32_t count) {
        return static_cast<std::size_t>((2 * std::uint64_t{at} + 1) * from /
                                        (2 * std::uint64_t{count}));
    };
    for (std::uint32_t y = 0; y < part.size.height; ++y) {
        const std::uint8_t* row = source.row(nearest(part.y + y, source.height, to.height));
        for (std::uint32_t x = 0; x < part.size.width; ++x) {
            const std::size_t at = nearest(part.x + x, source.width, to.width);
            std::copy_n(row + at * Picture::kChannels, Picture::kChannels,
                        result.row(y) + std::size_t{x} * Picture::kChannels);
        }
    }
    return result;
}

Crop middleOf(Size size) {
    const Size crop = {std::min(size.width, kDefaultCrop.width),
                       std::min(size.height, kDefaultCrop.height)};
    return {(size.width - crop.width) / 2, (size.height - crop.height) / 2, crop};
}

Part scaled(const Crop& crop, Size from, Size to) {
    const auto at = [](std::uint64_t v, std::uint32_t count, std::uint32_t whole) {
        return static_cast<std::uint32_t>((2 * v * count + whole) / (2 * std::uint64_t{whole}));
    };
    const std::uint32_t x = at(crop.x, to.width, from.width);
    const std::uint32_t y = at(crop.y, to.height, from.height);
    const std::uint32_t right = at(std::uint64_t{crop.x} + crop.size.width, to.width, from.width);
    const std::uint32_t bottom =
            at(std::uint64_t{crop.y} + crop.size.height, to.height, from.height);
    return {x, y, {right - x, bottom - y}};
}

std::string sharpnessText(float sharpness) {
    char text[32];
    std::snprintf(text, sizeof(text), "sharpness %.3g", static_cast<double>(sharpness));
    return text;
}

// How the cells stand on the sheet.
struct Layout {
    std::uint32_t columns;
    std::uint32_t rows;
    Size cell;

    Layout(std::size_t cells, Size picture)
        : columns(static_cast<std::uint32_t>(cells <= 3   ? cells
                                             : cells <= 6 ? 3
                                                          : 4)),
          rows((static_cast<std::uint32_t>(cells) + columns - 1) / columns),
          cell{std::max(picture.width, kNarrowestColumn),
               picture.height + kTitle.lineHeight + kDetail.lineHeight} {}

    Size size() const {
        return {kGap + columns * (cell.width + kGap),
                kGap + kDetail.lineHeight + kGap / 2 + rows * (cell.height + kGap)};
    }
    std::uint32_t left(std::size_t index) const {
        return kGap + static_cast<std::uint32_t>(index) % columns * (cell.width + kGap);
    }
    std::uint32_t top(std::size_t index) const {
        return kGap + kDetail.lineHeight + kGap / 2 +
               static_cast<std::uint32_t>(index) / columns * (cell.height + kGap);
    }
};

class Sheet {
  public:
    Sheet(const Arguments& arguments, Report& report)
        : mArguments(arguments),
          mReport(report),
          mLog(arguments.verbose),
          mInput(arguments.inputs.front()),
          mFile(arguments.output, arguments.force),
          mReader(openPicture(mInput).reader),
          mFrom{mReader->width(), mReader->height()},
          mTo(arguments.outputSize(mInput, mFrom)),
          mCrop(arguments.crop.value_or(middleOf(mFrom))),
          mPart{},
          mZoom(arguments.zoom.value_or(defaultZoom())) {
        if (std::uint64_t{mCrop.x} + mCrop.size.width > mFrom.width ||
            std::uint64_t{mCrop.y} + mCrop.size.height > mFrom.height) {
            throw Failure(Exit::Failed, mInput,
                          "the part to show is not within its " + inPixels(mFrom) + " pixels");
        }
        if (std::max(mTo.width, mTo.height) > kLongestSide)
            throw Failure(Exit::Failed, "the output", inPixels(mTo) + " is too large");
        mPart = scaled(mCrop, mFrom, mTo);
        if (mPart.size.pixels() == 0)
            throw Failure(Exit::Failed, mInput, "nothing is left of the part to show");
    }

    void write() {
        const Layout layout(1 + shownCount(),
                            {mPart.size.width * mZoom, mPart.size.height * mZoom});
        expectPossible(layout.size());
        addCells();
        Picture sheet = draw(layout);
        writePicture(sheet, *mArguments.format, {mArguments.quality, mArguments.compression},
                     mFile.open(), mArguments.output);
        mFile.commit();
    }

  private:
    std::uint32_t defaultZoom() const {
        const double enlargement = static_cast<double>(mTo.width) / mFrom.width;
        return static_cast<std::uint32_t>(
                std::clamp(std::round(kDefaultEnlargement / enlargement), 1.0, 64.0));
    }

    std::size_t shownCount() const {
        return mArguments.task == kSweep ? mArguments.sweep.size() : kOperations.size();
    }

    void expectPossible(Size size) const {
        const std::uint32_t most = mArguments.format->largestSide;
        if (size.pixels() <= kMostPixels && std::max(size.width, size.height) <= most) return;
        throw Failure(Exit::Failed, mArguments.output,
                      "a sheet of " + inPixels(size) +
                              " is too large; --crop and --zoom make it smaller");
    }

    void addCells() {
        if (mArguments.task == kSweep) {
            add(*mArguments.operation, mArguments.sweep);
            return;
        }
        // Each has an `Upscaler` of its own, one after the other: an operation may free what
        // another has left.
        for (const Operation& operation : kOperations) {
            add(operation, {defaultSharpness(operation, mFrom, mTo)});
        }
    }

    void add(const Operation& operation, const std::vector<float>& values) {
        Scaler scaler(operation, mArguments.border, mLog);
        if (mCells.empty()) {
            mPlan = scaler.plan(mFrom, mTo);
            mSource = mReader->read();
            mCells.push_back({"source", "nearest pixel", nearestPart(mSource, mTo, mPart)});
            if (mReport.verbose()) mReport.note("driver: " + scaler.driver());
        }
        for (const float value : values) {
            mCells.push_back(
                    {operation.name, sharpnessText(value),
                     partOf(scaler.scale(mSource, mPlan, value), mPart.x, mPart.y, mPart.size)});
        }
    }

    Picture draw(const Layout& layout) const {
        const Size size = layout.size();
        Picture sheet(size.width, size.height);
        sheet.grey = mSource.grey;
        sheet.tags = mSource.tags.coloursOnly();
        std::fill(sheet.pixels.begin(), sheet.pixels.end(), kGround);
        for (std::size_t i = 0; i < sheet.pixelCount(); ++i) {
            sheet.alpha(i) = Picture::kOpaque;
        }
        drawText(sheet, kGap, kGap / 2,
                 inPixels(mFrom) + " to " + inPixels(mTo) + ", part " + std::to_string(mCrop.x) +
                         "," + std::to_string(mCrop.y) + "," + inPixels(mCrop.size) + ", zoom " +
                         std::to_string(mZoom),
                 kDetail);
        for (std::size_t i = 0; i < mCells.size(); ++i) {
            const Cell& cell = mCells[i];
            const std::uint32_t left = layout.left(i);
            const std::uint32_t top = layout.top(i);
            drawPicture(sheet, left, top, cell.picture, mZoom);
            const std::uint32_t below = top + cell.picture.height * mZoom;
            drawText(sheet, left, below + 7, cell.title, kTitle);
            drawText(sheet, left, below + 7 + kTitle.lineHeight, cell.detail, kDetail);
        }
        return sheet;
    }

    const Arguments& mArguments;
    Report& mReport;
    LibraryLog mLog;
    std::string mInput;
    OutputFile mFile;
    std::unique_ptr<PictureReader> mReader;
    Size mFrom, mTo;
    Crop mCrop;
    Part mPart;
    std::uint32_t mZoom;
    ScalePlan mPlan = {};
    Picture mSource;
    std::vector<Cell> mCells;
};

}  // namespace

void writeSheet(const Arguments& arguments, Report& report) {
    Sheet(arguments, report).write();
}

}  // namespace upscale
