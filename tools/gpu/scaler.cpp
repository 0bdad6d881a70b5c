// SPDX-License-Identifier: Apache-2.0
#include "gpu/scaler.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "common/failure.h"
#include "gpu/tiles.h"
#include "pictures/alpha.h"

namespace upscale {
namespace {

constexpr std::size_t kChannels = Picture::kChannels;
// Of a row of tiles, however wide the picture is.
constexpr std::uint32_t kFewestRows = 192;

ScalePlan paddedPlan(Border border, Size from, Size to) {
    if (border == Border::Raw) return {{}, {}, from, to};
    ScalePlan plan = {paddingFor(from.width, to.width), paddingFor(from.height, to.height), {}, {}};
    plan.from = {from.width + 2 * plan.x.source, from.height + 2 * plan.y.source};
    plan.to = {to.width + 2 * plan.x.destination, to.height + 2 * plan.y.destination};
    return plan;
}

// One axis of the padded source, less the pixels that no operation reads. Where it shrinks far,
// each destination pixel has a stretch of the source to itself and reads four pixels in the middle:
// an even number of pixels is left out of each stretch, half of it at either end.
class ReadAxis {
  public:
    ReadAxis(std::uint32_t from, std::uint32_t to, std::uint32_t padding)
        : mTo(to), mPadding(padding), mReal(from - 2 * padding) {
        constexpr std::uint32_t kKept = 8;
        if (from / to > kKept) mLeftOut = (from / to - kKept) / 2 * 2;
        mLength = from - mLeftOut * to;
    }

    std::uint32_t length() const { return mLength; }
    // The pixel of the picture itself; beyond its edge, the edge's.
    std::uint32_t real(std::int64_t at) const {
        std::int64_t padded = std::clamp<std::int64_t>(at, 0, mLength - 1);
        if (mLeftOut != 0) padded += padded * mTo / mLength * mLeftOut + mLeftOut / 2;
        return static_cast<std::uint32_t>(
                std::clamp<std::int64_t>(padded - mPadding, 0, mReal - 1));
    }

  private:
    std::int64_t mTo;
    std::int64_t mPadding;
    std::int64_t mReal;
    std::uint32_t mLeftOut = 0;
    std::uint32_t mLength = 0;
};

// The rows of the padded source that a row of tiles reads.
class SourceRows {
  public:
    // @param width of the source. @param columns those that are read.
    SourceRows(RowSource& source, std::uint32_t width, std::vector<std::size_t> columns,
               const ReadAxis& y)
        : mSource(source), mColumns(std::move(columns)), mY(y), mRow(width * kChannels) {}

    // Neither end goes back.
    void moveTo(const Stretch& rows) {
        const std::int64_t kept = std::max<std::int64_t>(mHeld.end() - rows.begin, 0);
        if (kept > 0)
            std::memmove(mRows.data(), row(rows.begin), static_cast<std::size_t>(kept) * bytes());
        mRows.resize(rows.length * bytes());
        mHeld = rows;
        for (std::int64_t at = rows.begin + kept; at < rows.end(); ++at)
            fetch(mY.real(at), row(at));
    }

    // Of the rows that are held.
    Picture part(std::size_t column, std::uint32_t width) const {
        Picture picture(width, mHeld.length);
        for (std::size_t y = 0; y < picture.height; ++y) {
            std::memcpy(picture.row(y), mRows.data() + y * bytes() + column * kChannels,
                        picture.rowBytes());
        }
        return picture;
    }

    // Reads the rest, so that the source sees its end.
    void finish(std::uint32_t height) {
        for (; mRead < height; ++mRead)
            mSource.readRows(mRow.data(), 1);
    }

  private:
    std::size_t bytes() const { return mColumns.size() * kChannels; }
    std::uint8_t* row(std::int64_t at) {
        return mRows.data() + static_cast<std::size_t>(at - mHeld.begin) * bytes();
    }

    void fetch(std::uint32_t real, std::uint8_t* to) {
        for (; mRead <= real; ++mRead)
            mSource.readRows(mRow.data(), 1);
        for (const std::size_t column : mColumns) {
            std::memcpy(to, mRow.data() + column * kChannels, kChannels);
            to += kChannels;
        }
    }

    RowSource& mSource;
    const std::vector<std::size_t> mColumns;
    const ReadAxis& mY;
    std::vector<std::uint8_t> mRow;  // the last that was read
    std::uint32_t mRead = 0;
    Stretch mHeld = {-(std::int64_t{1} << 40), 0};  // before any row
    std::vector<std::uint8_t> mRows;
};

class PictureRows : public RowSource, public RowSink {
  public:
    explicit PictureRows(Picture& picture) : mPicture(picture) {}

    void readRows(std::uint8_t* rows, std::uint32_t count) override {
        std::memcpy(rows, mPicture.row(mNext), count * mPicture.rowBytes());
        mNext += count;
    }
    void writeRows(const std::uint8_t* rows, std::uint32_t count) override {
        std::memcpy(mPicture.row(mNext), rows, count * mPicture.rowBytes());
        mNext += count;
    }

