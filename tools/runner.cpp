// SPDX-License-Identifier: Apache-2.0
#include "runner.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "failure.h"
#include "stopwatch.h"

namespace upscale {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;
using android::Upscaler;

constexpr char kProperty[] = "debug.vardi.display.ups.enable";
constexpr char kDriver[] = "the driver";
// The largest pictures take a software driver the better part of a minute.
constexpr int kFenceTimeoutMs = 300'000;
// No operation writes this alpha, so a pixel that still has it was not written.
constexpr std::uint8_t kUnwritten = 0;

sp<GraphicBuffer> makeBuffer(std::uint32_t width, std::uint32_t height, std::uint64_t usage) {
    sp<GraphicBuffer> buffer =
            new GraphicBuffer(width, height, android::PIXEL_FORMAT_RGBA_8888, 1, usage, "upscale");
    if (buffer->initCheck() != android::NO_ERROR) {
        throw Failure(Exit::Failed, kDriver,
                      "no memory for a buffer of " + std::to_string(width) + "x" +
                              std::to_string(height));
    }
    return buffer;
}

// Calls `visit` with each row's index and address, under a lock.
template <typename Visit>
void forRows(GraphicBuffer& buffer, std::uint32_t usage, const Visit& visit) {
    void* address = nullptr;
    if (buffer.lock(usage, &address) != android::NO_ERROR || !address) {
        throw Failure(Exit::Failed, kDriver, "a buffer cannot be locked");
    }
    auto* row = static_cast<std::uint8_t*>(address);
    for (std::uint32_t y = 0; y < buffer.getHeight(); ++y) {
        visit(y, row);
        row += std::size_t{buffer.getStride()} * Picture::kChannels;
    }
    if (buffer.unlock() != android::NO_ERROR) {
        throw Failure(Exit::Failed, kDriver, "the pixels of a buffer cannot be reached");
    }
}

std::string glString(GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text ? text : "?";
}

}  // namespace

void Runner::Teardown::operator()(Upscaler* upscaler) const {
    upscaler->clearOpenGLResources();
    upscaler->destroyEGL();
    delete upscaler;
}

Runner::Runner(const Operation& operation, LibraryLog& log) : mOperation(operation), mLog(log) {
    try {
        mUpscaler.reset(new Upscaler);
    } catch (const std::logic_error&) {
        // What the conversion of the property's text throws.
        throw Failure(Exit::Usage, kProperty, "not a hexadecimal number");
    }
    const std::string error = mLog.takeError();
    if (eglGetCurrentContext() == EGL_NO_CONTEXT) {
        throw Failure(Exit::NoDriver, "no usable EGL and OpenGL ES 3 driver",
                      error.empty() ? "no context" : error);
    }
    mDriver = glString(GL_RENDERER) + ", " + glString(GL_VERSION);
    if (!error.empty()) throw Failure(Exit::NoDriver, mDriver, error);
    GLint side = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &side);
    mLargestSide = static_cast<std::uint32_t>(side);
}

Runner::~Runner() = default;

void Runner::allocate(std::uint32_t sourceWidth, std::uint32_t sourceHeight, std::uint32_t width,
                      std::uint32_t height) {
    mSource = makeBuffer(sourceWidth, sourceHeight,
                         GraphicBuffer::USAGE_SW_WRITE_OFTEN | GraphicBuffer::USAGE_HW_TEXTURE);
    mDestination =
            makeBuffer(width, height,
                       GraphicBuffer::USAGE_SW_READ_OFTEN | GraphicBuffer::USAGE_SW_WRITE_OFTEN |
                               GraphicBuffer::USAGE_HW_RENDER);
}

Picture Runner::run(const Picture& source, float sharpness) {
    Stopwatch watch;
    const std::size_t sourceBytes = source.rowBytes();
    forRows(*mSource, GraphicBuffer::USAGE_SW_WRITE_OFTEN, [&](std::size_t y, std::uint8_t* row) {
        std::copy_n(source.row(y), sourceBytes, row);
    });
    Picture result(mDestination->getWidth(), mDestination->getHeight());
    result.grey = source.grey;
    result.tags = source.tags;
    const std::size_t bytes = result.rowBytes();
    forRows(*mDestination, GraphicBuffer::USAGE_SW_WRITE_OFTEN,
            [&](std::size_t, std::uint8_t* row) { std::fill_n(row, bytes, kUnwritten); });
    mTimes.upload += watch.lap();

    sp<Fence> fence;
    (mUpscaler.get()->*mOperation.method)(mSource, mDestination, sharpness, &fence);
    mTimes.call += watch.lap();
    if (fence == nullptr || !fence->isValid()) {
        const std::string error = mLog.takeError();
        throw Failure(Exit::Failed, kDriver, error.empty() ? "no fence could be made" : error);
    }
    waitFor(*fence);
    mTimes.gpu += watch.lap();
    const std::string error = mLog.takeError();
    if (!error.empty()) throw Failure(Exit::Failed, kDriver, error);

    forRows(*mDestination, GraphicBuffer::USAGE_SW_READ_OFTEN,
            [&](std::size_t y, const std::uint8_t* row) {
                std::copy_n(row, bytes, result.row(y));
            });
    for (std::size_t i = 0; i < result.pixelCount(); ++i) {
        if (result.alpha(i) == kUnwritten) {
            throw Failure(Exit::Failed, kDriver, "pixels of the result were left unwritten");
        }
    }
    mTimes.download += watch.lap();
    return result;
}

void Runner::waitFor(Fence& fence) {
    const android::status_t status = fence.wait(kFenceTimeoutMs);
    if (status == android::NO_ERROR) return;
    // Teardown would wait for the same work: leave everything to the end of the process.
    static_cast<void>(mUpscaler.release());
    static_cast<void>(new sp<GraphicBuffer>(mSource));
    static_cast<void>(new sp<GraphicBuffer>(mDestination));
    if (status == -ETIME) {
        throw Failure(Exit::Failed, kDriver,
                      "no result after " + std::to_string(kFenceTimeoutMs / 1000) + " seconds");
    }
    throw Failure(Exit::Failed, kDriver, std::string("waiting failed: ") + std::strerror(-status));
}

}  // namespace upscale
