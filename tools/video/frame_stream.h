// SPDX-License-Identifier: Apache-2.0
/// @file
/// Frames in and out through files and pipes.
#ifndef UPSCALER_TOOLS_VIDEO_FRAME_STREAM_H
#define UPSCALER_TOOLS_VIDEO_FRAME_STREAM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "video/y4m.h"

namespace upscale {

/// Bytes, one after the other.
class ByteSource {
  public:
    explicit ByteSource(std::string name) : mName(std::move(name)) {}
    virtual ~ByteSource() = default;
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// For messages.
    const std::string& name() const { return mName; }
    /// @return less than `size` only at the end. Throws `Failure`.
    virtual std::size_t read(void* data, std::size_t size) = 0;

  private:
    std::string mName;
};

/// The bytes of a file, or of standard input.
class FileSource : public ByteSource {
  public:
    /// @param path "-" means standard input. Throws `Failure`.
    explicit FileSource(const std::string& path);
    ~FileSource() override;

    /// Its size in bytes; 0 if that cannot be known, as of a pipe.
    std::uint64_t size() const { return mSize; }
    std::size_t read(void* data, std::size_t size) override;
    /// Makes every `read`, one that waits included, come to the end. Any thread.
    void cancel();

  private:
    std::size_t readSome(void* data, std::size_t size);

    int mFile = -1;
    int mCancel = -1;
    std::uint64_t mSize = 0;
    std::vector<std::uint8_t> mAhead;
    std::size_t mAheadAt = 0;
};

/// The frames of a Y4M stream, or of a raw one, which is nothing but frames.
class FrameReader {
  public:
    /// Reads a Y4M stream's header. `source` outlives this. Throws `Failure`.
    explicit FrameReader(ByteSource& source);
    /// Of raw RGBA frames.
    FrameReader(ByteSource& source, std::uint32_t width, std::uint32_t height);

    bool isRaw() const { return mRaw; }
    const Y4mHeader& header() const { return mHeader; }

    /// Reads the next frame. Throws `Failure` if it is not whole.
    /// @param frame gets as many bytes as the format says. @param parameters the frame's own, with
    ///     the space before them. @return false at the end, also if that is where the first frame
    ///     should be.
    bool next(std::uint8_t* frame, std::string& parameters);

  private:
    /// @return whether the line, which may be too long, has its end.
    bool readLine(std::string& line);

    ByteSource& mSource;
    const bool mRaw;
    Y4mHeader mHeader;
    std::uint64_t mFrames = 0;
};

/// Writes bytes to a file or pipe, and does not close it.
class ByteSink {
  public:
    /// @param name for messages. @param file a descriptor.
    ByteSink(std::string name, int file);

    /// Throws `Failure`. If a pipe's reader is gone, this ends the process by SIGPIPE, as it ends
    /// any filter: quietly, and yet not as if all had been written.
    void write(const void* data, std::size_t size);

  private:
    std::string mName;
    int mFile;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_VIDEO_FRAME_STREAM_H
