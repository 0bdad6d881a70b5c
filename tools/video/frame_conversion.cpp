// SPDX-License-Identifier: Apache-2.0
#include "video/frame_conversion.h"

#include <endian.h>
#include <zimg.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/failure.h"
#include "pictures/border.h"

namespace upscale {
namespace {

// What zimg asks of addresses and strides, on any processor.
constexpr std::size_t kAlignment = 64;

std::size_t aligned(std::size_t bytes) {
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

[[noreturn]] void failConversion() {
    std::array<char, 256> reason{};
    zimg_get_last_error(reason.data(), reason.size());
    throw Failure(Exit::Failed, "converting the frames", reason.data());
}

zimg_matrix_coefficients_e named(Matrix matrix) {
    switch (matrix) {
        case Matrix::Bt601:
            return ZIMG_MATRIX_ST170_M;
        case Matrix::Bt709:
            return ZIMG_MATRIX_BT709;
        case Matrix::Bt2020:
            return ZIMG_MATRIX_BT2020_NCL;
    }
    return ZIMG_MATRIX_UNSPECIFIED;
}

zimg_chroma_location_e named(Siting siting) {
    switch (siting) {
        case Siting::Centre:
            return ZIMG_CHROMA_CENTER;
        case Siting::Left:
            return ZIMG_CHROMA_LEFT;
        case Siting::TopLeft:
            return ZIMG_CHROMA_TOP_LEFT;
    }
    return ZIMG_CHROMA_LEFT;
}

// Sides that are odd grow by one where chroma has half of them: zimg takes no others.
unsigned wholeSide(std::uint32_t side, unsigned chromaShift) {
    return (side + chromaShift) >> chromaShift << chromaShift;
}

zimg_image_format streamFormat(const FrameFormat& format) {
    zimg_image_format described;
    zimg_image_format_default(&described, ZIMG_API_VERSION);
    described.width = wholeSide(format.width, format.chromaShiftX());
    described.height = wholeSide(format.height, format.chromaShiftY());
    described.pixel_type = ZIMG_PIXEL_BYTE;
    described.pixel_range = format.range == Range::Full ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
    if (format.sampling == Sampling::Mono) return described;
    described.color_family = ZIMG_COLOR_YUV;
    described.matrix_coefficients = named(format.matrix);
    described.subsample_w = format.chromaShiftX();
    described.subsample_h = format.chromaShiftY();
    described.chroma_location = named(format.siting);
    return described;
}

// The same picture as planes of R, G and B, or of grey.
zimg_image_format pixelFormat(const FrameFormat& format) {
    zimg_image_format described = streamFormat(format);
    described.pixel_range = ZIMG_RANGE_FULL;
    if (format.sampling == Sampling::Mono) return described;
    described.color_family = ZIMG_COLOR_RGB;
    described.matrix_coefficients = ZIMG_MATRIX_RGB;
    described.subsample_w = described.subsample_h = 0;
    return described;
}

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
using Memory = std::unique_ptr<void, Free>;

Memory alignedMemory(std::size_t bytes) {
    Memory memory(std::aligned_alloc(kAlignment, std::max(aligned(bytes), kAlignment)));
    if (!memory) throw std::bad_alloc();
    return memory;
}

// A whole picture as zimg takes it: planes with aligned rows.
class Planes {
  public:
    explicit Planes(const zimg_image_format& format)
        : mFormat(format), mCount(format.color_family == ZIMG_COLOR_GREY ? 1 : 3) {
        mBuffer.version = ZIMG_API_VERSION;
        for (unsigned plane = 0; plane < mCount; ++plane) {
            const std::size_t stride = aligned(width(plane));
            mMemory[plane] = alignedMemory(stride * height(plane));
            mBuffer.plane[plane] = {mMemory[plane].get(), static_cast<std::ptrdiff_t>(stride),
                                    ZIMG_BUFFER_MAX};
        }
    }

    std::size_t width(unsigned plane) const {
        return mFormat.width >> (plane == 0 ? 0 : mFormat.subsample_w);
    }
    std::size_t height(unsigned plane) const {
        return mFormat.height >> (plane == 0 ? 0 : mFormat.subsample_h);
    }
    // Grey answers for every colour.
    std::uint8_t* row(unsigned plane, std::size_t y) const {
        const auto& at = mBuffer.plane[std::min(plane, mCount - 1)];
        return static_cast<std::uint8_t*>(at.data) + static_cast<std::ptrdiff_t>(y) * at.stride;
    }

    const zimg_image_buffer& output() const { return mBuffer; }
    zimg_image_buffer_const input() const {
        zimg_image_buffer_const buffer{};
        buffer.version = mBuffer.version;
        for (unsigned plane = 0; plane < mCount; ++plane) {
            const auto& from = mBuffer.plane[plane];
            buffer.plane[plane] = {from.data, from.stride, from.mask};
        }
        return buffer;
    }

  private:
    zimg_image_format mFormat;
    unsigned mCount;
    zimg_image_buffer mBuffer{};
    std::array<Memory, 3> mMemory;
};

// Repeats the last sample where the picture is a sample too small.
void extend(std::uint8_t* row, std::size_t samples, std::size_t wanted) {
    std::fill(row + samples, row + wanted, row[samples - 1]);
}

}  // namespace

// One direction, with what zimg needs to work a frame through.
class ConversionGraph {
  public:
    ConversionGraph(const FrameFormat& format, bool decodes)
        : mFormat(format), mStream(streamFormat(format)), mPixels(pixelFormat(format)) {
        const zimg_image_format stream = streamFormat(format);
        const zimg_image_format pixels = pixelFormat(format);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        // Chroma alone is resampled, between its own size and the pixels'.
        params.resample_filter_uv = ZIMG_RESIZE_BILINEAR;
        mGraph.reset(zimg_filter_graph_build(decodes ? &stream : &pixels,
                                             decodes ? &pixels : &stream, &params));
        std::size_t bytes = 0;
        if (!mGraph || zimg_filter_graph_get_tmp_size(mGraph.get(), &bytes) != 0) failConversion();
        mWork = alignedMemory(bytes);
    }

