// SPDX-License-Identifier: Apache-2.0
#include <avif/avif.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "common/failure.h"
#include "pictures/codecs.h"

namespace upscale {
namespace {

constexpr int kFullColourQuality = 90;

struct DeleteDecoder {
    void operator()(avifDecoder* decoder) const { avifDecoderDestroy(decoder); }
};
struct DeleteEncoder {
    void operator()(avifEncoder* encoder) const { avifEncoderDestroy(encoder); }
};
struct DeleteImage {
    void operator()(avifImage* image) const { avifImageDestroy(image); }
};

std::vector<std::uint8_t> bytesOf(const avifRWData& data) {
    if (data.size > kLargestProfile) return {};
    return {data.data, data.data + data.size};
}

// Whether the boxes that the file consists of end with it.
bool isWhole(const std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kHead = 8;
    std::uint64_t at = 0;
    while (bytes.size() - at >= kHead) {
        std::uint64_t size = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            size = size << 8 | bytes[at + i];
        }
        // One that goes on to the end, or that has a size of 64 bits: libavif looks at it.
        if (size < kHead) return true;
        if (size > bytes.size() - at) return false;
        at += size;
    }
    return at == bytes.size();
}

// The EXIF orientation that lies as the image's own marks say: turned, and then mirrored.
int orientationOf(const avifImage& image) {
    const int turns = image.transformFlags & AVIF_TRANSFORM_IROT ? image.irot.angle % 4 : 0;
    constexpr int kTurned[] = {1, 8, 3, 6};
    if (!(image.transformFlags & AVIF_TRANSFORM_IMIR)) return kTurned[turns];
#if AVIF_VERSION_MAJOR >= 1
    const bool leftToRight = image.imir.axis == 1;
#else
    const bool leftToRight = image.imir.mode == 1;
#endif
    constexpr int kLeftToRight[] = {2, 7, 4, 5};
    constexpr int kTopToBottom[] = {4, 5, 2, 7};
    return leftToRight ? kLeftToRight[turns] : kTopToBottom[turns];
}

class AvifReader : public PictureReader {
  public:
    explicit AvifReader(InputFile file)
        : mPath(file.path()), mBytes(file.readAll()), mDecoder(avifDecoderCreate()) {
        if (!mDecoder) throw std::bad_alloc();
        if (!isWhole(mBytes)) fail(kCutShort);
        // Threads of its own would take the command's signals.
        mDecoder->maxThreads = 1;
        mDecoder->strictFlags &= ~static_cast<avifStrictFlags>(AVIF_STRICT_PIXI_REQUIRED);
        run(avifDecoderSetIOMemory(mDecoder.get(), mBytes.data(), mBytes.size()));
        run(avifDecoderParse(mDecoder.get()));
        if (mDecoder->imageCount > 1) fail("the file is an animation, not a picture");
        const avifImage& image = *mDecoder->image;
        PictureHeader header;
        header.width = image.width;
        header.height = image.height;
        header.grey = image.yuvFormat == AVIF_PIXEL_FORMAT_YUV400;
        header.alpha = mDecoder->alphaPresent != 0;
        Tags& tags = header.tags;
        tags.profile = bytesOf(image.icc);
        tags.exif = bytesOf(image.exif);
        tags.xmp = bytesOf(image.xmp);
        const int primaries = image.colorPrimaries;
        const int transfer = image.transferCharacteristics;
        if (primaries != AVIF_COLOR_PRIMARIES_UNSPECIFIED &&
            transfer != AVIF_TRANSFER_CHARACTERISTICS_UNSPECIFIED)
            tags.codePoints = {static_cast<std::uint8_t>(primaries),
                               static_cast<std::uint8_t>(transfer), 0, 1};
        const int depth = static_cast<int>(image.depth);
        // The EXIF orientation is not for readers: the image has marks of its own.
        setHeader(std::move(header), depth, false, orientationOf(image));
    }

  private:
    void readStored(std::uint8_t* rows, std::uint32_t) override {
        run(avifDecoderNextImage(mDecoder.get()));
        avifRGBImage rgb = {};
        avifRGBImageSetDefaults(&rgb, mDecoder->image);
        rgb.depth = 8;
        rgb.format = AVIF_RGB_FORMAT_RGBA;
        rgb.pixels = rows;
        rgb.rowBytes = rgb.width * static_cast<std::uint32_t>(Picture::kChannels);
        run(avifImageYUVToRGB(mDecoder->image, &rgb));
    }

    void run(avifResult result) const {
        if (result == AVIF_RESULT_OK) return;
        if (result == AVIF_RESULT_OUT_OF_MEMORY) throw std::bad_alloc();
        if (result == AVIF_RESULT_TRUNCATED_DATA) fail(kCutShort);
        // The pixels, which stand last, or are in a box of the others.
        const std::string pixels = "mdat";
        const bool cut = std::search(mBytes.begin(), mBytes.end(), pixels.begin(), pixels.end()) ==
                         mBytes.end();
        fail(cut ? kCutShort : "the file is damaged");
    }
    [[noreturn]] void fail(const std::string& reason) const {
        throw Failure(Exit::Failed, mPath, reason);
    }

