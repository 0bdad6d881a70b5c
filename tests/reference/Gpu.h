// SPDX-License-Identifier: Apache-2.0
/// @file
/// Runs the real operations on pictures.
#ifndef UPSCALER_TESTS_REFERENCE_GPU_H
#define UPSCALER_TESTS_REFERENCE_GPU_H

#include <upscaler/upscaler.h>

#include <vector>

#include "reference/Picture.h"

namespace reference {

using OperationCall = void (android::Upscaler::*)(android::sp<android::GraphicBuffer>&,
                                                  android::sp<android::GraphicBuffer>&, float,
                                                  android::sp<android::Fence>*);

struct Geometry {
    const char* name;
    Size source;
    Size target;
};

/// An Upscaler and a pair of buffers per geometry. Only one may exist at a time; its context is
/// current from construction to destruction.
class Gpu {
  public:
    explicit Gpu(const std::vector<Geometry>& geometries);
    ~Gpu();
    Gpu(const Gpu&) = delete;
    Gpu& operator=(const Gpu&) = delete;

    /// Waits for the result. Expects a valid fence and an alpha of 255 everywhere.
    /// @param geometry index of one of the constructor's.
    Picture run(OperationCall operation, size_t geometry, const Picture& source, float sharpness);

  private:
    struct Buffers {
        Size targetSize;
        android::sp<android::GraphicBuffer> source;
        android::sp<android::GraphicBuffer> target;
    };

    android::Upscaler mUpscaler;
    std::vector<Buffers> mBuffers;
};

}  // namespace reference

#endif  // UPSCALER_TESTS_REFERENCE_GPU_H
