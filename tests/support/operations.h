// SPDX-License-Identifier: Apache-2.0
// The library's work as scripts: its set-up and teardown, and the six operations, one row each on
// one frame.
#ifndef TESTS_SUPPORT_OPERATIONS_H
#define TESTS_SUPPORT_OPERATIONS_H

#include <ostream>
#include <string>
#include <vector>

#include "support/fixture.h"
#include "support/script.h"

namespace android::test {

struct OperationRow {
    std::string name;  // of its script, too
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
    float sharpness;  // the script's
    size_t passes;
    size_t traceQueries;
};

std::ostream& operator<<(std::ostream& out, const OperationRow& row);

const std::vector<OperationRow>& operations();
const OperationRow& operation(const std::string& name);

enum class Cache { Miss, Hit };

Script operationScript(const OperationRow& row, Cache cache);

// The words for what the object has made so far, and for a call with these buffers.
Words wordsOf(Upscaler& upscaler, const sp<GraphicBuffer>& src, const sp<GraphicBuffer>& dst);

}  // namespace android::test

#endif  // TESTS_SUPPORT_OPERATIONS_H
