// SPDX-License-Identifier: Apache-2.0
// Before jpeglib.h, which needs it.
#include <cstdio>
// The next two in this order.
#include <jpeglib.h>

#include <jerror.h>

#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <optional>

#include "common/failure.h"
#include "pictures/codecs.h"
#include "pictures/orientation.h"

namespace upscale {
namespace {

constexpr double kMetresPerInch = 0.0254;
constexpr int kFullColourQuality = 90;
// Each is a pass over the whole picture: a small file of many takes for ever. Encoders use ten.
constexpr int kMostScans = 200;
// Every block of 8x8 takes a bit at least (except with arithmetic coding), and the picture's pixels
// are at most 16 to a sample.
constexpr std::uint64_t kMostPixelsPerByte = 64 * 8 * 16;
constexpr char kExifMark[] = "Exif\0";  // and the 0 of the literal

enum { kPerRatio = 0, kPerInch = 1, kPerCentimetre = 2 };

// libjpeg's error manager with what it has to say. It leaves a failed call with a jump, so those
// calls stand where nothing has a destructor.
struct JpegError : jpeg_error_mgr {
    std::jmp_buf jump;
    char text[JMSG_LENGTH_MAX] = "";
    bool cutShort = false;

    JpegError() {
        jpeg_std_error(this);
        error_exit = onError;
        emit_message = onMessage;
    }

    static void onError(j_common_ptr object) {
        auto* self = static_cast<JpegError*>(object->err);
        self->format_message(object, self->text);
        self->cutShort = self->msg_code == JWRN_JPEG_EOF;
        std::longjmp(self->jump, 1);
    }

    // Warnings that pixels are missing or made up are errors here.
    static void onMessage(j_common_ptr object, int level) {
        if (level >= 0) return;
        switch (object->err->msg_code) {
            case JWRN_JPEG_EOF:
            case JWRN_HIT_MARKER:
            case JWRN_HUFF_BAD_CODE:
            case JWRN_ARITH_BAD_CODE:
            case JWRN_MUST_RESYNC:
                onError(object);
        }
    }
};

template <typename Calls>
bool succeeds(JpegError& error, const Calls& calls) {
    if (setjmp(error.jump)) return false;
    calls();
    return true;
}

void limitScans(j_common_ptr object) {
    auto* reader = reinterpret_cast<j_decompress_ptr>(object);
    if (reader->input_scan_number <= kMostScans) return;
    auto* error = static_cast<JpegError*>(object->err);
    std::strcpy(error->text, "too many scans");
    std::longjmp(error->jump, 1);
}

std::optional<Density> densityOf(const jpeg_decompress_struct& reader) {
    const std::uint32_t x = reader.X_density;
    const std::uint32_t y = reader.Y_density;
    if (!reader.saw_JFIF_marker || x == 0 || y == 0) return std::nullopt;
    const auto perMetre = [](std::uint32_t perInch) {
        return static_cast<std::uint32_t>(std::lround(perInch / kMetresPerInch));
    };
    if (reader.density_unit == kPerInch) return Density{perMetre(x), perMetre(y), true};
    if (reader.density_unit == kPerCentimetre) return Density{x * 100, y * 100, true};
    if (x == y) return std::nullopt;
    return Density{x, y, false};
}

int orientationOf(const jpeg_decompress_struct& reader) {
    for (const jpeg_marker_struct* marker = reader.marker_list; marker; marker = marker->next) {
        if (marker->marker != JPEG_APP0 + 1 || marker->data_length < sizeof(kExifMark)) continue;
        if (std::memcmp(marker->data, kExifMark, sizeof(kExifMark)) != 0) continue;
        return exifOrientation(marker->data + sizeof(kExifMark),
                               marker->data_length - sizeof(kExifMark));
    }
    return 1;
}

class JpegReader : public PictureReader {
  public:
    explicit JpegReader(InputFile file) : mPath(file.path()), mBytes(file.readAll()) {
        const auto readHeader = [this] {
            jpeg_create_decompress(&mReader);
            mDecoder.progress.progress_monitor = limitScans;
            mReader.progress = &mDecoder.progress;
            jpeg_mem_src(&mReader, mBytes.data(), mBytes.size());
            jpeg_save_markers(&mReader, JPEG_APP0 + 1, 0xffff);
            jpeg_save_markers(&mReader, JPEG_APP0 + 2, 0xffff);
            jpeg_read_header(&mReader, TRUE);
        };
        run(readHeader);
        const J_COLOR_SPACE space = mReader.jpeg_color_space;
        if (space == JCS_CMYK || space == JCS_YCCK)
            fail("the colours are CMYK; convert them to RGB first");
        if (space == JCS_UNKNOWN) fail("the colours are neither grey nor RGB");
        mOrientation = orientationOf(mReader);
    }

    std::uint32_t width() const override {
        return turnsSideways(mOrientation) ? mReader.image_height : mReader.image_width;
    }
    std::uint32_t height() const override {
        return turnsSideways(mOrientation) ? mReader.image_width : mReader.image_height;
    }

