// SPDX-License-Identifier: Apache-2.0
// The six operations as the tests expect them: one row each, on one frame.
#ifndef TESTS_SUPPORT_OPERATIONS_H
#define TESTS_SUPPORT_OPERATIONS_H

#include <ostream>
#include <string>
#include <vector>

#include "support/fixture.h"

namespace android::test {

struct PassRow {
    UpscalerPeer::Shader program;
    std::vector<std::string> uniforms;  // behind the sampler, in order
    std::string target;
    std::string frameBuffer;
    std::string size;  // of the target: "src" or "dst"
    std::string input;
};

struct OperationRow {
    std::string name;
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
    std::vector<PassRow> passes;
    std::string magnification;
    bool clears;
    bool flushesBeforeDup;
    size_t traceQueries;
    std::vector<std::string> deletes;
};

std::ostream& operator<<(std::ostream& out, const OperationRow& row);

const std::vector<OperationRow>& operations();
const OperationRow& operation(const std::string& name);

// The texts of the checked GL calls of one call on buffers that are in the cache.
std::vector<std::string> expectedTexts(const OperationRow& row);

// The same as names of functions, with the EGL calls of the fence between them.
std::vector<std::string> expectedCalls(const OperationRow& row);

}  // namespace android::test

#endif  // TESTS_SUPPORT_OPERATIONS_H
