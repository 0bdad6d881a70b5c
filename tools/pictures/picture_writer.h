// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_PICTURE_WRITER_H
#define UPSCALER_TOOLS_PICTURES_PICTURE_WRITER_H

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pictures/picture_reader.h"
#include "pictures/rows.h"

namespace upscale {

/// How long a lossless format may take to make a file small.
enum class Compression { Fast, Default, Best };

/// How a picture is to be stored.
struct Encoding {
    /// 1 to 100, or nothing for the format's default. A format without a quality does not look at
    /// it.
    std::optional<int> quality;
    Compression compression = Compression::Default;
};

/// Writes one picture: its rows, and then `finish`. The header says whether it is grey, of which
/// only the first colour is looked at, and opaque, of which alpha is not. Members throw `Failure`
/// with the file's name.
class PictureWriter : public RowSink {
  public:
    /// @param file outlives the writer, which does not close it. @param name the file as `Failure`
    ///     names it.
    PictureWriter(PictureHeader header, std::FILE* file, std::string name)
        : mHeader(std::move(header)), mFile(file), mName(std::move(name)) {}
    PictureWriter(const PictureWriter&) = delete;
    PictureWriter& operator=(const PictureWriter&) = delete;

    /// Writes what comes after the last row.
    virtual void finish() = 0;

    /// What of the header the format cannot hold, as the user calls it. Known once the writer is
    /// made.
    const std::vector<std::string>& dropped() const { return mDropped; }

  protected:
    /// Notes what is dropped if there is any.
    template <typename Value>
    void drop(const Value& value, const char* what) {
        if (!value.empty()) mDropped.push_back(what);
    }
    /// Notes what is dropped of the colours; nothing if readers take the pixels for sRGB anyway.
    /// @param profileKept whether the profile, which counts before all but the code points, stays.
    /// @param codePointsKept whether those of cICP do.
    void dropColours(bool profileKept, bool codePointsKept = false);
    void dropDensity();
    [[noreturn]] void fail(const std::string& reason) const;

    const PictureHeader mHeader;
    std::FILE* const mFile;
    const std::string mName;

  private:
    std::vector<std::string> mDropped;
};

/// A writer that needs all pixels at once.
class WholePictureWriter : public PictureWriter {
  public:
    using PictureWriter::PictureWriter;

    /// All rows in one call are not copied.
    void writeRows(const std::uint8_t* rows, std::uint32_t count) final;
    void finish() final {}

  protected:
    /// @param pixels all rows; see `Picture`.
    virtual void write(const std::uint8_t* pixels) = 0;

  private:
    std::vector<std::uint8_t> mPixels;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PICTURE_WRITER_H
