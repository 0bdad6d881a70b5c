// SPDX-License-Identifier: Apache-2.0
// The bytes choose a sequence of calls, valid or not. An operation may do nothing worse than log:
// without a buffer it leaves the fence alone, and otherwise it returns a fence that signals.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <optional>
#include <vector>

#include "support/fixture.h"
#include "support/operations.h"

namespace android {
namespace {

constexpr PixelFormat kFormats[] = {PIXEL_FORMAT_RGBA_8888, PIXEL_FORMAT_RGBX_8888,
                                    PIXEL_FORMAT_BGRA_8888, PIXEL_FORMAT_RGB_888,
                                    PIXEL_FORMAT_RGB_565,   PIXEL_FORMAT_RGBA_1010102,
                                    PIXEL_FORMAT_RGBA_FP16, PIXEL_FORMAT_UNKNOWN};

void play(FuzzedDataProvider& bytes) {
    // Construction is expensive, so inputs share an object. Its cache never forgets, so it is
    // replaced now and then.
    static std::optional<test::OwnedUpscaler> upscaler;
    static size_t uses = 0;
    if (uses++ % 100 == 0) upscaler.emplace();
    std::vector<sp<GraphicBuffer>> buffers(1);  // The first is an empty pointer.
    const auto any = [&]() -> sp<GraphicBuffer>& {
        return buffers[bytes.ConsumeIntegralInRange<size_t>(0, buffers.size() - 1)];
    };
    sp<Fence> fence = Fence::NO_FENCE;
    for (int step = 0; step < 64 && bytes.remaining_bytes() > 0; ++step) {
        const int choice = bytes.ConsumeIntegralInRange<int>(0, 63);
        if (choice == 0) {
            upscaler.emplace();
        } else if (choice < 4) {
            resizeBufferLogLevel = bytes.ConsumeIntegral<uint8_t>();
        } else if (choice < 12) {
            const auto width = bytes.ConsumeIntegralInRange<uint32_t>(0, 40);
            const bool broken = bytes.ConsumeIntegral<uint8_t>() == 0;
            const auto height = bytes.ConsumeIntegralInRange<uint32_t>(0, 40);
            buffers.push_back(test::makeBuffer(broken ? 1u << 30 : width, height,
                                               bytes.PickValueInArray(kFormats)));
        } else if (choice < 14) {
            any().clear();
        } else {
            sp<GraphicBuffer> src = any();
            sp<GraphicBuffer> dst = any();
            const sp<Fence> before = fence;
            const auto& rows = test::operations();
            const size_t row = bytes.ConsumeIntegralInRange<size_t>(0, rows.size() - 1);
            ((**upscaler).*rows[row].call)(src, dst, bytes.ConsumeFloatingPoint<float>(), &fence);
            const bool complete = src != nullptr && dst != nullptr;
            if ((fence != before) != complete) abort();
            if (fence->wait(60000) != NO_ERROR) abort();
        }
    }
}

}  // namespace
}  // namespace android

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider bytes(data, size);
    android::play(bytes);
    return 0;
}
