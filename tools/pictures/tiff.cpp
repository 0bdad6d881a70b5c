// SPDX-License-Identifier: Apache-2.0
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

#include "common/failure.h"
#include "pictures/codecs.h"
#include "pictures/metadata.h"

namespace upscale {
namespace {

constexpr double kMetresPerInch = 0.0254;
constexpr std::uint32_t kLargestSide = 1u << 20;
// Rows come by whole strips or rows of tiles, with all that libtiff needs for one.
constexpr std::uint64_t kMostStreamed = 64u << 20;
constexpr std::uint64_t kLargestBand = 1u << 30;
// None of the compressions below does better than JPEG, see there.
constexpr std::uint64_t kMostPixelsPerByte = 64 * 8 * 16;
constexpr int kCompressions[] = {COMPRESSION_NONE,          COMPRESSION_LZW,
                                 COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE,
                                 COMPRESSION_PACKBITS,      COMPRESSION_JPEG};
constexpr std::uint64_t kStripBytes = 1u << 19;
// Offsets have 32 bits in a file that every reader knows.
constexpr std::uint64_t kMostClassic = 3ull << 30;

// A TIFF file on a C stream that it does not own.
class TiffFile {
  public:
    TiffFile(std::FILE* file, const char* mode) : mFile(file) {
        TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
        TIFFOpenOptionsSetErrorHandlerExtR(options, onError, this);
        TIFFOpenOptionsSetWarningHandlerExtR(
                options, [](TIFF*, void*, const char*, const char*, va_list) { return 1; }, this);
        TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(kLargestBand));
        mTiff = TIFFClientOpenExt(
                "", mode, this, read, write, seek, [](thandle_t) { return 0; }, size, nullptr,
                nullptr, options);
        TIFFOpenOptionsFree(options);
    }
    ~TiffFile() { close(); }
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;

    void close() {
        if (mTiff) TIFFClose(mTiff);
        mTiff = nullptr;
    }
    TIFF* tiff() const { return mTiff; }
    std::string error() const {
        if (mErrno != 0) return std::strerror(mErrno);
        return mCutShort ? kCutShort : mText.empty() ? "the file is damaged" : mText;
    }

    // A field of one value, or of a count and a pointer.
    template <typename Value>
    Value get(std::uint32_t tag, Value otherwise) const {
        Value value = {};
        return TIFFGetFieldDefaulted(mTiff, tag, &value) ? value : otherwise;
    }
    std::vector<std::uint8_t> bytes(std::uint32_t tag) const {
        std::uint32_t count = 0;
        const std::uint8_t* data = nullptr;
        if (!TIFFGetField(mTiff, tag, &count, &data) || count > kLargestProfile) return {};
        return {data, data + count};
    }
    void set(std::uint32_t tag, const std::vector<std::uint8_t>& bytes) {
        if (bytes.empty()) return;
        TIFFSetField(mTiff, tag, static_cast<std::uint32_t>(bytes.size()), bytes.data());
    }

  private:
    static TiffFile& self(thandle_t handle) { return *static_cast<TiffFile*>(handle); }

    static int onError(TIFF*, void* handle, const char*, const char* format, va_list values) {
        char text[256];
        std::vsnprintf(text, sizeof(text), format, values);
        if (self(handle).mText.empty()) self(handle).mText = text;
        return 1;
    }
    static tmsize_t read(thandle_t handle, void* data, tmsize_t size) {
        const auto wanted = static_cast<std::size_t>(size);
        const std::size_t got = std::fread(data, 1, wanted, self(handle).mFile);
        if (got < wanted) self(handle).mCutShort = true;
        if (std::ferror(self(handle).mFile)) self(handle).mErrno = errno;
        return static_cast<tmsize_t>(got);
    }
    static tmsize_t write(thandle_t handle, void* data, tmsize_t size) {
        const auto wanted = static_cast<std::size_t>(size);
        const std::size_t done = std::fwrite(data, 1, wanted, self(handle).mFile);
        if (done < wanted) self(handle).mErrno = errno;
        return static_cast<tmsize_t>(done);
    }
    static toff_t seek(thandle_t handle, toff_t offset, int from) {
        std::FILE* file = self(handle).mFile;
        if (fseeko(file, static_cast<off_t>(offset), from) != 0) {
            self(handle).mErrno = errno;
            return static_cast<toff_t>(-1);
        }
        return static_cast<toff_t>(ftello(file));
    }
    static toff_t size(thandle_t handle) {
        std::FILE* file = self(handle).mFile;
        const off_t at = ftello(file);
        fseeko(file, 0, SEEK_END);
        const off_t size = ftello(file);
        fseeko(file, at, SEEK_SET);
        return static_cast<toff_t>(size);
    }

