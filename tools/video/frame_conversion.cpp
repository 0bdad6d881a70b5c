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

namespace upscale {
namespace {

constexpr std::size_t kPixelBytes = 4;
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

// Planes of which zimg sees a few lines at a time, so that they stay in the processor's cache.
struct Lines {
    Lines(const zimg_image_format& format, unsigned count) {
        const unsigned mask = zimg_select_buffer_mask(count);
        const bool whole = mask == ZIMG_BUFFER_MAX;
        const unsigned lines = whole ? format.height : mask + 1;
        buffer.version = ZIMG_API_VERSION;
        const unsigned planes = format.color_family == ZIMG_COLOR_GREY ? 1 : 3;
        for (unsigned plane = 0; plane < planes; ++plane) {
            const unsigned shiftX = plane == 0 ? 0 : format.subsample_w;
            const unsigned shiftY = plane == 0 ? 0 : format.subsample_h;
            const std::size_t stride = aligned(format.width >> shiftX);
            memory[plane] = std::make_unique<FrameMemory>(stride * std::max(lines >> shiftY, 1u));
            buffer.plane[plane].data = memory[plane]->data();
            buffer.plane[plane].stride = static_cast<std::ptrdiff_t>(stride);
            buffer.plane[plane].mask = whole ? ZIMG_BUFFER_MAX : mask >> shiftY;
        }
    }

    std::uint8_t* line(unsigned plane, unsigned i) const {
        const auto& at = buffer.plane[plane];
        return static_cast<std::uint8_t*>(at.data) +
               static_cast<std::ptrdiff_t>(i & at.mask) * at.stride;
    }

    zimg_image_buffer buffer{};
    std::array<std::unique_ptr<FrameMemory>, 3> memory;
};

// The sample at the edge again where the picture is a pixel too small.
void copyExtended(const std::uint8_t* from, std::size_t samples, std::uint8_t* to, std::size_t left,
                  std::size_t right) {
    const std::size_t end = std::min(right, samples);
    if (left < end) std::memcpy(to + left, from + left, end - left);
    for (std::size_t x = std::max(left, samples); x < right; ++x)
        to[x] = from[samples - 1];
}

}  // namespace

// One direction, with what zimg needs to work a frame through.
class ConversionGraph {
  public:
    ConversionGraph(const FrameFormat& format, bool decodes) : mFormat(format) {
        const zimg_image_format stream = streamFormat(format);
        const zimg_image_format pixels = pixelFormat(format);
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        // Chroma alone is resampled, between its own size and the pixels'.
        params.resample_filter_uv = ZIMG_RESIZE_BILINEAR;
        mGraph.reset(zimg_filter_graph_build(decodes ? &stream : &pixels,
                                             decodes ? &pixels : &stream, &params));
        std::size_t bytes = 0;
        unsigned in = 0;
        unsigned out = 0;
        if (!mGraph || zimg_filter_graph_get_tmp_size(mGraph.get(), &bytes) != 0 ||
            zimg_filter_graph_get_input_buffering(mGraph.get(), &in) != 0 ||
            zimg_filter_graph_get_output_buffering(mGraph.get(), &out) != 0) {
            failConversion();
        }
        mWork = std::make_unique<FrameMemory>(bytes);
        mStream = std::make_unique<Lines>(stream, decodes ? in : out);
        mPixels = std::make_unique<Lines>(pixels, decodes ? out : in);
    }

    void decode(const std::uint8_t* frame, PixelRows<std::uint8_t> pixels) {
        mFrom = frame;
        mTo = pixels;
        const bool direct = isDirect(frame);
        // Cast, since there is but one way to describe both: it is only read.
        run(direct ? planesOf(const_cast<std::uint8_t*>(frame)) : mStream->buffer, mPixels->buffer,
            direct ? nullptr : call<&ConversionGraph::loadStream>,
            call<&ConversionGraph::storePixels>);
    }

