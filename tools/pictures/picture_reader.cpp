// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_reader.h"

#include <algorithm>
#include <utility>

#include "pictures/orientation.h"

namespace upscale {

void PictureReader::setHeader(PictureHeader header, int depth, bool streams, int orientation) {
    mHeader = std::move(header);
    mDepth = depth;
    mStreams = streams;
    mOrientation = orientation;
    if (!turnsSideways(orientation)) return;
    std::swap(mHeader.width, mHeader.height);
    auto& density = mHeader.tags.density;
    if (density) std::swap(density->x, density->y);
}

void PictureReader::readRows(std::uint8_t* rows, std::uint32_t count) {
    if (streams()) return readStored(rows, count);
    if (!mWhole) mWhole = read();
    std::copy_n(mWhole->row(mNextRow), count * mWhole->rowBytes(), rows);
    mNextRow += count;
    if (mNextRow == height()) mWhole = Picture();
}

Picture PictureReader::read() {
    const bool sideways = turnsSideways(mOrientation);
    Picture picture(sideways ? height() : width(), sideways ? width() : height());
    readStored(picture.pixels.data(), picture.height);
    picture = upright(std::move(picture), mOrientation);
    picture.grey = mHeader.grey;
    picture.tags = mHeader.tags;
    return picture;
}

}  // namespace upscale