    std::FILE* mFile;
    TIFF* mTiff = nullptr;
    std::string mText;
    int mErrno = 0;
    bool mCutShort = false;
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, CloseFile>;

// The file, where a place in it can be sought.
UniqueFile seekable(InputFile& input) {
    if (input.size() != 0) {
        UniqueFile file(std::fopen(input.path().c_str(), "rbe"));
        if (!file) input.fail(std::strerror(errno));
        return file;
    }
    const std::vector<std::uint8_t> bytes = input.readAll();
    UniqueFile file(std::tmpfile());
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fflush(file.get()) != 0)
        input.fail(std::strerror(errno));
    std::rewind(file.get());
    return file;
}

std::optional<Density> densityOf(const TiffFile& file) {
    const auto x = static_cast<double>(file.get<float>(TIFFTAG_XRESOLUTION, 0));
    const auto y = static_cast<double>(file.get<float>(TIFFTAG_YRESOLUTION, 0));
    const auto unit = file.get<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    const double factor = unit == RESUNIT_INCH         ? 1 / kMetresPerInch
                          : unit == RESUNIT_CENTIMETER ? 100
                                                       : 1;
    constexpr double kMost = 1u << 30;
    if (!(x * factor >= 1 && y * factor >= 1 && x * factor < kMost && y * factor < kMost))
        return std::nullopt;
    return Density{static_cast<std::uint32_t>(std::lround(x * factor)),
                   static_cast<std::uint32_t>(std::lround(y * factor)), unit != RESUNIT_NONE};
}

class TiffReader : public PictureReader {
  public:
    explicit TiffReader(InputFile input)
        : mInput(std::move(input)), mStream(seekable(mInput)), mFile(mStream.get(), "rm") {
        if (!mFile.tiff()) fail();
        PictureHeader header;
        header.width = mFile.get<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
        header.height = mFile.get<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
        if (header.width - 1 >= kLargestSide || header.height - 1 >= kLargestSide)
            mInput.fail("the size is not supported");
        readLayout();
        header.grey = mGrey;
        header.alpha = mAlpha;
        expectPixels(header);
        Tags& tags = header.tags;
        tags.profile = mFile.bytes(TIFFTAG_ICCPROFILE);
        tags.xmp = mFile.bytes(TIFFTAG_XMLPACKET);
        tags.iptc = mFile.bytes(TIFFTAG_PHOTOSHOP);
        if (mInput.size() != 0) tags.exif = exifOfTiff(mInput.path());
        tags.density = densityOf(mFile);
        const int orientation = mFile.get<std::uint16_t>(TIFFTAG_ORIENTATION, 1);
        mWidth = header.width;
        mHeight = header.height;
        mStored.resize(std::size_t{mWidth} * mSamples);
        setHeader(std::move(header), mDepth, mBandBytes <= kMostStreamed,
                  orientation >= 1 && orientation <= 8 ? orientation : 1);
    }

  private:
    [[noreturn]] void fail() { mInput.fail(mFile.error()); }