  private:
    Picture& mPicture;
    std::uint32_t mNext = 0;
};

}  // namespace

ScalePlan planScaling(const Runner& runner, Border border, Size from, Size to, Report& report) {
    const ScalePlan plan = paddedPlan(border, from, to);
    if (runner.fits(plan.from) && runner.fits(plan.to)) return plan;
    report.warning("there is no room for a border: padded, " + inPixels(plan.from) + " to " +
                   inPixels(plan.to) +
                   " is too large for the driver; continuing with --border raw");
    return paddedPlan(Border::Raw, from, to);
}

ScalePlan Scaler::plan(Size from, Size to) const {
    return paddedPlan(mBorder, from, to);
}

bool Scaler::tiled(const ScalePlan& plan) const {
    return plan.from.pixels() + plan.to.pixels() > mLimits.wholePixels ||
           !mRunner.fits(plan.from) || !mRunner.fits(plan.to);
}

Picture Scaler::scale(Picture source, const ScalePlan& plan, float sharpness) {
    const Size size = {plan.to.width - 2 * plan.x.destination,
                       plan.to.height - 2 * plan.y.destination};
    if (tiled(plan)) {
        Picture result(size.width, size.height);
        result.grey = source.grey;
        result.tags = source.tags;
        PictureRows from(source);
        PictureRows to(result);
        scale(from, plan, sharpness, to);
        return result;
    }
    source = padded(std::move(source), plan.x.source, plan.y.source);
    const Picture result = scalePiece(std::move(source), plan.to, sharpness);
    return partOf(result, plan.x.destination, plan.y.destination, size);
}

void Scaler::scale(RowSource& source, const ScalePlan& plan, float sharpness, RowSink& sink) {
    const Size size = {plan.from.width - 2 * plan.x.source, plan.from.height - 2 * plan.y.source};
    const ReadAxis x(plan.from.width, plan.to.width, plan.x.source);
    const ReadAxis y(plan.from.height, plan.to.height, plan.y.source);
    const std::uint32_t side = mRunner.atMost(mLimits.side);
    const std::uint64_t rowBytes = (std::uint64_t{x.length()} + plan.to.width) * kChannels;
    const auto rows = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(
            mLimits.rowBytes / rowBytes, std::min(side, kFewestRows), side));
    const std::vector<Tile> across = cutAxis(x.length(), plan.to.width, side);
    const std::vector<Tile> down = cutAxis(y.length(), plan.to.height, rows);
    if (across.empty() || down.empty()) {
        throw Failure(Exit::Failed, kDriver,
                      "cannot enlarge by so much: with the border, " + inPixels(plan.from) +
                              " to " + inPixels(plan.to));
    }

    std::vector<std::size_t> columns;
    const std::int64_t firstColumn = across.front().source.begin;
    for (std::int64_t at = firstColumn; at < across.back().source.end(); ++at)
        columns.push_back(x.real(at));
    SourceRows held(source, size.width, std::move(columns), y);
    // Without the padding.
    const auto inner = [](const Stretch& kept, std::int64_t padding, std::int64_t whole) {
        return std::pair{std::max(kept.begin, padding), std::min(kept.end(), whole - padding)};
    };
    Picture result(plan.to.width - 2 * plan.x.destination, 0);
    for (const Tile& row : down) {
        const auto [top, bottom] = inner(row.kept, plan.y.destination, plan.to.height);
        if (top >= bottom) continue;
        held.moveTo(row.source);
        result.height = static_cast<std::uint32_t>(bottom - top);
        result.pixels.resize(result.pixelCount() * kChannels);
        for (const Tile& tile : across) {
            const auto [left, right] = inner(tile.kept, plan.x.destination, plan.to.width);
            if (left >= right) continue;
            const auto begin = static_cast<std::size_t>(tile.source.begin - firstColumn);
            const Picture piece =
                    scalePiece(held.part(begin, tile.source.length),
                               {tile.destination.length, row.destination.length}, sharpness);
            const auto skipped = static_cast<std::size_t>(left - tile.destination.begin);
            const auto at = static_cast<std::size_t>(left - plan.x.destination);
            for (std::int64_t line = top; line < bottom; ++line) {
                std::memcpy(result.row(static_cast<std::size_t>(line - top)) + at * kChannels,
                            piece.row(static_cast<std::size_t>(line - row.destination.begin)) +
                                    skipped * kChannels,
                            static_cast<std::size_t>(right - left) * kChannels);
            }
        }
        sink.writeRows(result.pixels.data(), result.height);
    }
    held.finish(size.height);
}

Picture Scaler::scalePiece(Picture source, Size to, float sharpness) {
    if (!hasTransparency(source)) return mRunner.run(source, to, sharpness);
    const Picture alpha = mRunner.run(alphaAsGrey(source), to, sharpness);
    Picture result;
    if (mMixesColours) {
        result = mRunner.run(premultiplied(source), to, sharpness);
    } else {
        bleedColours(source);
        result = mRunner.run(source, to, sharpness);
    }
    setAlpha(result, alpha, source);
    if (mMixesColours) dividePremultiplied(result);
    colourHidden(result);
    return result;
}

}  // namespace upscale
