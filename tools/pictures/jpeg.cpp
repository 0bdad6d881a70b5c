// SPDX-License-Identifier: Apache-2.0
// Before jpeglib.h, which needs it.
#include <cstdio>
// The next two in this order.
#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csetjmp>
#include <cstring>
#include <optional>

#include "common/failure.h"
#include "pictures/codecs.h"
#include "pictures/metadata.h"
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
// Code tables made for the picture save a few percent, but take all coefficients in memory: 96 MiB
// of so many pixels.
constexpr std::uint64_t kMostOptimized = 1u << 24;
constexpr std::size_t kLargestMarker = 65533;
constexpr int kApp1 = JPEG_APP0 + 1;
constexpr int kApp13 = JPEG_APP0 + 13;
// Each with the 0 of the literal.
constexpr char kExifMark[] = "Exif\0";
constexpr char kXmpMark[] = "http://ns.adobe.com/xap/1.0/";
constexpr char kPhotoshopMark[] = "Photoshop 3.0";
constexpr char kComment[] = "Comment";

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

// The data of a marker behind its name; nothing if it has another name.
template <std::size_t Size>
std::vector<std::uint8_t> dataOf(const jpeg_marker_struct& marker, int code,
                                 const char (&name)[Size]) {
    if (marker.marker != code || marker.data_length < Size ||
        std::memcmp(marker.data, name, Size) != 0)
        return {};
    return {marker.data + Size, marker.data + marker.data_length};
}

void readMetadata(const jpeg_decompress_struct& reader, Tags& tags) {
    for (const jpeg_marker_struct* marker = reader.marker_list; marker; marker = marker->next) {
        if (tags.exif.empty()) tags.exif = dataOf(*marker, kApp1, kExifMark);
        if (tags.xmp.empty()) tags.xmp = dataOf(*marker, kApp1, kXmpMark);
        if (tags.iptc.empty()) tags.iptc = dataOf(*marker, kApp13, kPhotoshopMark);
        if (marker->marker != JPEG_COM) continue;
        TextChunk text = {"tEXt",
                          std::vector<std::uint8_t>(sizeof(kComment) + marker->data_length)};
        std::copy_n(kComment, sizeof(kComment), text.data.begin());
        std::copy_n(marker->data, marker->data_length, text.data.begin() + sizeof(kComment));
        tags.texts.push_back(std::move(text));
    }
}

// libjpeg's input, by blocks.
struct JpegSource : jpeg_source_mgr {
    InputFile file;
    std::vector<JOCTET> block = std::vector<JOCTET>(1u << 16);

    explicit JpegSource(InputFile from) : jpeg_source_mgr{}, file(std::move(from)) {
        init_source = [](j_decompress_ptr) {};
        fill_input_buffer = fill;
        skip_input_data = skip;
        resync_to_restart = jpeg_resync_to_restart;
        term_source = [](j_decompress_ptr) {};
    }

    static boolean fill(j_decompress_ptr reader) {
        auto* self = static_cast<JpegSource*>(reader->src);
        self->bytes_in_buffer = self->file.read(self->block.data(), self->block.size());
        self->next_input_byte = self->block.data();
        if (self->bytes_in_buffer > 0) return TRUE;
        if (self->file.failed()) ERREXIT(reader, JERR_FILE_READ);
        ERREXIT(reader, JWRN_JPEG_EOF);
        return FALSE;
    }

    static void skip(j_decompress_ptr reader, long count) {
        auto* self = static_cast<JpegSource*>(reader->src);
        for (auto left = static_cast<std::size_t>(std::max(count, 0L)); left > 0;) {
            if (self->bytes_in_buffer == 0) fill(reader);
            const std::size_t now = std::min(left, self->bytes_in_buffer);
            self->next_input_byte += now;
            self->bytes_in_buffer -= now;
            left -= now;
        }
    }
};