    void decode(const std::uint8_t* frame, PixelRows<std::uint8_t> pixels) {
        // Nothing is written to the luma beyond an odd side: its pixels are not read either.
        for (unsigned plane = 0; plane < mFormat.planes(); ++plane) {
            const std::size_t samples = mFormat.rowBytes(plane);
            for (std::size_t y = 0; y < mFormat.rows(plane); ++y)
                std::memcpy(mStream.row(plane, y), frame + mFormat.offset(plane) + y * samples,
                            samples);
        }
        run(mStream, mPixels);
        // A member would have to be read again after every byte that is written.
        const std::size_t width = mFormat.width;
        for (std::size_t y = 0; y < mFormat.height; ++y) {
            const std::uint8_t* red = mPixels.row(0, y);
            const std::uint8_t* green = mPixels.row(1, y);
            const std::uint8_t* blue = mPixels.row(2, y);
            std::uint8_t* to = pixels.row(y);
            for (std::size_t x = 0; x < width; ++x) {
                const std::uint32_t pixel = htole32(red[x] | std::uint32_t{green[x]} << 8 |
                                                    std::uint32_t{blue[x]} << 16 | 0xff000000u);
                std::memcpy(to + x * kPixelBytes, &pixel, kPixelBytes);
            }
        }
    }

    void encode(PixelRows<const std::uint8_t> pixels, std::uint8_t* frame) {
        const std::size_t width = mFormat.width;
        for (std::size_t y = 0; y < mPixels.height(0); ++y) {
            const std::uint8_t* from = pixels.row(std::min<std::size_t>(y, mFormat.height - 1));
            // Of a grey picture one row gets all three colours, which are the same.
            std::uint8_t* red = mPixels.row(0, y);
            std::uint8_t* green = mPixels.row(1, y);
            std::uint8_t* blue = mPixels.row(2, y);
            for (std::size_t x = 0; x < width; ++x) {
                red[x] = from[x * kPixelBytes];
                green[x] = from[x * kPixelBytes + 1];
                blue[x] = from[x * kPixelBytes + 2];
            }
            for (std::uint8_t* row : {red, green, blue})
                extend(row, width, mPixels.width(0));
        }
        run(mPixels, mStream);
        for (unsigned plane = 0; plane < mFormat.planes(); ++plane) {
            const std::size_t samples = mFormat.rowBytes(plane);
            for (std::size_t y = 0; y < mFormat.rows(plane); ++y)
                std::memcpy(frame + mFormat.offset(plane) + y * samples, mStream.row(plane, y),
                            samples);
        }
    }

  private:
    struct FreeGraph {
        void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
    };

    void run(const Planes& from, const Planes& to) {
        const zimg_image_buffer_const in = from.input();
        if (zimg_filter_graph_process(mGraph.get(), &in, &to.output(), mWork.get(), nullptr,
                                      nullptr, nullptr, nullptr) != 0) {
            failConversion();
        }
    }

    const FrameFormat mFormat;
    const Planes mStream;
    const Planes mPixels;
    std::unique_ptr<zimg_filter_graph, FreeGraph> mGraph;
    Memory mWork;
};

bool isTransparent(const std::uint8_t* frame, std::size_t bytes) {
    std::uint8_t all = 255;
    for (std::size_t i = kPixelBytes - 1; i < bytes; i += kPixelBytes)
        all = all & frame[i];
    return all != 255;
}

FrameDecoder::FrameDecoder(const FrameFormat& format, std::uint32_t padX, std::uint32_t padY)
    : mFormat(format), mPadX(padX), mPadY(padY) {
    if (format.sampling != Sampling::Rgba) mGraph = std::make_unique<ConversionGraph>(format, true);
}

FrameDecoder::~FrameDecoder() = default;

void FrameDecoder::decode(const std::uint8_t* frame, PixelRows<std::uint8_t> pixels) {
    const PixelRows<std::uint8_t> inner = {pixels.pixel(mPadX, mPadY), pixels.stride};
    if (mGraph) {
        mGraph->decode(frame, inner);
    } else {
        for (std::size_t y = 0; y < mFormat.height; ++y)
            std::memcpy(inner.row(y), frame + y * mFormat.rowBytes(0), mFormat.rowBytes(0));
    }
    repeatEdges(pixels, {mFormat.width, mFormat.height}, mPadX, mPadY);
}

FrameEncoder::FrameEncoder(const FrameFormat& format) : mFormat(format) {
    if (format.sampling != Sampling::Rgba)
        mGraph = std::make_unique<ConversionGraph>(format, false);
}

FrameEncoder::~FrameEncoder() = default;

void FrameEncoder::encode(PixelRows<const std::uint8_t> pixels, std::uint8_t* frame) {
    if (mGraph) {
        mGraph->encode(pixels, frame);
        return;
    }
    for (std::size_t y = 0; y < mFormat.height; ++y)
        std::memcpy(frame + y * mFormat.rowBytes(0), pixels.row(y), mFormat.rowBytes(0));
}

}  // namespace upscale
