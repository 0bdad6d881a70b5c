// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ANDROID_UI_GRAPHICBUFFER_H
#define TESTS_ANDROID_UI_GRAPHICBUFFER_H

#include <nativebase/nativebase.h>
#include <ui/PixelFormat.h>
#include <utils/Flattenable.h>
#include <utils/RefBase.h>

#include <string>

namespace android {

template <typename NATIVE_TYPE, typename TYPE, typename REF,
          typename NATIVE_BASE = android_native_base_t>
class ANativeObjectBase : public NATIVE_TYPE, public REF {
  public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;
};

class GraphicBuffer : public ANativeObjectBase<ANativeWindowBuffer, GraphicBuffer, RefBase>,
                      public Flattenable<GraphicBuffer> {
  public:
    enum {
        USAGE_SW_READ_OFTEN = 0x00000003,
        USAGE_SW_WRITE_RARELY = 0x00000020,
        USAGE_SW_WRITE_OFTEN = 0x00000030,
        USAGE_HW_TEXTURE = 0x00000100,
        USAGE_HW_RENDER = 0x00000200,
    };

    GraphicBuffer();
    GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat, uint32_t inLayerCount,
                  uint64_t inUsage, std::string requestorName = "<Unknown>");

    status_t initCheck() const;
    uint32_t getWidth() const;
    uint32_t getHeight() const;
    uint32_t getStride() const;
    status_t lock(uint32_t inUsage, void** vaddr, int32_t* outBytesPerPixel = nullptr,
                  int32_t* outBytesPerStride = nullptr);
    status_t unlock();
    ANativeWindowBuffer* getNativeBuffer() const;

  private:
    ~GraphicBuffer();
};

}  // namespace android

#endif  // TESTS_ANDROID_UI_GRAPHICBUFFER_H
