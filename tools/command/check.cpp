// SPDX-License-Identifier: Apache-2.0
#include "command/check.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "gpu/driver.h"
#include "gpu/library_log.h"
#include "gpu/runner.h"
#include "gpu/scaler.h"

namespace upscale {
namespace {

constexpr std::uint32_t kWidth = 16;
constexpr std::uint32_t kHeight = 12;
// At twice the size no position is halfway between two source pixels, where rounding would decide.
constexpr std::uint32_t kScale = 2;
// Every pixel whose index is a multiple of this, which the result's width is not.
constexpr std::size_t kStride = 7;

struct Expected {
    std::string operation;
    int tolerance;       // steps of 255
    std::string values;  // three bytes a pixel, in hexadecimal
};

// What Mesa 22.3's llvmpipe gives at `sharpnessOf`. ANGLE over SwiftShader was measured 3
// steps off at most (cas-sharpen), and 2 in fsr: a driver may round an 8-bit intermediate value the
// other way, which sharpening makes more of. A step of hue is up to 6 in casv, and cast asks for
// medium precision only. A broken driver is off by far more.
const Expected kExpected[] = {
#include "command/check_values.inc"
};

// The defaults at other scales change with what is measured.
float sharpnessOf(const Operation& operation) {
    return operation.defaults.front();
}

// Slopes in all channels, an edge that is not straight, single pixels and a chequered patch.
Picture tile() {
    Picture picture(kWidth, kHeight);
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        for (std::uint32_t x = 0; x < kWidth; ++x) {
            unsigned colour[3] = {20 + x * 9, 40 + y * 13, 230 - (x + y) * 7};
            const auto set = [&colour](unsigned r, unsigned g, unsigned b) {
                colour[0] = r;
                colour[1] = g;
                colour[2] = b;
            };
            if (x * 2 < y + 4) set(200, 60 + x * 8, 40);
            if (x >= 10 && y >= 6) (x + y) % 2 == 0 ? set(235, 235, 225) : set(25, 30, 35);
            if (x == 9 && y == 2) set(250, 250, 245);
            std::uint8_t* pixel = picture.pixel(std::size_t{y} * kWidth + x);
            std::copy_n(colour, 3, pixel);
            pixel[3] = Picture::kOpaque;
        }
    }
    return picture;
}

std::vector<int> valuesOf(const Picture& picture) {
    std::vector<int> values;
    for (std::size_t i = 0; i < picture.pixelCount(); i += kStride) {
        values.insert(values.end(), picture.pixel(i), picture.pixel(i) + 3);
    }
    return values;
}

std::vector<int> valuesOf(const std::string& text) {
    std::vector<int> values;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        values.push_back(std::stoi(text.substr(at, 2), nullptr, 16));
    }
    return values;
}

// Those of an operation that has none yet are empty: its results count as wrong.
Expected expectedOf(const Operation& operation) {
    for (const Expected& expected : kExpected) {
        if (expected.operation == operation.name) return expected;
    }
    return {operation.name, 0, ""};
}

void printFact(const char* name, const std::string& value) {
    std::printf("%-38s %s\n", name, value.c_str());
}

// @return what the driver lacks.
std::string printDriver(LibraryLog& log) {
    const auto upscaler = Runner::makeUpscaler();
    log.takeError();  // It follows from what is missing, or comes again.
    if (eglGetCurrentContext() == EGL_NO_CONTEXT) return "";
    printFact("upscale", UPSCALE_VERSION);
    for (const auto& [name, value] : driverFacts())
        printFact(name.c_str(), value);
    return missingFromDriver();
}

void printFences(LibraryLog& log) try {
    const Operation& operation = kOperations.front();
    Runner runner(operation, log);
    auto source = sourceBuffer({kWidth, kHeight});
    auto destination = destinationBuffer({kWidth, kHeight});
    runner.import(source, destination);
    const auto fence = runner.draw(source, destination, sharpnessOf(operation));
    printFact("fences", ownerOf(*fence));
    runner.finish(*fence);
} catch (const DriverLost&) {
    throw;
} catch (const Failure&) {
    // The operation's turn to fail comes.
}

// Empty, or what is wrong.
std::string compare(const Expected& expected, const Picture& picture, int& worst) {
    const std::vector<int> wanted = valuesOf(expected.values);
    const std::vector<int> actual = valuesOf(picture);
    if (wanted.size() != actual.size()) return "no values to compare with";
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        worst = std::max(worst, std::abs(wanted[i] - actual[i]));
    }
    return worst <= expected.tolerance ? "" : "the pixels are wrong";
}

void printValues(const Expected& expected, const Picture& picture) {
    std::printf("{\"%s\", %d, \"", expected.operation.c_str(), expected.tolerance);
    for (const int value : valuesOf(picture)) {
        std::printf("%02x", static_cast<unsigned>(value));
    }
    std::puts("\"},");
}

bool checkOperation(const Operation& operation, LibraryLog& log, Report& report) {
    const Expected expected = expectedOf(operation);
    // With a border, so that nothing outside the picture counts.
    Scaler scaler(operation, Border::Pad, log);
    std::string fault;
    std::string measured;
    try {
        const Size from = {kWidth, kHeight};
        const ScalePlan plan = scaler.plan(from, {kWidth * kScale, kHeight * kScale});
        const Picture picture = scaler.scale(tile(), plan, sharpnessOf(operation));
        int worst = 0;
        fault = compare(expected, picture, worst);
        measured = ", off by " + std::to_string(worst) + " of 255 at most, " +
                   std::to_string(expected.tolerance) + " allowed";
        if (report.verbose()) printValues(expected, picture);
    } catch (const DriverLost&) {
        throw;  // The others would wait as long.
    } catch (const Failure& failure) {
        fault = failure.what();
    }
    printFact(operation.name, (fault.empty() ? "right" : "WRONG: " + fault) + measured);
    return fault.empty();
}

}  // namespace

Exit check(Report& report) try {
    LibraryLog log(report.verbose());
    const std::string missing = printDriver(log);
    if (!missing.empty()) {
        std::printf("This machine's driver cannot be used: %s.\n", missing.c_str());
        return Exit::NoDriver;
    }
    printFences(log);
    std::string wrong;
    for (const Operation& operation : kOperations) {
        if (!checkOperation(operation, log, report))
            wrong += (wrong.empty() ? "" : ", ") + std::string(operation.name);
    }
    if (wrong.empty()) {
        std::puts("This machine's driver can be trusted: every operation gives the right pixels.");
        return Exit::Done;
    }
    std::printf("This machine's driver cannot be trusted: wrong in %s.\n", wrong.c_str());
    return Exit::NoDriver;
} catch (const DriverLost& lost) {
    std::printf("This machine's driver cannot be trusted: %s.\n", lost.what());
    return Exit::NoDriver;
}

}  // namespace upscale