class JpegReader : public PictureReader {
  public:
    explicit JpegReader(InputFile file) : mSource(std::move(file)) {
        run([this] {
            jpeg_create_decompress(&mReader);
            mDecoder.progress.progress_monitor = limitScans;
            mReader.progress = &mDecoder.progress;
            mReader.src = &mSource;
            for (const int marker : {kApp1, JPEG_APP0 + 2, kApp13, JPEG_COM}) {
                jpeg_save_markers(&mReader, marker, 0xffff);
            }
            jpeg_read_header(&mReader, TRUE);
        });
        const J_COLOR_SPACE space = mReader.jpeg_color_space;
        if (space == JCS_CMYK || space == JCS_YCCK)
            mSource.file.fail("the colours are CMYK; convert them to RGB first");
        if (space == JCS_UNKNOWN) mSource.file.fail("the colours are neither grey nor RGB");
        const std::uint64_t pixels = std::uint64_t{mReader.image_width} * mReader.image_height;
        const std::uint64_t size = mSource.file.size();
        if (!mReader.arith_code && size != 0 && pixels / kMostPixelsPerByte > size)
            mSource.file.fail(kCutShort);

        PictureHeader header;
        header.width = mReader.image_width;
        header.height = mReader.image_height;
        header.grey = space == JCS_GRAYSCALE;
        header.tags.density = densityOf(mReader);
        header.tags.profile = readProfile();
        readMetadata(mReader, header.tags);
        const int orientation = exifOrientation(header.tags.exif.data(), header.tags.exif.size());
        // Of a file of several scans libjpeg keeps all coefficients.
        setHeader(std::move(header), 8, !jpeg_has_multiple_scans(&mReader), orientation);
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

    std::vector<std::uint8_t> readProfile() {
        JOCTET* profile = nullptr;
        unsigned size = 0;
        run([&] { jpeg_read_icc_profile(&mReader, &profile, &size); });
        const std::unique_ptr<JOCTET, decltype(&std::free)> owner(profile, std::free);
        if (!profile || size > kLargestProfile) return {};
        return {profile, profile + size};
    }

    void readStored(std::uint8_t* rows, std::uint32_t count) override {
        run([=] {
            if (!mStarted) {
                mReader.out_color_space = JCS_EXT_RGBA;
                jpeg_start_decompress(&mReader);
                mStarted = true;
            }
            for (std::size_t y = 0; y < count; ++y) {
                JSAMPROW row = rows + y * mReader.output_width * Picture::kChannels;
                jpeg_read_scanlines(&mReader, &row, 1);
            }
            if (mReader.output_scanline == mReader.output_height) jpeg_finish_decompress(&mReader);
        });
    }

    template <typename Calls>
    void run(const Calls& calls) {
        const JpegError& error = mDecoder.error;
        if (succeeds(mDecoder.error, calls)) return;
        mSource.file.fail(mSource.file.failed() ? std::strerror(errno)
                          : error.cutShort      ? kCutShort
                                                : error.text);
    }

    JpegSource mSource;
    Decoder mDecoder;
    jpeg_decompress_struct& mReader = mDecoder.reader;
    bool mStarted = false;
};

class JpegWriter : public PictureWriter {
  public:
    JpegWriter(PictureHeader header, int quality, std::FILE* file, std::string name)
        : PictureWriter(std::move(header), file, std::move(name)),
          mGreyRow(mHeader.grey ? mHeader.width : 0) {
        const std::vector<std::uint8_t>& profile = mHeader.tags.profile;
        const bool withProfile = profileFits(profile, mHeader.grey);
        run([&] {
            jpeg_create_compress(&mWriter);
            jpeg_stdio_dest(&mWriter, mFile);
            mWriter.image_width = mHeader.width;
            mWriter.image_height = mHeader.height;
            mWriter.input_components = mHeader.grey ? 1 : 4;
            mWriter.in_color_space = mHeader.grey ? JCS_GRAYSCALE : JCS_EXT_RGBX;
            jpeg_set_defaults(&mWriter);
            jpeg_set_quality(&mWriter, quality, TRUE);
            mWriter.optimize_coding =
                    std::uint64_t{mHeader.width} * mHeader.height <= kMostOptimized;
            if (quality >= kFullColourQuality) {
                mWriter.comp_info[0].h_samp_factor = 1;
                mWriter.comp_info[0].v_samp_factor = 1;
            }
            if (mHeader.tags.density) setDensity(*mHeader.tags.density);
            jpeg_start_compress(&mWriter, TRUE);
            if (withProfile)
                jpeg_write_icc_profile(&mWriter, profile.data(),
                                       static_cast<unsigned>(profile.size()));
        });
        writeMetadata(mHeader.tags);
    }

