// SPDX-License-Identifier: Apache-2.0
#include "picture_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readPicture(data, size, upscale::Format::Jpeg);
    return 0;
}