    void readLayout() {
        const int compression = mFile.get<std::uint16_t>(TIFFTAG_COMPRESSION, 0);
        if (std::find(std::begin(kCompressions), std::end(kCompressions), compression) ==
            std::end(kCompressions))
            mInput.fail("the compression is not supported");
        int space = mFile.get<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_PALETTE);
        if (space == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG) {
            TIFFSetField(mFile.tiff(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
            space = PHOTOMETRIC_RGB;
        }
        if (space == PHOTOMETRIC_SEPARATED)
            mInput.fail("the colours are CMYK; convert them to RGB first");
        mGrey = space == PHOTOMETRIC_MINISBLACK || space == PHOTOMETRIC_MINISWHITE;
        mInverted = space == PHOTOMETRIC_MINISWHITE;
        const bool palette = space == PHOTOMETRIC_PALETTE;
        if (!mGrey && !palette && space != PHOTOMETRIC_RGB)
            mInput.fail("the colours are neither grey nor RGB");
        mColours = mGrey || palette ? 1 : 3;
        mDepth = mFile.get<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
        const int form = mFile.get<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
        if (mDepth == 0 || 16 % mDepth != 0 || form != SAMPLEFORMAT_UINT)
            mInput.fail("the samples are not whole numbers of 1, 2, 4, 8 or 16 bits");
        mFactor = 65535 / ((1u << mDepth) - 1);
        if (palette) {
            mFactor = 1;
            std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
            if (mDepth > 8 || !TIFFGetField(mFile.tiff(), TIFFTAG_COLORMAP, &red, &green, &blue))
                mInput.fail("the file is damaged");
            for (const std::uint16_t* colour : {red, green, blue}) {
                mPalette.emplace_back(colour, colour + (std::size_t{1} << mDepth));
            }
        }
        mSamples = mFile.get<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
        if (mSamples < mColours) mInput.fail("the file is damaged");
        std::uint16_t extras = 0;
        const std::uint16_t* kinds = nullptr;
        TIFFGetFieldDefaulted(mFile.tiff(), TIFFTAG_EXTRASAMPLES, &extras, &kinds);
        const int kind = extras > 0 && mSamples > mColours ? kinds[0] : EXTRASAMPLE_UNSPECIFIED;
        mAlpha = kind != EXTRASAMPLE_UNSPECIFIED;
        mPremultiplied = kind == EXTRASAMPLE_ASSOCALPHA;
        mSeparate = mFile.get<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) ==
                    PLANARCONFIG_SEPARATE;
    }

    void expectPixels(const PictureHeader& header) {
        TIFF* tiff = mFile.tiff();
        const std::uint64_t size =
                static_cast<std::uint64_t>(TIFFGetSizeProc(tiff)(TIFFClientdata(tiff)));
        const std::uint64_t pixels = std::uint64_t{header.width} * header.height;
        if (pixels / kMostPixelsPerByte > size) mInput.fail(kCutShort);
        mTiled = TIFFIsTiled(tiff) != 0;
        mPartWidth = mTiled ? mFile.get<std::uint32_t>(TIFFTAG_TILEWIDTH, 0) : header.width;
        mPartHeight =
                mFile.get<std::uint32_t>(mTiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, 0);
        if (!mTiled) mPartHeight = std::min(mPartHeight, header.height);
        const tmsize_t bytes = mTiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
        if (mPartWidth == 0 || mPartHeight == 0 || bytes <= 0) mInput.fail("the file is damaged");
        mPartBytes = static_cast<std::size_t>(bytes);
        mAcross = (header.width - 1) / mPartWidth + 1;
        mParts = std::uint64_t{mAcross} * (mSeparate ? mSamples : 1);
        mBandBytes = mParts * mPartBytes;
        if (mBandBytes / (kMostPixelsPerByte * Picture::kChannels) > size) mInput.fail(kCutShort);
        if (mPartBytes > kLargestBand || mBandBytes > kLargestBand)
            mInput.fail("the strips or tiles are too large");
    }

