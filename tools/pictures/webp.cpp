// SPDX-License-Identifier: Apache-2.0
#include <webp/decode.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "common/failure.h"
#include "pictures/codecs.h"
#include "pictures/formats.h"
#include "pictures/orientation.h"

namespace upscale {
namespace {

constexpr std::size_t kRiffHeaderBytes = 8;

struct DeleteMux {
    void operator()(WebPMux* mux) const { WebPMuxDelete(mux); }
};
using Mux = std::unique_ptr<WebPMux, DeleteMux>;

// What the file's own header says of its length.
std::uint64_t promisedBytes(const std::vector<std::uint8_t>& bytes) {
    std::uint64_t size = 0;
    for (const std::size_t at : {7u, 6u, 5u, 4u}) {
        size = size << 8 | bytes[at];
    }
    return kRiffHeaderBytes + size;
}

std::vector<std::uint8_t> chunkOf(const WebPMux* mux, const char* name) {
    WebPData chunk = {};
    if (!mux || WebPMuxGetChunk(mux, name, &chunk) != WEBP_MUX_OK) return {};
    if (chunk.size > kLargestProfile) return {};
    return {chunk.bytes, chunk.bytes + chunk.size};
}

// The library's objects that hold memory of its own.
struct Encoder {
    WebPConfig config = {};
    WebPPicture picture = {};
    WebPMemoryWriter writer = {};
    WebPData whole = {};

    Encoder() {
        if (!WebPConfigInit(&config) || !WebPPictureInit(&picture)) throw std::bad_alloc();
        WebPMemoryWriterInit(&writer);
        picture.writer = WebPMemoryWrite;
        picture.custom_ptr = &writer;
    }
    ~Encoder() {
        WebPPictureFree(&picture);
        WebPMemoryWriterClear(&writer);
        WebPDataClear(&whole);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
};

class WebPReader : public PictureReader {
  public:
    explicit WebPReader(InputFile file) : mPath(file.path()), mBytes(file.readAll()) {
        if (promisedBytes(mBytes) > mBytes.size()) fail(kCutShort);
        WebPBitstreamFeatures features = {};
        const VP8StatusCode status = WebPGetFeatures(mBytes.data(), mBytes.size(), &features);
        if (status == VP8_STATUS_NOT_ENOUGH_DATA) fail(kCutShort);
        if (status != VP8_STATUS_OK) fail("the file is damaged");
        if (features.has_animation) fail("the file is an animation, not a picture");
        PictureHeader header;
        header.width = static_cast<std::uint32_t>(features.width);
        header.height = static_cast<std::uint32_t>(features.height);
        header.alpha = features.has_alpha != 0;
        const WebPData data = {mBytes.data(), mBytes.size()};
        const Mux mux(WebPMuxCreate(&data, 0));
        Tags& tags = header.tags;
        tags.profile = chunkOf(mux.get(), "ICCP");
        tags.exif = chunkOf(mux.get(), "EXIF");
        tags.xmp = chunkOf(mux.get(), "XMP ");
        // Some writers copy it with the mark that it has in JPEG.
        constexpr std::uint8_t kMark[] = {'E', 'x', 'i', 'f', 0, 0};
        if (tags.exif.size() > sizeof(kMark) &&
            std::equal(std::begin(kMark), std::end(kMark), tags.exif.begin()))
            tags.exif.erase(tags.exif.begin(), tags.exif.begin() + sizeof(kMark));
        const int orientation = exifOrientation(tags.exif.data(), tags.exif.size());
        mRowBytes = features.width * static_cast<int>(Picture::kChannels);
        setHeader(std::move(header), 8, false, orientation);
    }

  private:
    void readStored(std::uint8_t* rows, std::uint32_t count) override {
        WebPDecoderConfig config = {};
        if (!WebPInitDecoderConfig(&config)) throw std::bad_alloc();
        config.output.colorspace = MODE_RGBA;
        config.output.is_external_memory = 1;
        const auto size = static_cast<std::size_t>(mRowBytes) * count;
        config.output.u.RGBA = {rows, mRowBytes, size};
        const VP8StatusCode status = WebPDecode(mBytes.data(), mBytes.size(), &config);
        if (status == VP8_STATUS_OUT_OF_MEMORY) throw std::bad_alloc();
        if (status == VP8_STATUS_NOT_ENOUGH_DATA || status == VP8_STATUS_SUSPENDED) fail(kCutShort);
        if (status != VP8_STATUS_OK) fail("the file is damaged");
        mBytes = {};
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw Failure(Exit::Failed, mPath, reason);
    }

    std::string mPath;
    std::vector<std::uint8_t> mBytes;
    int mRowBytes = 0;
};

class WebPWriter : public WholePictureWriter {
  public:
    WebPWriter(PictureHeader header, int quality, std::FILE* file, std::string name)
        : WholePictureWriter(std::move(header), file, std::move(name)), mQuality(quality) {
        drop(mHeader.tags.iptc, "IPTC data");
        drop(mHeader.tags.texts, "texts");
    }

  private:
    void write(const std::uint8_t* pixels) override {
        Encoder encoder;
        const bool lossless = mQuality == kLossless;
        encoder.config.lossless = lossless;
        encoder.config.exact = lossless;
        // Of a lossless file: the effort.
        encoder.config.quality = static_cast<float>(lossless ? 75 : mQuality);
        encoder.picture.use_argb = encoder.config.lossless;
        encoder.picture.width = static_cast<int>(mHeader.width);
        encoder.picture.height = static_cast<int>(mHeader.height);
        const auto import = mHeader.alpha ? WebPPictureImportRGBA : WebPPictureImportRGBX;
        const int rowBytes = encoder.picture.width * static_cast<int>(Picture::kChannels);
        if (!import(&encoder.picture, pixels, rowBytes)) throw std::bad_alloc();
        if (!WebPEncode(&encoder.config, &encoder.picture))
            fail("encoding failed: error " + std::to_string(encoder.picture.error_code));

        WebPData result = {encoder.writer.mem, encoder.writer.size};
        // A grey profile would not fit: the file's pixels are always RGB.
        const Tags& tags = mHeader.tags;
        std::vector<std::pair<const char*, WebPData>> chunks;
        if (profileFits(tags.profile, false))
            chunks.push_back({"ICCP", {tags.profile.data(), tags.profile.size()}});
        if (!tags.exif.empty()) chunks.push_back({"EXIF", {tags.exif.data(), tags.exif.size()}});
        if (!tags.xmp.empty()) chunks.push_back({"XMP ", {tags.xmp.data(), tags.xmp.size()}});
        if (!chunks.empty()) {
            const Mux mux(WebPMuxNew());
            bool done = mux && WebPMuxSetImage(mux.get(), &result, 0) == WEBP_MUX_OK;
            for (const auto& [name, chunk] : chunks) {
                done = done && WebPMuxSetChunk(mux.get(), name, &chunk, 0) == WEBP_MUX_OK;
            }
            if (!done || WebPMuxAssemble(mux.get(), &encoder.whole) != WEBP_MUX_OK)
                throw std::bad_alloc();
            result = encoder.whole;
        }
        if (std::fwrite(result.bytes, 1, result.size, mFile) != result.size)
            fail(std::strerror(errno));
    }

    const int mQuality;
};

}  // namespace

std::unique_ptr<PictureReader> openWebP(InputFile file) {
    return std::make_unique<WebPReader>(std::move(file));
}

std::unique_ptr<PictureWriter> createWebP(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name) {
    return std::make_unique<WebPWriter>(std::move(header), *encoding.quality, file,
                                        std::move(name));
}

}  // namespace upscale