    void encode(PixelRows<const std::uint8_t> pixels, std::uint8_t* frame) {
        mPixelsFrom = pixels;
        mFrameTo = frame;
        const bool direct = isDirect(frame);
        run(mPixels->buffer, direct ? planesOf(frame) : mStream->buffer,
            call<&ConversionGraph::loadPixels>,
            direct ? nullptr : call<&ConversionGraph::storeStream>);
    }

  private:
    struct FreeGraph {
        void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
    };

    template <void (ConversionGraph::*method)(unsigned, unsigned, unsigned)>
    static int call(void* graph, unsigned i, unsigned left, unsigned right) {
        (static_cast<ConversionGraph*>(graph)->*method)(i, left, right);
        return 0;
    }

    // Whether zimg can work on the frame itself.
    bool isDirect(const std::uint8_t* frame) const {
        bool direct = mFormat.width % 2 == 0 && mFormat.height % 2 == 0;
        for (unsigned plane = 0; plane < mFormat.planes(); ++plane) {
            const auto address = reinterpret_cast<std::uintptr_t>(frame) + mFormat.offset(plane);
            direct = direct && (address | mFormat.rowBytes(plane)) % kAlignment == 0;
        }
        return direct;
    }

    zimg_image_buffer planesOf(std::uint8_t* frame) const {
        zimg_image_buffer buffer{};
        buffer.version = ZIMG_API_VERSION;
        for (unsigned plane = 0; plane < mFormat.planes(); ++plane) {
            buffer.plane[plane].data = frame + mFormat.offset(plane);
            buffer.plane[plane].stride = static_cast<std::ptrdiff_t>(mFormat.rowBytes(plane));
            buffer.plane[plane].mask = ZIMG_BUFFER_MAX;
        }
        return buffer;
    }

    void run(const zimg_image_buffer& in, const zimg_image_buffer& out,
             zimg_filter_graph_callback load, zimg_filter_graph_callback store) {
        zimg_image_buffer_const from{};
        from.version = in.version;
        for (std::size_t plane = 0; plane < 3; ++plane)
            from.plane[plane] = {in.plane[plane].data, in.plane[plane].stride,
                                 in.plane[plane].mask};
        if (zimg_filter_graph_process(mGraph.get(), &from, &out, mWork->data(), load, this, store,
                                      this) != 0) {
            failConversion();
        }
    }

    // Calls `visit` with each plane, line of the plane, and first and last sample that a call of
    // zimg's is about.
    template <typename Visit>
    void forStreamLines(unsigned i, unsigned left, unsigned right, const Visit& visit) {
        for (unsigned plane = 0; plane < mFormat.planes(); ++plane) {
            const unsigned shiftX = plane == 0 ? 0 : mFormat.chromaShiftX();
            const unsigned lines = plane == 0 ? 1u << mFormat.chromaShiftY() : 1;
            const unsigned first = plane == 0 ? i : i >> mFormat.chromaShiftY();
            for (unsigned line = first; line < first + lines; ++line)
                visit(plane, line, left >> shiftX, (right + shiftX) >> shiftX);
        }
    }

    void loadStream(unsigned i, unsigned left, unsigned right) {
        forStreamLines(i, left, right,
                       [&](unsigned plane, unsigned line, std::size_t from, std::size_t to) {
                           const std::size_t row =
                                   std::min<std::size_t>(line, mFormat.rows(plane) - 1);
                           const std::size_t samples = mFormat.rowBytes(plane);
                           copyExtended(mFrom + mFormat.offset(plane) + row * samples, samples,
                                        mStream->line(plane, line), from, to);
                       });
    }

    void storeStream(unsigned i, unsigned left, unsigned right) {
        forStreamLines(i, left, right,
                       [&](unsigned plane, unsigned line, std::size_t from, std::size_t to) {
                           const std::size_t samples = mFormat.rowBytes(plane);
                           to = std::min(to, samples);
                           if (line >= mFormat.rows(plane) || from >= to) return;
                           std::memcpy(mFrameTo + mFormat.offset(plane) + line * samples + from,
                                       mStream->line(plane, line) + from, to - from);
                       });
    }

