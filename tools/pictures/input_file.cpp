// SPDX-License-Identifier: Apache-2.0
#include "pictures/input_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/failure.h"

namespace upscale {
namespace {

constexpr std::size_t kHeadBytes = 12;
// More than the largest picture that a driver takes needs, well compressed or not.
constexpr std::uint64_t kMostBytes = 1ull << 30;
constexpr std::size_t kBlockBytes = 1u << 20;

}  // namespace

InputFile::InputFile(std::string path) : mPath(std::move(path)) {
    mFile.reset(std::fopen(mPath.c_str(), "rbe"));
    if (!mFile) fail(std::strerror(errno));
    struct stat status = {};
    if (fstat(fileno(mFile.get()), &status) != 0) fail(std::strerror(errno));
    if (S_ISDIR(status.st_mode)) fail(std::strerror(EISDIR));
    if (S_ISREG(status.st_mode)) mSize = static_cast<std::uint64_t>(status.st_size);

    char head[kHeadBytes];
    mHead.assign(head, std::fread(head, 1, kHeadBytes, mFile.get()));
    if (failed()) fail(std::strerror(errno));
    if (mHead.empty()) fail("the file is empty");
}

std::size_t InputFile::read(void* data, std::size_t size) {
    const std::size_t fromHead = std::min(size, mHead.size() - mHeadRead);
    std::memcpy(data, mHead.data() + mHeadRead, fromHead);
    mHeadRead += fromHead;
    if (fromHead == size) return size;
    auto* rest = static_cast<std::uint8_t*>(data) + fromHead;
    return fromHead + std::fread(rest, 1, size - fromHead, mFile.get());
}

bool InputFile::skip(std::uint64_t size) {
    return fseeko(mFile.get(), static_cast<off_t>(size), SEEK_CUR) == 0;
}

std::vector<std::uint8_t> InputFile::readAll() {
    if (mSize > kMostBytes) fail("the file is too large");
    std::vector<std::uint8_t> bytes;
    std::size_t got = 0;
    // The size is a hint only: the file may be a pipe, or grow.
    for (std::size_t step = mSize + 1;; step = kBlockBytes) {
        bytes.resize(got + step);
        const std::size_t now = read(bytes.data() + got, step);
        got += now;
        if (now < step) break;
        if (got > kMostBytes) fail("the file is too large");
    }
    if (failed()) fail(std::strerror(errno));
    bytes.resize(got);
    return bytes;
}

void InputFile::fail(const std::string& reason) const {
    throw Failure(Exit::Failed, mPath, reason);
}

}  // namespace upscale
