// SPDX-License-Identifier: Apache-2.0
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <utility>

#include "common/failure.h"
#include "pictures/codecs.h"
#include "pictures/orientation.h"
#include "pictures/png_pixels.h"

namespace upscale {
namespace {

// Past any driver's limit; keeps the products below far from overflow.
constexpr png_uint_32 kLargestSide = 1u << 20;
constexpr png_alloc_size_t kLargestChunk = kLargestProfile;
constexpr png_uint_32 kMostChunks = 256;
constexpr png_byte kMetadataChunks[] = "eXIf\0tEXt\0zTXt\0iTXt\0cICP";
constexpr int kMetadataChunkCount = sizeof(kMetadataChunks) / 5;
// The keyword and what follows it up to the packet.
constexpr char kXmpStart[] = "XML:com.adobe.xmp\0\0\0\0";
constexpr std::size_t kXmpStartBytes = sizeof(kXmpStart) - 1;
// Deflate cannot do better than 1032 to 1, so a smaller file cannot hold the pixels it promises.
constexpr std::uint64_t kBestCompression = 1032;

// The message of the call that failed; libpng's own is gone once it has jumped.
struct PngError {
    char text[256] = "";
};

[[noreturn]] void onError(png_structp png, png_const_charp message) {
    auto* error = static_cast<PngError*>(png_get_error_ptr(png));
    std::snprintf(error->text, sizeof(error->text), "%s", message);
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void readBytes(png_structp png, png_bytep data, size_t size) {
    auto* file = static_cast<InputFile*>(png_get_io_ptr(png));
    if (file->read(data, size) == size) return;
    png_error(png, file->failed() ? std::strerror(errno) : kCutShort);
}

void writeBytes(png_structp png, png_bytep data, size_t size) {
    auto* file = static_cast<std::FILE*>(png_get_io_ptr(png));
    if (std::fwrite(data, 1, size, file) != size) png_error(png, std::strerror(errno));
}

void flushBytes(png_structp png) {
    auto* file = static_cast<std::FILE*>(png_get_io_ptr(png));
    if (std::fflush(file) != 0) png_error(png, std::strerror(errno));
}

// Runs calls that may fail; false if one did. libpng leaves a failed call with a jump that ends
// `calls` without destructors, so it may hold none while it calls libpng.
template <typename Calls>
bool succeeds(png_structp png, const Calls& calls) {
    if (setjmp(png_jmpbuf(png))) return false;
    calls();
    return true;
}

Tags readTags(png_structp png, png_infop info) {
    Tags tags;
    int intent = 0;
    if (png_get_sRGB(png, info, &intent)) tags.intent = intent;
    png_fixed_point gamma = 0;
    // libpng makes up a gAMA and a cHRM where sRGB stands; they would be written in its stead.
    if (!tags.intent && png_get_gAMA_fixed(png, info, &gamma)) tags.gamma = gamma;
    std::array<png_fixed_point, 8> p{};
    if (!tags.intent &&
        png_get_cHRM_fixed(png, info, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7])) {
        tags.primaries = p;
    }
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    int compression = 0;
    if (png_get_iCCP(png, info, &name, &compression, &profile, &size)) {
        tags.profileName = name;
        tags.profile.assign(profile, profile + size);
    }
    Density density = {};
    int unit = 0;
    if (png_get_pHYs(png, info, &density.x, &density.y, &unit)) {
        density.perMetre = unit == PNG_RESOLUTION_METER;
        tags.density = density;
    }
    return tags;
}

std::uint32_t bigEndian(const std::uint8_t* bytes) {
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) {
        number = number << 8 | bytes[i];
    }
    return number;
}

bool isXmp(const TextChunk& text) {
    // Neither compressed nor translated.
    return text.type == "iTXt" && text.data.size() >= kXmpStartBytes &&
           std::equal(kXmpStart, kXmpStart + kXmpStartBytes, text.data.begin());
}

// Metadata, which may stand behind the pixels, too: it is looked for before they are read. A pipe's
// is not. Damage is left to libpng.
void readMetadata(const InputFile& original, Tags& tags) {
    if (original.size() == 0) return;
    InputFile file(original.path());
    std::uint8_t head[8];
    std::size_t most = kLargestChunk;
    file.read(head, sizeof(head));
    for (png_uint_32 count = 0;
         count < kMostChunks && file.read(head, sizeof(head)) == sizeof(head);) {
        const std::uint32_t size = bigEndian(head);
        const std::string type(head + 4, head + 8);
        if (type == "acTL") original.fail("the file is an animation, not a picture");
        const bool isText = type == "tEXt" || type == "zTXt" || type == "iTXt";
        if (type == "IEND") return;
        if ((!isText && type != "eXIf" && type != "cICP") || size > most) {
            if (!file.skip(std::uint64_t{size} + 4)) return;
            continue;
        }
        ++count;
        most -= size;
        std::vector<std::uint8_t> data(size + 4);
        if (file.read(data.data(), data.size()) != data.size()) return;
        const uLong sum = crc32(crc32(0, head + 4, 4), data.data(), size);
        if (sum != bigEndian(data.data() + size)) continue;
        data.resize(size);
        if (type == "eXIf") {
            tags.exif = std::move(data);
        } else if (type == "cICP") {
            if (size == 4) tags.codePoints = {data[0], data[1], data[2], data[3]};
        } else {
            TextChunk text = {type, std::move(data)};
            if (isXmp(text)) {
                tags.xmp.assign(text.data.begin() + kXmpStartBytes, text.data.end());
            } else {
                tags.texts.push_back(std::move(text));
            }
        }
    }
}

// The form that PNG's readers agree upon, which has no chunk for it: lines of hexadecimal digits.
std::vector<std::uint8_t> iptcText(const std::vector<std::uint8_t>& iptc) {
    const std::string keyword = "Raw profile type iptc";
    std::string text = keyword + '\0' + "\niptc\n" + std::to_string(iptc.size());
    for (std::size_t i = 0; i < iptc.size(); ++i) {
        constexpr char kDigits[] = "0123456789abcdef";
        if (i % 36 == 0) text += '\n';
        text += kDigits[iptc[i] >> 4];
        text += kDigits[iptc[i] & 15];
    }
    text += '\n';
    return {text.begin(), text.end()};
}

void writeTags(png_structp png, png_infop info, const Tags& tags, bool grey) {
    if (tags.intent) png_set_sRGB(png, info, *tags.intent);
    if (tags.gamma) png_set_gAMA_fixed(png, info, *tags.gamma);
    if (tags.primaries) {
        const auto& p = *tags.primaries;
        png_set_cHRM_fixed(png, info, p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]);
    }
    if (profileFits(tags.profile, grey)) {
        png_set_iCCP(png, info, tags.profileName.c_str(), PNG_COMPRESSION_TYPE_BASE,
                     tags.profile.data(), static_cast<png_uint_32>(tags.profile.size()));
    }
    if (tags.density) {
        png_set_pHYs(png, info, tags.density->x, tags.density->y,
                     tags.density->perMetre ? PNG_RESOLUTION_METER : PNG_RESOLUTION_UNKNOWN);
    }
}

