// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_writer.h"

#include "common/failure.h"

namespace upscale {

void PictureWriter::fail(const std::string& reason) const {
    throw Failure(Exit::Failed, mName, reason);
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