    void storePixels(unsigned i, unsigned left, unsigned right) {
        right = std::min(right, mFormat.width);
        if (i >= mFormat.height || left >= right) return;
        const bool grey = mFormat.sampling == Sampling::Mono;
        const std::uint8_t* red = mPixels->line(0, i);
        const std::uint8_t* green = grey ? red : mPixels->line(1, i);
        const std::uint8_t* blue = grey ? red : mPixels->line(2, i);
        std::uint8_t* to = mTo.row(i);
        for (std::size_t x = left; x < right; ++x) {
            const std::uint32_t pixel = htole32(red[x] | std::uint32_t{green[x]} << 8 |
                                                std::uint32_t{blue[x]} << 16 | 0xff000000u);
            std::memcpy(to + x * kPixelBytes, &pixel, kPixelBytes);
        }
    }

    void loadPixels(unsigned i, unsigned left, unsigned right) {
        const std::uint8_t* from = mPixelsFrom.row(std::min(i, mFormat.height - 1));
        const unsigned end = std::min(right, mFormat.width);
        // Of a grey picture any channel will do.
        std::uint8_t* red = mPixels->line(0, i);
        if (mFormat.sampling == Sampling::Mono) {
            for (std::size_t x = left; x < end; ++x)
                red[x] = from[x * kPixelBytes];
            return;
        }
        std::uint8_t* green = mPixels->line(1, i);
        std::uint8_t* blue = mPixels->line(2, i);
        for (std::size_t x = left; x < end; ++x) {
            red[x] = from[x * kPixelBytes];
            green[x] = from[x * kPixelBytes + 1];
            blue[x] = from[x * kPixelBytes + 2];
        }
        const std::uint8_t* last = from + (mFormat.width - 1) * kPixelBytes;
        for (std::size_t x = std::max(left, mFormat.width); x < right; ++x) {
            red[x] = last[0];
            green[x] = last[1];
            blue[x] = last[2];
        }
    }

    const FrameFormat mFormat;
    std::unique_ptr<zimg_filter_graph, FreeGraph> mGraph;
    std::unique_ptr<FrameMemory> mWork;
    std::unique_ptr<Lines> mStream;
    std::unique_ptr<Lines> mPixels;
    const std::uint8_t* mFrom = nullptr;
    std::uint8_t* mFrameTo = nullptr;
    PixelRows<std::uint8_t> mTo{};
    PixelRows<const std::uint8_t> mPixelsFrom{};
};

FrameMemory::FrameMemory(std::size_t bytes)
    : mData(static_cast<std::uint8_t*>(
              std::aligned_alloc(kAlignment, std::max(aligned(bytes), kAlignment)))) {
    if (!mData) throw std::bad_alloc();
}

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
    const std::size_t bytes = mFormat.width * kPixelBytes;
    const PixelRows<std::uint8_t> inner = {pixels.row(mPadY) + mPadX * kPixelBytes, pixels.stride};
    if (mGraph) {
        mGraph->decode(frame, inner);
    } else {
        for (std::size_t y = 0; y < mFormat.height; ++y)
            std::memcpy(inner.row(y), frame + y * bytes, bytes);
    }

    for (std::size_t y = 0; y < mFormat.height; ++y) {
        std::uint8_t* row = inner.row(y);
        for (std::size_t x = 1; x <= mPadX; ++x) {
            std::memcpy(row - x * kPixelBytes, row, kPixelBytes);
            std::memcpy(row + bytes + (x - 1) * kPixelBytes, row + bytes - kPixelBytes,
                        kPixelBytes);
        }
    }
    const std::size_t wholeRow = bytes + 2 * mPadX * kPixelBytes;
    const std::size_t last = mPadY + mFormat.height - 1;
    for (std::size_t y = 1; y <= mPadY; ++y) {
        std::memcpy(pixels.row(mPadY - y), pixels.row(mPadY), wholeRow);
        std::memcpy(pixels.row(last + y), pixels.row(last), wholeRow);
    }
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
    const std::size_t bytes = mFormat.width * kPixelBytes;
    for (std::size_t y = 0; y < mFormat.height; ++y)
        std::memcpy(frame + y * bytes, pixels.row(y), bytes);
}

}  // namespace upscale
