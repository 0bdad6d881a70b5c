// SPDX-License-Identifier: Apache-2.0
// A whole client: exits 0 if the library has drawn a grey picture twice as large.
#include <upscaler/upscaler.h>

#include <cstdio>
#include <cstring>

using namespace android;

int main() {
    constexpr uint64_t kUsage = GraphicBuffer::USAGE_SW_READ_OFTEN |
                                GraphicBuffer::USAGE_SW_WRITE_OFTEN |
                                GraphicBuffer::USAGE_HW_TEXTURE | GraphicBuffer::USAGE_HW_RENDER;
    sp<GraphicBuffer> src = new GraphicBuffer(32, 32, PIXEL_FORMAT_RGBA_8888, 1, kUsage);
    sp<GraphicBuffer> dst = new GraphicBuffer(64, 64, PIXEL_FORMAT_RGBA_8888, 1, kUsage);
    void* pixels = nullptr;
    src->lock(GraphicBuffer::USAGE_SW_WRITE_OFTEN, &pixels);
    memset(pixels, 0x80, 32 * 4 * src->getStride());
    src->unlock();

    Upscaler upscaler;
    sp<Fence> fence;
    upscaler.fsrResize(src, dst, 0.2f, &fence);
    if (!fence->isValid() || fence->wait(10000) != OK) return 1;
    upscaler.clearOpenGLResources();
    upscaler.destroyEGL();

    dst->lock(GraphicBuffer::USAGE_SW_READ_OFTEN, &pixels);
    const uint32_t middle = static_cast<uint32_t*>(pixels)[32 * dst->getStride() + 32];
    dst->unlock();
    printf("%08x\n", middle);
    return middle == 0xFF808080 ? 0 : 1;
}
