// SPDX-License-Identifier: Apache-2.0
#include <webp/decode.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "common/failure.h"
#include "pictures/alpha.h"
#include "pictures/codecs.h"
#include "pictures/formats.h"

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

std::vector<std::uint8_t> profileOf(const std::vector<std::uint8_t>& bytes) {
    const WebPData file = {bytes.data(), bytes.size()};
    const Mux mux(WebPMuxCreate(&file, 0));
    WebPData chunk = {};
    if (!mux || WebPMuxGetChunk(mux.get(), "ICCP", &chunk) != WEBP_MUX_OK) return {};
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
        mWidth = static_cast<std::uint32_t>(features.width);
        mHeight = static_cast<std::uint32_t>(features.height);
    }

    std::uint32_t width() const override { return mWidth; }
    std::uint32_t height() const override { return mHeight; }

    Picture read() override {
        Picture picture(mWidth, mHeight);
        picture.tags.profile = profileOf(mBytes);
        WebPDecoderConfig config = {};
        if (!WebPInitDecoderConfig(&config)) throw std::bad_alloc();
        config.output.colorspace = MODE_RGBA;
        config.output.is_external_memory = 1;
        config.output.u.RGBA = {picture.pixels.data(), static_cast<int>(picture.rowBytes()),
                                picture.pixels.size()};
        const VP8StatusCode status = WebPDecode(mBytes.data(), mBytes.size(), &config);
        if (status == VP8_STATUS_OUT_OF_MEMORY) throw std::bad_alloc();
        if (status == VP8_STATUS_NOT_ENOUGH_DATA || status == VP8_STATUS_SUSPENDED) fail(kCutShort);
        if (status != VP8_STATUS_OK) fail("the file is damaged");
        mBytes = {};
        return picture;
    }

  private:
    [[noreturn]] void fail(const std::string& reason) const {
        throw Failure(Exit::Failed, mPath, reason);
    }

    std::string mPath;
    std::vector<std::uint8_t> mBytes;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
};

}  // namespace

std::unique_ptr<PictureReader> openWebP(InputFile file) {
    return std::make_unique<WebPReader>(std::move(file));
}

void writeWebP(const Picture& picture, int quality, std::FILE* file, const std::string& name) {
    Encoder encoder;
    const bool lossless = quality == kLossless;
    encoder.config.lossless = lossless;
    encoder.config.exact = lossless;
    // Of a lossless file: the effort.
    encoder.config.quality = static_cast<float>(lossless ? 75 : quality);
    encoder.picture.use_argb = encoder.config.lossless;
    encoder.picture.width = static_cast<int>(picture.width);
    encoder.picture.height = static_cast<int>(picture.height);
    const auto import = hasTransparency(picture) ? WebPPictureImportRGBA : WebPPictureImportRGBX;
    if (!import(&encoder.picture, picture.pixels.data(), static_cast<int>(picture.rowBytes())))
        throw std::bad_alloc();
    if (!WebPEncode(&encoder.config, &encoder.picture)) {
        throw Failure(Exit::Failed, name,
                      "encoding failed: error " + std::to_string(encoder.picture.error_code));
    }

    WebPData result = {encoder.writer.mem, encoder.writer.size};
    // A grey profile would not fit: the file's pixels are always RGB.
    const std::vector<std::uint8_t>& profile = picture.tags.profile;
    if (profileFits(profile, false)) {
        const Mux mux(WebPMuxNew());
        const WebPData chunk = {profile.data(), profile.size()};
        if (!mux || WebPMuxSetImage(mux.get(), &result, 0) != WEBP_MUX_OK ||
            WebPMuxSetChunk(mux.get(), "ICCP", &chunk, 0) != WEBP_MUX_OK ||
            WebPMuxAssemble(mux.get(), &encoder.whole) != WEBP_MUX_OK) {
            throw std::bad_alloc();
        }
        result = encoder.whole;
    }
    if (std::fwrite(result.bytes, 1, result.size, file) != result.size)
        throw Failure(Exit::Failed, name, std::strerror(errno));
}

}  // namespace upscale
