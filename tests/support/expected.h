// SPDX-License-Identifier: Apache-2.0
// The scripts: what the library is expected to do, from construction to teardown.
#ifndef TESTS_SUPPORT_EXPECTED_H
#define TESTS_SUPPORT_EXPECTED_H

#include <string>

#include "support/script.h"

namespace android::test {

struct ExpectedOperation {
    const char* name;
    float sharpness;  // the script's
    size_t traceQueries;
    // On the buffers of LibraryTest, which are cached (a hit) or have to be imported first.
    Script (*script)(bool isHit);
};

// Throws if there is none: every operation has to have one.
const ExpectedOperation& expectedOf(const std::string& operation);

Script construction();
Script program(const std::string& member);
// What initOpenGL makes besides programs, and the set-up of the quad, which it always does.
Script objects();
Script quad();
// With a source and a destination in the cache, or with none.
Script clear(bool hasBuffers);
// With a context and a display, or with none.
Script destroy(bool isMade);

}  // namespace android::test

#endif  // TESTS_SUPPORT_EXPECTED_H