class PngReader : public PictureReader {
  public:
    explicit PngReader(InputFile file) : mFile(std::move(file)) {
        PictureHeader header;
        int depth = 0;
        int colours = 0;
        int interlaced = 0;
        run([&] {
            png_set_read_fn(png(), &mFile, readBytes);
            png_set_user_limits(png(), kLargestSide, kLargestSide);
            png_set_chunk_malloc_max(png(), kLargestChunk);
            png_set_chunk_cache_max(png(), kMostChunks);
            // They are read apart. Of eXIf, libpng would take memory for any promised size.
            png_set_keep_unknown_chunks(png(), PNG_HANDLE_CHUNK_NEVER, kMetadataChunks,
                                        kMetadataChunkCount);
            png_read_info(png(), info());
            png_get_IHDR(png(), info(), &header.width, &header.height, &depth, &colours,
                         &interlaced, nullptr, nullptr);
            header.alpha = (colours & PNG_COLOR_MASK_ALPHA) != 0 ||
                           png_get_valid(png(), info(), PNG_INFO_tRNS) != 0;
        });
        const std::uint64_t rawBytes =
                std::uint64_t{png_get_rowbytes(png(), info())} * header.height;
        if (mFile.size() != 0 && rawBytes / kBestCompression > mFile.size()) mFile.fail(kCutShort);
        header.grey = (colours & PNG_COLOR_MASK_COLOR) == 0;
        header.tags = readTags(png(), info());
        readMetadata(mFile, header.tags);
        const int orientation = exifOrientation(header.tags.exif.data(), header.tags.exif.size());
        run([this] {
            png_set_expand(png());
            png_set_scale_16(png());
            png_set_gray_to_rgb(png());
            png_set_add_alpha(png(), Picture::kOpaque, PNG_FILLER_AFTER);
            mPasses = png_set_interlace_handling(png());
            png_start_read_image(png());
        });
        mRowBytes = std::size_t{header.width} * Picture::kChannels;
        mRowsLeft = header.height;
        setHeader(std::move(header), depth, interlaced == PNG_INTERLACE_NONE, orientation);
    }

  private:
    struct Handles {
        PngError error;
        png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &error, onError, onWarning);
        png_infop info = png ? png_create_info_struct(png) : nullptr;

