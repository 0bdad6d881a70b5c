// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_writer.h"

#include <array>

#include "common/failure.h"

namespace upscale {

void PictureWriter::fail(const std::string& reason) const {
    throw Failure(Exit::Failed, mName, reason);
}

void PictureWriter::dropColours(bool profileKept, bool codePointsKept) {
    constexpr std::int32_t kGamma = 45455;
    constexpr std::array<std::int32_t, 8> kPrimaries = {31270, 32900, 64000, 33000,
                                                        30000, 60000, 15000, 6000};
    constexpr std::array<std::uint8_t, 4> kCodePoints = {1, 13, 0, 1};
    const Tags& tags = mHeader.tags;
    if (!codePointsKept && tags.codePoints.value_or(kCodePoints) != kCodePoints)
        mDropped.push_back("cICP colours");
    if (profileKept) return;
    drop(tags.profile, "colour profile");
    if (tags.gamma.value_or(kGamma) != kGamma) mDropped.push_back("gamma");
    if (tags.primaries.value_or(kPrimaries) != kPrimaries) mDropped.push_back("primaries");
}

void PictureWriter::dropDensity() {
    const auto& density = mHeader.tags.density;
    if (density && (density->perMetre || density->x != density->y)) mDropped.push_back("density");
}

void WholePictureWriter::writeRows(const std::uint8_t* rows, std::uint32_t count) {
    if (count == mHeader.height) return write(rows);
    const std::size_t rowBytes = std::size_t{mHeader.width} * Picture::kChannels;
    const std::size_t all = rowBytes * mHeader.height;
    mPixels.reserve(all);
    mPixels.insert(mPixels.end(), rows, rows + count * rowBytes);
    if (mPixels.size() == all) write(mPixels.data());
}

}  // namespace upscale