    std::string mPath;
    std::vector<std::uint8_t> mBytes;
    std::unique_ptr<avifDecoder, DeleteDecoder> mDecoder;
};

class AvifWriter : public WholePictureWriter {
  public:
    AvifWriter(PictureHeader header, const Encoding& encoding, std::FILE* file, std::string name)
        : WholePictureWriter(std::move(header), file, std::move(name)), mEncoding(encoding) {
        const Tags& tags = mHeader.tags;
        const bool profile = profileFits(tags.profile, mHeader.grey);
        dropColours(profile, true);
        dropDensity();
        drop(tags.iptc, "IPTC data");
        drop(tags.texts, "texts");
    }

  private:
    void write(const std::uint8_t* pixels) override {
        const int quality = *mEncoding.quality;
        const avifPixelFormat format = mHeader.grey                   ? AVIF_PIXEL_FORMAT_YUV400
                                       : quality < kFullColourQuality ? AVIF_PIXEL_FORMAT_YUV420
                                                                      : AVIF_PIXEL_FORMAT_YUV444;
        const std::unique_ptr<avifImage, DeleteImage> image(
                avifImageCreate(mHeader.width, mHeader.height, 8, format));
        const std::unique_ptr<avifEncoder, DeleteEncoder> encoder(avifEncoderCreate());
        if (!image || !encoder) throw std::bad_alloc();
        const Tags& tags = mHeader.tags;
        image->yuvRange = AVIF_RANGE_FULL;
        const std::array<std::uint8_t, 4> points =
                tags.codePoints.value_or(std::array<std::uint8_t, 4>{
                        AVIF_COLOR_PRIMARIES_BT709, AVIF_TRANSFER_CHARACTERISTICS_SRGB, 0, 1});
        image->colorPrimaries = static_cast<avifColorPrimaries>(points[0]);
        image->transferCharacteristics = static_cast<avifTransferCharacteristics>(points[1]);
        image->matrixCoefficients = AVIF_MATRIX_COEFFICIENTS_BT601;
        const bool profile = profileFits(tags.profile, mHeader.grey);
        if (profile) setBytes(*image, avifImageSetProfileICC, tags.profile);
        setBytes(*image, avifImageSetMetadataExif, tags.exif);
        setBytes(*image, avifImageSetMetadataXMP, tags.xmp);

        avifRGBImage rgb = {};
        avifRGBImageSetDefaults(&rgb, image.get());
        rgb.depth = 8;
        rgb.format = AVIF_RGB_FORMAT_RGBA;
        rgb.ignoreAlpha = !mHeader.alpha;
        // Only read, whatever the type says.
        rgb.pixels = const_cast<std::uint8_t*>(pixels);
        rgb.rowBytes = mHeader.width * static_cast<std::uint32_t>(Picture::kChannels);
        run(avifImageRGBToYUV(image.get(), &rgb));
        encoder->maxThreads = 1;
        const bool fast = mEncoding.compression == Compression::Fast;
        encoder->speed = fast ? 9 : mEncoding.compression == Compression::Best ? 4 : 6;
        const int quantizer = (100 - quality) * AVIF_QUANTIZER_WORST_QUALITY / 100;
        encoder->minQuantizer = encoder->maxQuantizer = quantizer;
        // Transparency is as sharp as it came.
        encoder->minQuantizerAlpha = encoder->maxQuantizerAlpha = AVIF_QUANTIZER_LOSSLESS;
        Output output;
        run(avifEncoderWrite(encoder.get(), image.get(), &output.data));
        if (std::fwrite(output.data.data, 1, output.data.size, mFile) != output.data.size)
            fail(std::strerror(errno));
    }

    // Newer libraries return a result.
    template <typename Result>
    void setBytes(avifImage& image, Result (*set)(avifImage*, const std::uint8_t*, std::size_t),
                  const std::vector<std::uint8_t>& bytes) const {
        if constexpr (std::is_void_v<Result>) {
            set(&image, bytes.data(), bytes.size());
        } else {
            run(set(&image, bytes.data(), bytes.size()));
        }
    }

    struct Output {
        avifRWData data = {};
        Output() = default;
        ~Output() { avifRWDataFree(&data); }
        Output(const Output&) = delete;
        Output& operator=(const Output&) = delete;
    };

    void run(avifResult result) const {
        if (result == AVIF_RESULT_OUT_OF_MEMORY) throw std::bad_alloc();
        if (result != AVIF_RESULT_OK)
            fail(std::string("encoding failed: ") + avifResultToString(result));
    }

    const Encoding mEncoding;
};

}  // namespace

std::unique_ptr<PictureReader> openAvif(InputFile file) {
    return std::make_unique<AvifReader>(std::move(file));
}

std::unique_ptr<PictureWriter> createAvif(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name) {
    return std::make_unique<AvifWriter>(std::move(header), encoding, file, std::move(name));
}

}  // namespace upscale
