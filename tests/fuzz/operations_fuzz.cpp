// SPDX-License-Identifier: Apache-2.0
// Sequences of calls as the bytes have them, valid or not. An operation may do nothing worse than
// log: without a buffer it leaves the fence alone, and else gives one that ends.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "upscaler/upscaler.h"

namespace android {
namespace {

constexpr PixelFormat kFormats[] = {PIXEL_FORMAT_RGBA_8888, PIXEL_FORMAT_RGBX_8888,
                                    PIXEL_FORMAT_BGRA_8888, PIXEL_FORMAT_RGB_888,
                                    PIXEL_FORMAT_RGB_565,   PIXEL_FORMAT_RGBA_1010102,
                                    PIXEL_FORMAT_RGBA_FP16, PIXEL_FORMAT_UNKNOWN};

constexpr decltype(&Upscaler::fsrResize) kOperations[] = {
        &Upscaler::fsrResize, &Upscaler::neaResize,   &Upscaler::casSharpen,
        &Upscaler::casResize, &Upscaler::casvUpscale, &Upscaler::casTUpscale};

void require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "broken: %s\n", what);
    abort();
}

struct TornDown {
    void operator()(Upscaler* upscaler) const {
        upscaler->clearOpenGLResources();
        upscaler->destroyEGL();
        delete upscaler;
    }
};

// Construction is dear, so inputs share an object; its cache never forgets, so not for ever.
class Player {
  public:
    void play(FuzzedDataProvider& bytes) {
        std::vector<sp<GraphicBuffer>> buffers(1);  // The first is none.
        sp<Fence> fence = Fence::NO_FENCE;
        for (int step = 0; step < 64 && bytes.remaining_bytes() > 0; ++step) {
            const int choice = bytes.ConsumeIntegralInRange<int>(0, 63);
            if (choice == 0) {
                renew();
            } else if (choice < 4) {
                resizeBufferLogLevel = bytes.ConsumeIntegral<uint8_t>();
            } else if (choice < 12) {
                buffers.push_back(makeBuffer(bytes));
            } else if (choice < 14) {
                buffers[bytes.ConsumeIntegralInRange<size_t>(0, buffers.size() - 1)].clear();
            } else {
                call(bytes, buffers, fence);
            }
        }
        require(fence->wait(60000) == NO_ERROR, "the last fence ends");
        if ((mBuffers += buffers.size()) >= 500) renew();
    }

  private:
    void renew() {
        mBuffers = 0;
        mUpscaler.reset();
        mUpscaler.reset(new Upscaler);
    }

    static sp<GraphicBuffer> makeBuffer(FuzzedDataProvider& bytes) {
        const uint32_t width = bytes.ConsumeIntegralInRange<uint32_t>(0, 40);
        const bool broken = bytes.ConsumeIntegral<uint8_t>() == 0;
        return new GraphicBuffer(
                broken ? 1u << 30 : width, bytes.ConsumeIntegralInRange<uint32_t>(0, 40),
                bytes.PickValueInArray(kFormats), 1, GraphicBuffer::USAGE_SW_WRITE_OFTEN, "fuzz");
    }

    void call(FuzzedDataProvider& bytes, std::vector<sp<GraphicBuffer>>& buffers,
              sp<Fence>& fence) {
        const auto any = [&] {
            return buffers[bytes.ConsumeIntegralInRange<size_t>(0, buffers.size() - 1)];
        };
        sp<GraphicBuffer> src = any();
        sp<GraphicBuffer> dst = any();
        const sp<Fence> before = fence;
        const auto operation = bytes.PickValueInArray(kOperations);
        ((*mUpscaler).*operation)(src, dst, bytes.ConsumeFloatingPoint<float>(), &fence);
        const bool complete = src != nullptr && dst != nullptr;
        require((fence != before) == complete, "a fence comes with two buffers only");
        require(fence->wait(60000) == NO_ERROR, "a fence ends");
    }

    std::unique_ptr<Upscaler, TornDown> mUpscaler{new Upscaler};
    size_t mBuffers = 0;
};

}  // namespace
}  // namespace android

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static android::Player player;
    FuzzedDataProvider bytes(data, size);
    player.play(bytes);
    return 0;
}
