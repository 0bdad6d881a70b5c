// SPDX-License-Identifier: Apache-2.0
/// @file
/// Draws the sample picture of the documentation: draw_sample OUT.png
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>

#include "common/failure.h"
#include "common/output_file.h"
#include "pictures/picture.h"
#include "pictures/png_file.h"
#include "sample/scene.h"

namespace {

constexpr unsigned kSamplesPerSide = 4;

std::uint8_t toByte(double v) {
    return static_cast<std::uint8_t>(std::lround(v));
}

void drawPixel(unsigned x, unsigned y, std::uint8_t* pixel) {
    sample::Colour sum = {0, 0, 0};
    for (unsigned i = 0; i < kSamplesPerSide; ++i) {
        for (unsigned j = 0; j < kSamplesPerSide; ++j) {
            const sample::Colour c = sample::sceneAt(
                    {x + (j + 0.5) / kSamplesPerSide, y + (i + 0.5) / kSamplesPerSide});
            sum = {sum.r + c.r, sum.g + c.g, sum.b + c.b};
        }
    }
    const sample::Colour mean = sample::shade(sum, 1.0 / (kSamplesPerSide * kSamplesPerSide));
    pixel[0] = toByte(mean.r);
    pixel[1] = toByte(mean.g);
    pixel[2] = toByte(mean.b);
    pixel[3] = upscale::Picture::kOpaque;
}

upscale::Picture draw() {
    upscale::Picture picture(sample::kSceneWidth, sample::kSceneHeight);
    for (unsigned y = 0; y < picture.height; ++y) {
        for (unsigned x = 0; x < picture.width; ++x) {
            drawPixel(x, y, picture.row(y) + x * upscale::Picture::kChannels);
        }
    }
    return picture;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: draw_sample OUT.png\n");
        return static_cast<int>(upscale::Exit::Usage);
    }
    try {
        upscale::OutputFile output(argv[1], true);
        upscale::writePng(draw(), output.open(), argv[1]);
        output.commit();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "draw_sample: %s\n", error.what());
        return static_cast<int>(upscale::Exit::Failed);
    }
    return static_cast<int>(upscale::Exit::Done);
}
