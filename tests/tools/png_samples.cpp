// SPDX-License-Identifier: Apache-2.0
#include "png_samples.h"

#include <zlib.h>

#include <cstdio>
#include <memory>

#include "command.h"
#include "folder.h"
#include "tools/failure.h"
#include "tools/png_file.h"

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace

void makePng(const std::string& path, const std::string& size, const std::string& options) {
    EXPECT_EQ(shell("convert -size " + size + " xc:teal -seed 7 +noise Random " + options + " " +
                    path)
                      .err,
              "");
}

void savePng(const std::string& path, const upscale::Picture& picture) {
    const File file(std::fopen(path.c_str(), "wb"));
    upscale::writePng(picture, file.get(), path);
}

upscale::Picture loadPng(const std::string& path) {
    return upscale::openPicture(path)->read();
}

upscale::Picture loaded(const std::string& bytes) {
    writeBytes("in", bytes);
    return loadPng("in");
}

std::string reasonOf(const std::string& bytes) {
    try {
        loaded(bytes);
    } catch (const upscale::Failure& failure) {
        return failure.what();
    }
    return "";
}

int storedColourType(const std::string& path) {
    return readBytes(path).at(25);
}

std::string withHeaderSize(std::string png, std::uint32_t width, std::uint32_t height) {
    const auto put = [&png](std::size_t at, unsigned long value) {
        for (const int shift : {24, 16, 8, 0})
            png.at(at++) = static_cast<char>(value >> shift);
    };
    put(16, width);
    put(20, height);
    // The checksum covers the chunk's type and its 13 bytes.
    put(29, crc32(0, reinterpret_cast<const Bytef*>(png.data()) + 12, 17));
    return png;
}