    Picture read() override {
        const std::uint64_t pixels = std::uint64_t{mReader.image_width} * mReader.image_height;
        if (!mReader.arith_code && pixels / kMostPixelsPerByte > mBytes.size()) fail(kCutShort);
        Picture picture(mReader.image_width, mReader.image_height);
        picture.grey = mReader.jpeg_color_space == JCS_GRAYSCALE;
        picture.tags.density = densityOf(mReader);
        run([this, &picture] {
            mReader.out_color_space = JCS_EXT_RGBA;
            jpeg_start_decompress(&mReader);
            while (mReader.output_scanline < mReader.output_height) {
                JSAMPROW row = picture.row(mReader.output_scanline);
                jpeg_read_scanlines(&mReader, &row, 1);
            }
        });
        JOCTET* profile = nullptr;
        unsigned profileBytes = 0;
        run([&] { jpeg_read_icc_profile(&mReader, &profile, &profileBytes); });
        if (profile) {
            const std::unique_ptr<JOCTET, decltype(&std::free)> owner(profile, std::free);
            if (profileBytes <= kLargestProfile)
                picture.tags.profile.assign(profile, profile + profileBytes);
        }
        run([this] { jpeg_finish_decompress(&mReader); });
        return upright(std::move(picture), mOrientation);
    }

  private:
    struct Decoder {
        JpegError error;
        jpeg_progress_mgr progress = {};
        jpeg_decompress_struct reader = {};

        Decoder() { reader.err = &error; }
        ~Decoder() { jpeg_destroy_decompress(&reader); }
        Decoder(const Decoder&) = delete;
        Decoder& operator=(const Decoder&) = delete;
    };

    [[noreturn]] void fail(const std::string& reason) const {
        throw Failure(Exit::Failed, mPath, reason);
    }

    template <typename Calls>
    void run(const Calls& calls) {
        const JpegError& error = mDecoder.error;
        if (!succeeds(mDecoder.error, calls)) fail(error.cutShort ? kCutShort : error.text);
    }

    std::string mPath;
    std::vector<std::uint8_t> mBytes;
    Decoder mDecoder;
    jpeg_decompress_struct& mReader = mDecoder.reader;
    int mOrientation = 1;
};

struct JpegWriter {
    JpegError error;
    jpeg_compress_struct writer = {};

    JpegWriter() { writer.err = &error; }
    ~JpegWriter() { jpeg_destroy_compress(&writer); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    void setDensity(const Density& density) {
        const double factor = density.perMetre ? kMetresPerInch : 1;
        const long x = std::lround(density.x * factor);
        const long y = std::lround(density.y * factor);
        if (std::min(x, y) < 1 || std::max(x, y) > 0xffff) return;
        writer.density_unit = density.perMetre ? kPerInch : kPerRatio;
        writer.X_density = static_cast<UINT16>(x);
        writer.Y_density = static_cast<UINT16>(y);
    }
};

}  // namespace

std::unique_ptr<PictureReader> openJpeg(InputFile file) {
    return std::make_unique<JpegReader>(std::move(file));
}

void writeJpeg(const Picture& picture, int quality, std::FILE* file, const std::string& name) {
    JpegWriter state;
    jpeg_compress_struct& writer = state.writer;
    std::vector<JSAMPLE> greyRow(picture.grey ? picture.width : 0);
    const std::vector<std::uint8_t>& profile = picture.tags.profile;
    const bool withProfile = profileFits(profile, picture.grey);
    const auto writeAll = [&] {
        jpeg_create_compress(&writer);
        jpeg_stdio_dest(&writer, file);
        writer.image_width = picture.width;
        writer.image_height = picture.height;
        writer.input_components = picture.grey ? 1 : 4;
        writer.in_color_space = picture.grey ? JCS_GRAYSCALE : JCS_EXT_RGBX;
        jpeg_set_defaults(&writer);
        jpeg_set_quality(&writer, quality, TRUE);
        writer.optimize_coding = TRUE;
        if (quality >= kFullColourQuality) {
            writer.comp_info[0].h_samp_factor = 1;
            writer.comp_info[0].v_samp_factor = 1;
        }
        if (picture.tags.density) state.setDensity(*picture.tags.density);
        jpeg_start_compress(&writer, TRUE);
        if (withProfile)
            jpeg_write_icc_profile(&writer, profile.data(), static_cast<unsigned>(profile.size()));
        while (writer.next_scanline < writer.image_height) {
            const std::uint8_t* from = picture.row(writer.next_scanline);
            // Only read, whatever the type says.
            JSAMPROW row = const_cast<JSAMPROW>(from);
            if (picture.grey) {
                for (std::size_t x = 0; x < picture.width; ++x) {
                    greyRow[x] = from[x * Picture::kChannels];
                }
                row = greyRow.data();
            }
            jpeg_write_scanlines(&writer, &row, 1);
        }
        jpeg_finish_compress(&writer);
    };
    if (!succeeds(state.error, writeAll))
        throw Failure(Exit::Failed, name,
                      std::ferror(file) ? std::strerror(errno) : state.error.text);
}

}  // namespace upscale
