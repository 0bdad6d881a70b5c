// SPDX-License-Identifier: Apache-2.0
#include <vector>

#include "memory_file.h"
#include "tools/common/failure.h"
#include "tools/video/frame_conversion.h"
#include "tools/video/frame_stream.h"

using namespace upscale;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostBytes = 1u << 14;
    try {
        FileSource source(memoryFile(data, size));
        FrameReader reader(source);
        const FrameFormat& format = reader.header().format;
        const std::string scaled = scaledY4mHeader(reader.header(), 7, 5, Range::Full);
        const FrameFormat again = parseY4mHeader(scaled.substr(0, scaled.size() - 1), "").format;
        if (again.width != 7 || again.height != 5 || again.range != Range::Full ||
            again.sampling != format.sampling) {
            std::abort();
        }
        if (format.bytes() > kMostBytes) return 0;
        FrameDecoder decoder(format, 2, 1);
        FrameEncoder encoder(format);
        std::vector<std::uint8_t> frame(format.bytes());
        const std::size_t stride = (format.width + 4) * std::size_t{4};
        std::vector<std::uint8_t> pixels(stride * (format.height + 2));
        std::string parameters;
        while (reader.next(frame.data(), parameters)) {
            decoder.decode(frame.data(), {pixels.data(), stride});
            encoder.encode({pixels.data() + stride + 8, stride}, frame.data());
        }
    } catch (const Failure&) {
    }
    return 0;
}