        Handles() {
            if (!info) throw std::bad_alloc();
        }
        ~Handles() { png_destroy_read_struct(&png, &info, nullptr); }
        Handles(const Handles&) = delete;
        Handles& operator=(const Handles&) = delete;
    };

    void readStored(std::uint8_t* rows, std::uint32_t count) override {
        mRowsLeft -= count;
        run([=] {
            for (int pass = 0; pass < mPasses; ++pass) {
                for (std::uint32_t y = 0; y < count; ++y) {
                    png_read_row(png(), rows + y * mRowBytes, nullptr);
                }
            }
            if (mRowsLeft == 0) png_read_end(png(), nullptr);
        });
    }

    template <typename Calls>
    void run(const Calls& calls) {
        if (!succeeds(png(), calls)) mFile.fail(mHandles.error.text);
    }

    png_structp png() const { return mHandles.png; }
    png_infop info() const { return mHandles.info; }

    InputFile mFile;
    Handles mHandles;
    int mPasses = 1;
    std::size_t mRowBytes = 0;
    std::uint32_t mRowsLeft = 0;
};

class PngWriter : public PictureWriter {
  public:
    PngWriter(PictureHeader header, Compression compression, std::FILE* file, std::string name)
        : PictureWriter(std::move(header), file, std::move(name)),
          mColours(mHeader.grey ? 1 : 3),
          mPixelBytes(mColours + (mHeader.alpha ? 1 : 0)),
          mPacked(mHeader.width * mPixelBytes),
          mPixels(mPacked.size(), mPixelBytes, compression),
          mRowsLeft(mHeader.height) {
        run([this] {
            png_set_write_fn(png(), mFile, writeBytes, flushBytes);
            png_set_user_limits(png(), kLargestSide, kLargestSide);
            const int type = (mHeader.grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB) |
                             (mHeader.alpha ? PNG_COLOR_MASK_ALPHA : 0);
            png_set_IHDR(png(), info(), mHeader.width, mHeader.height, 8, type, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
            // A damaged profile from another format is left out.
            png_set_benign_errors(png(), 1);
            writeTags(png(), info(), mHeader.tags, mHeader.grey);
            png_write_info(png(), info());
        });
        writeMetadata(mHeader.tags);
    }

    void writeRows(const std::uint8_t* rows, std::uint32_t count) override {
        const std::uint8_t* from = rows;
        for (std::uint32_t y = 0; y < count; ++y) {
            png_byte* to = mPacked.data();
            for (std::uint32_t x = 0; x < mHeader.width; ++x, from += Picture::kChannels) {
                to = std::copy_n(from, mColours, to);
                if (mHeader.alpha) *to++ = from[Picture::kChannels - 1];
            }
            mPixels.addRow(mPacked.data(), --mRowsLeft == 0);
            for (auto bytes = mPixels.next(); !bytes.empty(); bytes = mPixels.next()) {
                writeChunk("IDAT", bytes);
            }
        }
    }

    void finish() override {
        // libpng's own end expects pixels that went through it.
        writeChunk("IEND", {});
        if (std::fflush(mFile) != 0) fail(std::strerror(errno));
    }

  private:
    struct Handles {
        PngError error;
        png_structp png =
                png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, onError, onWarning);
        png_infop info = png ? png_create_info_struct(png) : nullptr;

        Handles() {
            if (!info) throw std::bad_alloc();
        }
        ~Handles() { png_destroy_write_struct(&png, &info); }
        Handles(const Handles&) = delete;
        Handles& operator=(const Handles&) = delete;
    };

    void writeMetadata(const Tags& tags) {
        if (tags.codePoints) writeChunk("cICP", {tags.codePoints->begin(), tags.codePoints->end()});
        if (!tags.exif.empty()) writeChunk("eXIf", tags.exif);
        if (!tags.xmp.empty()) {
            std::vector<png_byte> xmp(kXmpStartBytes + tags.xmp.size());
            std::copy_n(kXmpStart, kXmpStartBytes, xmp.begin());
            std::copy_n(tags.xmp.begin(), tags.xmp.size(), xmp.begin() + kXmpStartBytes);
            writeChunk("iTXt", xmp);
        }
        if (!tags.iptc.empty()) writeChunk("tEXt", iptcText(tags.iptc));
        for (const TextChunk& text : tags.texts) {
            writeChunk(text.type.c_str(), text.data);
        }
    }

    void writeChunk(const char* type, const std::vector<png_byte>& bytes) {
        run([&] {
            png_write_chunk(png(), reinterpret_cast<png_const_bytep>(type), bytes.data(),
                            bytes.size());
        });
    }

    template <typename Calls>
    void run(const Calls& calls) {
        if (!succeeds(png(), calls)) fail(mHandles.error.text);
    }

    png_structp png() const { return mHandles.png; }
    png_infop info() const { return mHandles.info; }

    Handles mHandles;
    const std::size_t mColours;
    const std::size_t mPixelBytes;
    std::vector<png_byte> mPacked;
    PngPixels mPixels;
    std::uint32_t mRowsLeft;
};

}  // namespace

std::unique_ptr<PictureReader> openPng(InputFile file) {
    return std::make_unique<PngReader>(std::move(file));
}

std::unique_ptr<PictureWriter> createPng(PictureHeader header, const Encoding& encoding,
                                         std::FILE* file, std::string name) {
    return std::make_unique<PngWriter>(std::move(header), encoding.compression, file,
                                       std::move(name));
}

}  // namespace upscale
