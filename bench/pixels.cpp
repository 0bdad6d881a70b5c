// SPDX-License-Identifier: Apache-2.0
// pixels: prints a checksum of what each operation draws, for each of five sizes, pictures and
// values of sharpness. The outputs of two builds differ in the cases whose pixels differ.
//
// pixels --list: prints the names of the operations.
//
// pixels OPERATION FRAMES: draws frames of one operation, and prints how many pixels they have.
// Callgrind counts the instructions of `measured`; bench/shaders does both.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

#include "bench/operations.h"

namespace bench {
namespace {

struct SizeRow {
    const char* name;
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
};

constexpr SizeRow kSizes[] = {
        {"double", 40, 30, 80, 60}, {"odd", 47, 33, 101, 58}, {"equal", 49, 35, 49, 35},
        {"third", 99, 63, 33, 21},  {"one", 1, 1, 7, 5},
};
// Large enough that the cost of a frame besides its pixels hardly counts.
constexpr SizeRow kMeasured = {"measured", 240, 135, 480, 270};

constexpr float kSharpness[] = {0.0f, 0.3f, 1.0f, 2.0f, -0.5f};

using Colour = std::array<uint32_t, 3>;

struct Picture {
    const char* name;
    Colour (*at)(uint32_t x, uint32_t y, std::mt19937& random);
};

// Each channel from `least` on, `steps` of them.
template <uint32_t least, uint32_t steps>
Colour noise(uint32_t, uint32_t, std::mt19937& random) {
    const auto channel = [&] { return least + static_cast<uint32_t>(random() % steps); };
    return {channel(), channel(), channel()};
}

Colour ramps(uint32_t x, uint32_t y, std::mt19937&) {
    return {x * 5 % 256, y * 7 % 256, (x + y) * 3 % 256};
}

Colour lines(uint32_t x, uint32_t y, std::mt19937&) {
    const bool isLine = x % 7 == 3 || y % 9 == 4 || x == y;
    return isLine ? Colour{230, 40, 250} : Colour{24, 60, 24};
}

constexpr Picture kPictures[] = {
        {"noise", noise<0, 256>}, {"dark", noise<0, 13>}, {"light", noise<243, 13>},
        {"ramps", ramps},         {"lines", lines},
};

// Calls use(x, y, pixel) for each pixel.
template <typename Use>
void eachPixel(const sp<GraphicBuffer>& buffer, uint32_t usage, Use use) {
    void* address = nullptr;
    if (buffer->lock(usage, &address) != android::OK) std::abort();
    for (uint32_t y = 0; y < buffer->getHeight(); ++y) {
        for (uint32_t x = 0; x < buffer->getWidth(); ++x)
            use(x, y, static_cast<uint32_t*>(address)[y * buffer->getStride() + x]);
    }
    buffer->unlock();
}

sp<GraphicBuffer> painted(uint32_t width, uint32_t height, const Picture& picture) {
    sp<GraphicBuffer> buffer = makeBuffer(width, height);
    std::mt19937 random(1);
    eachPixel(buffer, GraphicBuffer::USAGE_SW_WRITE_OFTEN,
              [&](uint32_t x, uint32_t y, uint32_t& pixel) {
                  const Colour colour = picture.at(x, y, random);
                  pixel = 0xFF000000u | colour[2] << 16 | colour[1] << 8 | colour[0];
              });
    return buffer;
}

// FNV-1a, pixel by pixel.
uint64_t checksum(const sp<GraphicBuffer>& buffer) {
    uint64_t sum = 0xcbf29ce484222325;
    eachPixel(buffer, GraphicBuffer::USAGE_SW_READ_OFTEN,
              [&](uint32_t, uint32_t, uint32_t pixel) { sum = (sum ^ pixel) * 0x100000001b3; });
    return sum;
}

// An object with a pair of buffers, imported before casResize can delete a name that one of them
// would get.
struct Rig {
    Rig(const SizeRow& size, const Picture& picture)
        : src(painted(size.srcWidth, size.srcHeight, picture)),
          dst(makeBuffer(size.dstWidth, size.dstHeight)) {
        call({"", &Upscaler::casSharpen}, 1.0f);
    }
    ~Rig() {
        upscaler.clearOpenGLResources();
        upscaler.destroyEGL();
    }
    void call(const Operation& operation, float sharpness) {
        sp<Fence> fence;
        (upscaler.*operation.call)(src, dst, sharpness, &fence);
        fence->waitForever("pixels");
    }

    Upscaler upscaler;
    sp<GraphicBuffer> src, dst;
};

void printChecksums() {
    for (const SizeRow& size : kSizes) {
        for (const Picture& picture : kPictures) {
            Rig rig(size, picture);
            for (const Operation& operation : kOperations) {
                for (const float sharpness : kSharpness) {
                    rig.call(operation, sharpness);
                    std::printf("%s %s %s %g %016llx\n", operation.name, size.name, picture.name,
                                static_cast<double>(sharpness),
                                static_cast<unsigned long long>(checksum(rig.dst)));
                }
            }
        }
    }
}

[[gnu::noinline]] void measured(Rig& rig, const Operation& operation, unsigned frames) {
    for (unsigned i = 0; i < frames; ++i)
        rig.call(operation, 0.3f);
}

int measure(const char* name, unsigned frames) {
    for (const Operation& operation : kOperations) {
        if (std::strcmp(operation.name, name) != 0) continue;
        Rig rig(kMeasured, kPictures[0]);
        rig.call(operation, 0.3f);  // The driver compiles.
        measured(rig, operation, frames);
        std::printf("%u\n", frames * kMeasured.dstWidth * kMeasured.dstHeight);
        return 0;
    }
    std::fprintf(stderr, "pixels: no operation %s\n", name);
    return 2;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    if (argc == 3) return bench::measure(argv[1], static_cast<unsigned>(std::atoi(argv[2])));
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        bench::printOperations();
        return 0;
    }
    bench::printChecksums();
    return 0;
}
