// SPDX-License-Identifier: Apache-2.0
/// @file
/// For the build: print_text man | completion
#include <cstdio>
#include <string>

#include "command/manual.h"
#include "common/failure.h"

int main(int argc, char** argv) {
    const std::string which = argc == 2 ? argv[1] : "";
    if (which != "man" && which != "completion") {
        std::fputs("usage: print_text man | completion\n", stderr);
        return static_cast<int>(upscale::Exit::Usage);
    }
    const std::string text =
            which == "man" ? upscale::manPage(UPSCALE_VERSION) : upscale::bashCompletion();
    const bool written = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return static_cast<int>(written ? upscale::Exit::Done : upscale::Exit::Failed);
}