    // The strips or tiles at a row: those of a plane after each other, plane after plane.
    void readBand(std::uint32_t y) {
        mBand.resize(mBandBytes);
        for (std::uint64_t part = 0; part < mParts; ++part) {
            const auto x = static_cast<std::uint32_t>(part % mAcross) * mPartWidth;
            const auto plane = static_cast<std::uint16_t>(part / mAcross);
            std::uint8_t* to = mBand.data() + part * mPartBytes;
            const auto most = static_cast<tmsize_t>(mPartBytes);
            TIFF* tiff = mFile.tiff();
            const tmsize_t got =
                    mTiled ? TIFFReadEncodedTile(tiff, TIFFComputeTile(tiff, x, y, 0, plane), to,
                                                 most)
                           : TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, y, plane), to, most);
            const std::size_t rows = std::min(mPartHeight, mHeight - y);
            const std::size_t wanted = mTiled ? mPartBytes : rows * (mPartBytes / mPartHeight);
            if (got < 0 || static_cast<std::size_t>(got) < wanted) fail();
        }
    }

    // The samples of a row: indices into the palette, or on a scale to 65535.
    void unpack(std::uint32_t y) {
        const std::size_t together = mSeparate ? 1 : mSamples;
        const auto depth = static_cast<unsigned>(mDepth);
        const std::size_t rowBytes = mPartBytes / mPartHeight;
        for (std::uint64_t part = 0; part < mParts; ++part) {
            const std::size_t x = part % mAcross * mPartWidth;
            const std::size_t count = std::min<std::size_t>(mPartWidth, mWidth - x);
            const std::uint8_t* from = mBand.data() + part * mPartBytes + y * rowBytes;
            std::uint16_t* to = mStored.data() + x * mSamples + part / mAcross;
            for (std::size_t i = 0; i < count * together; ++i) {
                unsigned sample = 0;
                if (depth == 16) {
                    std::uint16_t word = 0;
                    std::memcpy(&word, from + 2 * i, 2);
                    sample = word;
                } else {
                    const std::size_t bit = i * depth;
                    sample = from[bit / 8] >> (8 - depth - bit % 8) & ((1u << depth) - 1);
                }
                to[mSeparate ? i * mSamples : i] = static_cast<std::uint16_t>(sample * mFactor);
            }
        }
    }

    void readStored(std::uint8_t* rows, std::uint32_t count) override {
        for (std::uint32_t i = 0; i < count; ++i, ++mNextRow) {
            const std::uint32_t within = mNextRow % mPartHeight;
            if (within == 0) readBand(mNextRow);
            unpack(within);
            const std::uint16_t* from = mStored.data();
            for (std::uint32_t x = 0; x < mWidth; ++x, from += mSamples) {
                const unsigned alpha = mAlpha ? from[mColours] : 65535;
                for (unsigned c = 0; c < 3; ++c) {
                    unsigned value = from[mColours == 1 ? 0 : c];
                    if (!mPalette.empty()) value = mPalette[c][value];
                    if (mInverted) value = 65535 - value;
                    if (mPremultiplied && alpha != 0)
                        value = std::min(65535u, (value * 65535u + alpha / 2) / alpha);
                    *rows++ = static_cast<std::uint8_t>((value + 128) / 257);
                }
                *rows++ = static_cast<std::uint8_t>((alpha + 128) / 257);
            }
        }
        if (mNextRow == mHeight) mBand = {};
    }

    InputFile mInput;
    UniqueFile mStream;
    TiffFile mFile;
    std::size_t mColours = 3;
    std::size_t mSamples = 3;
    int mDepth = 8;
    unsigned mFactor = 1;
    std::vector<std::vector<std::uint16_t>> mPalette;
    bool mGrey = false;
    bool mAlpha = false;
    bool mPremultiplied = false;
    bool mInverted = false;
    bool mSeparate = false;
    bool mTiled = false;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
    std::uint32_t mPartWidth = 0;
    std::uint32_t mPartHeight = 0;
    std::size_t mPartBytes = 0;
    std::uint32_t mAcross = 1;
    std::uint64_t mParts = 1;
    std::uint64_t mBandBytes = 0;
    std::vector<std::uint8_t> mBand;
    std::vector<std::uint16_t> mStored;
    std::uint32_t mNextRow = 0;
};

