// SPDX-License-Identifier: Apache-2.0
#include "video/frame_stream.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "common/failure.h"

namespace upscale {
namespace {

constexpr std::size_t kAheadBytes = 4096;
// What an unprivileged process may have. A frame goes through a pipe in fewer turns then.
constexpr int kPipeBytes = 1 << 20;

[[noreturn]] void fail(const std::string& name, int error) {
    throw Failure(Exit::Failed, name, std::strerror(error));
}

// A wish: pipes that are full, or not pipes, stay as they are.
void widenPipe(int file) {
    if (fcntl(file, F_GETPIPE_SZ) < kPipeBytes) fcntl(file, F_SETPIPE_SZ, kPipeBytes);
}

}  // namespace

FileSource::FileSource(const std::string& path)
    : ByteSource(path == "-" ? "standard input" : path) {
    // A copy of standard input, so that both kinds are closed.
    mFile = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                        : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (mFile < 0 || fstat(mFile, &status) != 0 ||
        (mCancel = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) < 0) {
        const int error = errno;
        if (mFile >= 0) close(mFile);
        fail(name(), error);
    }
    if (S_ISREG(status.st_mode)) mSize = static_cast<std::uint64_t>(status.st_size);
    widenPipe(mFile);
}

FileSource::~FileSource() {
    close(mFile);
    close(mCancel);
}

void FileSource::cancel() {
    const std::uint64_t one = 1;
    static_cast<void>(!::write(mCancel, &one, sizeof(one)));
}

std::size_t FileSource::readSome(void* data, std::size_t size) {
    for (;;) {
        pollfd waits[] = {{mFile, POLLIN, 0}, {mCancel, POLLIN, 0}};
        if (poll(waits, 2, -1) >= 0) {
            if (waits[1].revents != 0) return 0;
            const ssize_t got = ::read(mFile, data, size);
            if (got >= 0) return static_cast<std::size_t>(got);
        }
        // The maker of the pipe may have made it non-blocking: the poll above waits for input.
        if (errno != EINTR && errno != EAGAIN) fail(name(), errno);
    }
}

std::size_t FileSource::read(void* data, std::size_t size) {
    auto* to = static_cast<std::uint8_t*>(data);
    std::size_t done = 0;
    while (done < size) {
        const std::size_t ahead = std::min(size - done, mAhead.size() - mAheadAt);
        std::copy_n(mAhead.data() + mAheadAt, ahead, to + done);
        mAheadAt += ahead;
        done += ahead;
        if (done == size) break;

        std::size_t got = 0;
        if (size - done >= kAheadBytes) {
            got = readSome(to + done, size - done);
            done += got;
        } else {
            mAhead.resize(kAheadBytes);
            got = readSome(mAhead.data(), kAheadBytes);
            mAhead.resize(got);
            mAheadAt = 0;
        }
        if (got == 0) break;
    }
    return done;
}

FrameReader::FrameReader(ByteSource& source) : mSource(source), mRaw(false) {
    std::string line;
    const bool ended = readLine(line);
    if (line.empty() && !ended) throw Failure(Exit::Failed, source.name(), "the input is empty");
    if (!ended && line.compare(0, sizeof(kY4mStreamWord) - 1, kY4mStreamWord) == 0)
        throw Failure(Exit::Failed, source.name(), "the Y4M header does not end");
    mHeader = parseY4mHeader(line, source.name());
}

FrameReader::FrameReader(ByteSource& source, std::uint32_t width, std::uint32_t height)
    : mSource(source), mRaw(true) {
    mHeader.format.width = width;
    mHeader.format.height = height;
    mHeader.format.sampling = Sampling::Rgba;
}

bool FrameReader::readLine(std::string& line) {
    line.clear();
    for (char next = 0; line.size() < kLongestY4mLine && mSource.read(&next, 1) == 1;) {
        if (next == '\n') return true;
        line += next;
    }
    return false;
}

bool FrameReader::next(std::uint8_t* frame, std::string& parameters) {
    const std::string place = "frame " + std::to_string(mFrames + 1);
    const auto cutShort = [&] {
        return Failure(Exit::Failed, mSource.name(), "cut short in " + place);
    };
    if (!mRaw) {
        std::string line;
        if (!readLine(line)) {
            if (line.empty()) return false;
            if (line.size() < kLongestY4mLine) throw cutShort();
        }
        parameters = parseY4mFrameLine(line, mSource.name(), place);
    }
    const std::size_t bytes = mHeader.format.bytes();
    const std::size_t got = mSource.read(frame, bytes);
    if (got == 0 && mRaw) return false;
    if (got < bytes) throw cutShort();
    ++mFrames;
    return true;
}

ByteSink::ByteSink(std::string name, int file) : mName(std::move(name)), mFile(file) {
    widenPipe(mFile);
}

void ByteSink::write(const void* data, std::size_t size) {
    const auto* from = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        const ssize_t done = ::write(mFile, from, size);
        if (done >= 0) {
            from += done;
            size -= static_cast<std::size_t>(done);
        } else if (errno == EAGAIN) {
            pollfd wait = {mFile, POLLOUT, 0};
            poll(&wait, 1, -1);
        } else if (errno == EPIPE) {
            // Whoever started this may have it ignore the signal.
            std::signal(SIGPIPE, SIG_DFL);
            raise(SIGPIPE);
        } else if (errno != EINTR) {
            fail(mName, errno);
        }
    }
}

}  // namespace upscale