    void writeRows(const std::uint8_t* rows, std::uint32_t count) override {
        run([=] {
            for (std::size_t y = 0; y < count; ++y) {
                const std::uint8_t* from = rows + y * mHeader.width * Picture::kChannels;
                // Only read, whatever the type says.
                JSAMPROW row = const_cast<JSAMPROW>(from);
                if (mHeader.grey) {
                    for (std::size_t x = 0; x < mHeader.width; ++x) {
                        mGreyRow[x] = from[x * Picture::kChannels];
                    }
                    row = mGreyRow.data();
                }
                jpeg_write_scanlines(&mWriter, &row, 1);
            }
        });
    }

    void finish() override {
        run([this] { jpeg_finish_compress(&mWriter); });
    }

  private:
    struct Encoder {
        JpegError error;
        jpeg_compress_struct writer = {};

        Encoder() { writer.err = &error; }
        ~Encoder() { jpeg_destroy_compress(&writer); }
        Encoder(const Encoder&) = delete;
        Encoder& operator=(const Encoder&) = delete;
    };

    void writeMetadata(const Tags& tags) {
        writeMarker(kApp1, kExifMark, tags.exif, "EXIF data");
        writeMarker(kApp1, kXmpMark, tags.xmp, "XMP data");
        writeMarker(kApp13, kPhotoshopMark, tags.iptc, "IPTC data");
        std::vector<TextChunk> others;
        for (const TextChunk& text : tags.texts) {
            const std::size_t start = sizeof(kComment);
            if (text.type != "tEXt" || keywordOf(text) != kComment || text.data.size() < start ||
                text.data.size() - start > kLargestMarker) {
                others.push_back(text);
                continue;
            }
            run([&] {
                jpeg_write_marker(&mWriter, JPEG_COM, text.data.data() + start,
                                  static_cast<unsigned>(text.data.size() - start));
            });
        }
        drop(others, "texts");
    }

    template <std::size_t Size>
    void writeMarker(int code, const char (&name)[Size], const std::vector<std::uint8_t>& data,
                     const char* what) {
        if (data.size() > kLargestMarker - Size) return drop(data, what);
        if (data.empty()) return;
        std::vector<JOCTET> whole(name, name + Size);
        whole.insert(whole.end(), data.begin(), data.end());
        run([&] {
            jpeg_write_marker(&mWriter, code, whole.data(), static_cast<unsigned>(whole.size()));
        });
    }

    void setDensity(const Density& density) {
        const double factor = density.perMetre ? kMetresPerInch : 1;
        const long x = std::lround(density.x * factor);
        const long y = std::lround(density.y * factor);
        if (std::min(x, y) < 1 || std::max(x, y) > 0xffff) return;
        mWriter.density_unit = density.perMetre ? kPerInch : kPerRatio;
        mWriter.X_density = static_cast<UINT16>(x);
        mWriter.Y_density = static_cast<UINT16>(y);
    }

    template <typename Calls>
    void run(const Calls& calls) {
        if (!succeeds(mEncoder.error, calls))
            fail(std::ferror(mFile) ? std::strerror(errno) : mEncoder.error.text);
    }

    Encoder mEncoder;
    jpeg_compress_struct& mWriter = mEncoder.writer;
    std::vector<JSAMPLE> mGreyRow;
};

}  // namespace

std::unique_ptr<PictureReader> openJpeg(InputFile file) {
    return std::make_unique<JpegReader>(std::move(file));
}

std::unique_ptr<PictureWriter> createJpeg(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name) {
    return std::make_unique<JpegWriter>(std::move(header), *encoding.quality, file,
                                        std::move(name));
}

}  // namespace upscale
