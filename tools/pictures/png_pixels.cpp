// SPDX-License-Identifier: Apache-2.0
#include "pictures/png_pixels.h"

#include <zlib.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <limits>
#include <new>
#include <thread>
#include <utility>

namespace upscale {
namespace {

using Bytes = PngPixels::Bytes;

constexpr std::size_t kStripBytes = 1u << 19;
constexpr std::size_t kWindowBytes = 1u << 15;
// Where runs alone compress so well, a search for repetition may be worth it, and takes little
// time.
constexpr std::size_t kFlatFactor = 8;

enum : std::uint8_t { kNone, kSub, kUp, kAverage, kPaeth, kFilterCount };

struct Deflate {
    z_stream stream = {};

    Deflate(int level, int strategy) {
        if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, strategy) != Z_OK)
            throw std::bad_alloc();
    }
    ~Deflate() { deflateEnd(&stream); }
    Deflate(const Deflate&) = delete;
    Deflate& operator=(const Deflate&) = delete;
};

// A part of a raw deflate stream that ends at a whole byte.
Bytes compressed(const Bytes& bytes, const Bytes* before, bool last, int level, int strategy) {
    Deflate deflate(level, strategy);
    z_stream& stream = deflate.stream;
    if (before) {
        const std::size_t size = std::min(before->size(), kWindowBytes);
        deflateSetDictionary(&stream, before->data() + before->size() - size,
                             static_cast<uInt>(size));
    }
    // Room for the mark at the end of a part, which the bound does not count.
    constexpr std::size_t kMark = 16;
    Bytes result(deflateBound(&stream, static_cast<uLong>(bytes.size())) + kMark);
    stream.next_in = const_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = result.data();
    stream.avail_out = static_cast<uInt>(result.size());
    ::deflate(&stream, last ? Z_FINISH : Z_SYNC_FLUSH);
    result.resize(result.size() - stream.avail_out);
    return result;
}

Bytes compressed(const Bytes& bytes, const Bytes* before, bool last, Compression compression) {
    // What filters leave of a photograph is noise: a search for repetition takes most of the time
    // and finds hardly anything.
    Bytes runs = compressed(bytes, before, last, Z_BEST_SPEED, Z_RLE);
    const bool flat = runs.size() < bytes.size() / kFlatFactor;
    const bool best = compression == Compression::Best;
    if (!best && (compression == Compression::Fast || !flat)) return runs;
    const int level = best ? Z_BEST_COMPRESSION : Z_DEFAULT_COMPRESSION;
    Bytes searched = compressed(bytes, before, last, level, Z_FILTERED);
    return searched.size() < runs.size() ? searched : runs;
}

// Signals end the command on the thread that owns its files: a new thread takes none.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &mBefore);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t mBefore;
};

std::uint8_t difference(int value, int predicted) {
    return static_cast<std::uint8_t>(value - predicted);
}

int paeth(int left, int above, int corner) {
    const int toLeft = std::abs(above - corner);
    const int toAbove = std::abs(left - corner);
    const int toCorner = std::abs(left + above - 2 * corner);
    const int other = toAbove <= toCorner ? above : corner;
    return toLeft <= toAbove && toLeft <= toCorner ? left : other;
}

}  // namespace

PngPixels::PngPixels(std::size_t rowBytes, std::size_t pixelBytes, Compression compression)
    : mRowBytes(rowBytes),
      mPixelBytes(pixelBytes),
      mCompression(compression),
      mMostUnderWay(std::clamp(std::thread::hardware_concurrency(), 1u, 8u)),
      mAbove(rowBytes + pixelBytes),
      mCandidates(kFilterCount, Bytes(rowBytes)) {}

void PngPixels::addRow(const std::uint8_t* row, bool last) {
    filter(row, mFiltered);
    mEnded = last;
    if (last || mFiltered.size() >= kStripBytes) startStrip(last);
}

void PngPixels::filter(const std::uint8_t* row, Bytes& to) {
    // The rows with a pixel of 0 to their left, so that all pixels are treated alike.
    Bytes padded(mPixelBytes + mRowBytes);
    std::copy_n(row, mRowBytes, padded.begin() + static_cast<std::ptrdiff_t>(mPixelBytes));
    const std::uint8_t* is = padded.data() + mPixelBytes;
    const std::uint8_t* left = padded.data();
    const std::uint8_t* above = mAbove.data() + mPixelBytes;
    const std::uint8_t* corner = mAbove.data();
    for (std::size_t i = 0; i < mRowBytes; ++i) {
        mCandidates[kNone][i] = is[i];
    }
    std::uint8_t* const sub = mCandidates[kSub].data();
    std::uint8_t* const up = mCandidates[kUp].data();
    std::uint8_t* const average = mCandidates[kAverage].data();
    std::uint8_t* const best = mCandidates[kPaeth].data();
    for (std::size_t i = 0; i < mRowBytes; ++i) {
        sub[i] = difference(is[i], left[i]);
        up[i] = difference(is[i], above[i]);
        average[i] = difference(is[i], (left[i] + above[i]) / 2);
    }
    for (std::size_t i = 0; i < mRowBytes; ++i) {
        best[i] = difference(is[i], paeth(left[i], above[i], corner[i]));
    }
    // The usual guess at what compresses best: the smallest sum of signed values' sizes.
    std::uint8_t chosen = kNone;
    std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
    for (std::uint8_t candidate = kNone; candidate < kFilterCount; ++candidate) {
        std::uint64_t sum = 0;
        for (const std::uint8_t byte : mCandidates[candidate]) {
            sum += static_cast<unsigned>(byte < 128 ? byte : 256 - byte);
        }
        if (sum < least) {
            least = sum;
            chosen = candidate;
        }
    }
    to.push_back(chosen);
    to.insert(to.end(), mCandidates[chosen].begin(), mCandidates[chosen].end());
    mAbove.swap(padded);
}

void PngPixels::startStrip(bool last) {
    auto strip = std::make_shared<const Bytes>(std::exchange(mFiltered, {}));
    auto before = std::exchange(mBefore, strip);
    const auto run = [strip, before, last, compression = mCompression] {
        const std::uint32_t adler = static_cast<std::uint32_t>(
                adler32(1, strip->data(), static_cast<uInt>(strip->size())));
        return Strip{compressed(*strip, before.get(), last, compression), adler, strip->size()};
    };
    const SignalsBlocked blocked;
    mUnderWay.push_back(std::async(std::launch::async, run));
}

PngPixels::Bytes PngPixels::next() {
    if (mUnderWay.empty() || (!mEnded && mUnderWay.size() <= mMostUnderWay)) return {};
    Strip strip = mUnderWay.front().get();
    mUnderWay.pop_front();
    mAdler = static_cast<std::uint32_t>(
            adler32_combine(mAdler, strip.adler, static_cast<z_off_t>(strip.size)));
    Bytes& bytes = strip.compressed;
    if (!mBegun) {
        // The header of a zlib stream: deflate with the largest window.
        bytes.insert(bytes.begin(), {0x78, 0x5e});
        mBegun = true;
    }
    if (mEnded && mUnderWay.empty()) {
        for (const int shift : {24, 16, 8, 0}) {
            bytes.push_back(static_cast<std::uint8_t>(mAdler >> shift));
        }
    }
    return std::move(bytes);
}

}  // namespace upscale