class TiffWriter : public PictureWriter {
  public:
    TiffWriter(PictureHeader header, Compression compression, std::FILE* file, std::string name)
        : PictureWriter(std::move(header), file, std::move(name)),
          mColours(mHeader.grey ? 1 : 3),
          mPacked(mHeader.width * (mColours + (mHeader.alpha ? 1 : 0))),
          mTiff(mFile, mPacked.size() * mHeader.height > kMostClassic ? "w8m" : "wm") {
        TIFF* tiff = mTiff.tiff();
        if (!tiff) fail(mTiff.error());
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, mHeader.width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, mHeader.height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, mPacked.size() / mHeader.width);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                     mHeader.grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        const std::uint16_t alpha = EXTRASAMPLE_UNASSALPHA;
        if (mHeader.alpha) TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        TIFFSetField(tiff, TIFFTAG_ZIPQUALITY,
                     compression == Compression::Fast      ? 1
                     : compression == Compression::Default ? 6
                                                           : 9);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP,
                     static_cast<std::uint32_t>(
                             std::max<std::uint64_t>(1, kStripBytes / mPacked.size())));
        writeTags(mHeader.tags);
    }

    void writeRows(const std::uint8_t* rows, std::uint32_t count) override {
        for (std::uint32_t i = 0; i < count; ++i) {
            std::uint8_t* to = mPacked.data();
            for (std::uint32_t x = 0; x < mHeader.width; ++x, rows += Picture::kChannels) {
                to = std::copy_n(rows, mColours, to);
                if (mHeader.alpha) *to++ = rows[Picture::kChannels - 1];
            }
            if (TIFFWriteScanline(mTiff.tiff(), mPacked.data(), mNextRow++) < 0)
                fail(mTiff.error());
        }
    }

    void finish() override {
        if (!TIFFFlush(mTiff.tiff())) fail(mTiff.error());
        mTiff.close();
        if (std::fflush(mFile) != 0) fail(std::strerror(errno));
    }

  private:
    void writeTags(const Tags& tags) {
        const bool profile = profileFits(tags.profile, mHeader.grey);
        if (profile) mTiff.set(TIFFTAG_ICCPROFILE, tags.profile);
        mTiff.set(TIFFTAG_XMLPACKET, tags.xmp);
        mTiff.set(TIFFTAG_PHOTOSHOP, tags.iptc);
        if (tags.density) {
            const bool perMetre = tags.density->perMetre;
            const double factor = perMetre ? kMetresPerInch : 1;
            TIFFSetField(mTiff.tiff(), TIFFTAG_XRESOLUTION, tags.density->x * factor);
            TIFFSetField(mTiff.tiff(), TIFFTAG_YRESOLUTION, tags.density->y * factor);
            TIFFSetField(mTiff.tiff(), TIFFTAG_RESOLUTIONUNIT,
                         perMetre ? RESUNIT_INCH : RESUNIT_NONE);
        }
        dropColours(profile);
        drop(tags.exif, "EXIF data");
        drop(tags.texts, "texts");
    }

    const std::size_t mColours;
    std::vector<std::uint8_t> mPacked;
    TiffFile mTiff;
    std::uint32_t mNextRow = 0;
};

}  // namespace

std::unique_ptr<PictureReader> openTiff(InputFile file) {
    return std::make_unique<TiffReader>(std::move(file));
}

std::unique_ptr<PictureWriter> createTiff(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name) {
    return std::make_unique<TiffWriter>(std::move(header), encoding.compression, file,
                                        std::move(name));
}

}  // namespace upscale
